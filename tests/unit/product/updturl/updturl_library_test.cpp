// "updturl.so" as the program loads it.

#include <array>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <sstream>
#include <string>

#include "abi/updturl.h"
#include "tests/support/command_output.h"
#include "tests/support/scratch.h"

namespace {

constexpr char kLog[] = "/zqupdt.log";

int Watch(const tagUPDATEINFO* info, void* context) {
    static_cast<std::set<int>*>(context)->insert(info->status);
    return kUpdateGoOn;
}

class UpdturlLibraryTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the log is only written inside the sandbox";
        }
        ::unlink(kLog);
        ::chmod(m_folder.Path().c_str(), 0755);
        std::filesystem::copy_file(UPDTURL_LIBRARY, m_folder / "updturl.so");
    }

    /// The program beside the library: a shell script that finds the request in `request`.
    void Program(const std::string& commands) {
        const std::string path = m_folder / "corvane-update";
        WriteFile(path,
                  "#!/bin/bash\n"
                  "while read -r line; do request+=$line';'; [[ $line == go ]] && break; done\n"
                  "echo \"$request\" >" +
                      m_folder.Path() + "request\n" + commands + "\n");
        ::chmod(path.c_str(), 0755);
    }

    template <typename Function>
    Function Load(const char* name) {
        if (m_library == nullptr) {
            m_library.reset(::dlopen((m_folder / "updturl.so").c_str(), RTLD_NOW | RTLD_LOCAL));
        }
        return m_library == nullptr ? nullptr
                                    : reinterpret_cast<Function>(::dlsym(m_library.get(), name));
    }

    int FromSite(char** addresses, std::int32_t count) {
        const auto update = Load<PFNZQUPDATEFROMSITE>(kUpdateFromSite);
        return update == nullptr ? -1
                                 : update("/app/", "/app/download/", 0, 1, 0, nullptr, nullptr,
                                          addresses, count, &Watch, &m_told, nullptr);
    }

    int FromIndex(const char* folder) {
        const auto update = Load<PFNUPDATEFROMINDEX>(kUpdateFromIndex);
        return update == nullptr ? -1 : update("/app/", folder, nullptr);
    }

    struct Unload {
        void operator()(void* library) const { ::dlclose(library); }
    };
    ScratchFolder m_folder;
    std::unique_ptr<void, Unload> m_library;
    std::set<int> m_told;
};

TEST_F(UpdturlLibraryTest, ShowsItsTwoNamesAndNothingElse) {
    std::istringstream lines(OutputOf("nm -D --defined-only " UPDTURL_LIBRARY));
    std::set<std::string> names;
    std::string address;
    std::string kind;
    std::string name;
    while (lines >> address >> kind >> name) {
        EXPECT_EQ(kind, "T") << name;
        names.insert(name);
    }
    EXPECT_EQ(names, (std::set<std::string>{"ZQUpdateFromSite", "UpdateFromIndex"}));
}

TEST_F(UpdturlLibraryTest, RootRunsTheProgramBesideTheLibrary) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only for root";
    }
    Program("echo status 2003; echo result 2");
    std::string one = "http://one.example";
    std::array<char*, 1> list{one.data()};
    EXPECT_EQ(FromSite(list.data(), 1), 2);
    EXPECT_EQ(ReadFile(m_folder / "request"),
              "source site;administrator 0;application /app/;download /app/download/;"
              "proxy-port 0;address http://one.example;go;\n");
    EXPECT_EQ(m_told, (std::set<int>{2000, 2003}));
}

TEST_F(UpdturlLibraryTest, RootUpdatesFromAFolder) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only for root";
    }
    Program("echo result 3");
    EXPECT_EQ(FromIndex("/media/stick"), 3);
    EXPECT_EQ(ReadFile(m_folder / "request"),
              "source index;administrator 0;folder /media/stick;application /app/;"
              "download /app/download/;proxy-port 0;no-addresses 1;go;\n");
}

TEST_F(UpdturlLibraryTest, WithoutAListNothingIsStarted) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only for root";
    }
    Program("echo result 1");
    EXPECT_EQ(FromSite(nullptr, 0), 0);
    EXPECT_FALSE(Exists(m_folder / "request"));
    EXPECT_EQ(ReadFile(kLog), "Update: the list of update servers cannot be read\n");
}

TEST_F(UpdturlLibraryTest, TakesNullForEverything) {
    const auto site = Load<PFNZQUPDATEFROMSITE>(kUpdateFromSite);
    const auto index = Load<PFNUPDATEFROMINDEX>(kUpdateFromIndex);
    ASSERT_NE(site, nullptr);
    ASSERT_NE(index, nullptr);
    EXPECT_EQ(
        site(nullptr, nullptr, 0, 0, 0, nullptr, nullptr, nullptr, 0, nullptr, nullptr, nullptr),
        0);
    EXPECT_EQ(index(nullptr, nullptr, nullptr), 0);
}

TEST_F(UpdturlLibraryTest, AnOrdinaryUserAsksTheServiceAndStartsNothing) {
    Program("echo result 1");
    // A file that the user may write takes what root's log would.
    WriteFile(kLog, "");
    ::chmod(kLog, 0666);
    const int result = InChild([this] {
        if (::geteuid() == 0 && ::setuid(65534) != 0) {
            return 100;
        }
        std::string one = "http://one.example";
        std::array<char*, 1> list{one.data()};
        return FromSite(list.data(), 1) * 10 + FromIndex("/media/stick");
    });
    EXPECT_EQ(result, 0);
    EXPECT_FALSE(Exists(m_folder / "request"));
    const std::string words =
        "Update: the update service cannot be asked (No such file or directory); an "
        "administrator starts it with \"systemctl start corvane-updated\" or "
        "\"/etc/init.d/corvane-updated start\"\n";
    EXPECT_EQ(ReadFile(kLog), words + words);
}

}  // namespace
