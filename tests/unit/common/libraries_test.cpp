#include "common/libraries.h"

#include <cerrno>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "common/owners.h"
#include "tests/support/scratch.h"

namespace {

constexpr char kProduct[] = "/usr/lib/Corvane/Corvane/";
constexpr char kLog[] = "/zqcommon.log";

using Answer = int (*)();

bool IsLoaded(const std::string& path) {
    void* library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr) {
        ::dlclose(library);
    }
    return library != nullptr;
}

class Libraries : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only filled inside the sandbox";
        }
        std::filesystem::create_directories(kProduct);
        Install(GOOD_PLUGIN, "good.so");
        Install(UNRESOLVED_PLUGIN, "unresolved.so");
        WriteFile(m_product + "broken.so", "no library at all");
        ::unlink(kLog);
    }
    void TearDown() override {
        if (InSandbox()) {
            std::filesystem::remove_all("/usr/lib/Corvane");
            ::unlink(kLog);
        }
    }
    void Install(const char* plugin, const std::string& name) {
        std::filesystem::copy_file(plugin, m_product + name,
                                   std::filesystem::copy_options::overwrite_existing);
    }

    std::string m_product = kProduct;
};

TEST_F(Libraries, LoadsLooksUpAndFrees) {
    void* library = ZQLoadLibrary((m_product + "good.so").c_str());
    ASSERT_NE(library, nullptr);
    const auto answer = reinterpret_cast<Answer>(ZQGetProcAddress(library, "FirstAnswer"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 41);
    EXPECT_EQ(ZQGetProcAddress(library, "NoSuchAnswer"), nullptr);
    EXPECT_EQ(ZQGetProcAddress(library, nullptr), nullptr);
    EXPECT_EQ(ZQGetProcAddress(nullptr, "FirstAnswer"), nullptr);
    // Its symbols are its own: no other library takes them for what it lacks.
    EXPECT_EQ(::dlsym(RTLD_DEFAULT, "FirstAnswer"), nullptr);
    ZQFreeLibrary(library);
    ZQFreeLibrary(nullptr);
    EXPECT_FALSE(IsLoaded(m_product + "good.so"));
    EXPECT_FALSE(Exists(kLog));
}

TEST_F(Libraries, AnOwnerFreesItsLibrary) {
    {
        const common::LibraryHandle library(ZQLoadLibrary((m_product + "good.so").c_str()));
        EXPECT_TRUE(IsLoaded(m_product + "good.so"));
    }
    EXPECT_FALSE(IsLoaded(m_product + "good.so"));
}

TEST_F(Libraries, LogsANullName) {
    EXPECT_EQ(ZQLoadLibrary(nullptr), nullptr);
    EXPECT_EQ(ReadFile(kLog), "ZQLoadLibrary: Invalid parameters\n");
    EXPECT_EQ(ModeOf(kLog), 0644U);
}

TEST_F(Libraries, LogsAMissingLibrary) {
    EXPECT_EQ(ZQLoadLibrary("/usr/lib/Corvane/Corvane/missing.so"), nullptr);
    EXPECT_EQ(ReadFile(kLog),
              "In ZQLoadLibrary(): dlopen Error!!!/usr/lib/Corvane/Corvane/missing.so: cannot open "
              "shared object file: No such file or directory\n");
    EXPECT_EQ(ReadFile(kLog), std::string(szErrMsg) + "\n");
}

TEST_F(Libraries, ResolvesAllSymbolsAtOnce) {
    EXPECT_EQ(ZQLoadLibrary((m_product + "unresolved.so").c_str()), nullptr);
    EXPECT_TRUE(std::string(szErrMsg).starts_with("In ZQLoadLibrary(): dlopen Error!!!"));
    EXPECT_NE(std::string(szErrMsg).find("NobodyHasThisFunction"), std::string::npos);
}

TEST_F(Libraries, BoundsTheMessage) {
    EXPECT_EQ(ZQLoadLibrary(("/" + std::string(3000, 'x') + ".so").c_str()), nullptr);
    EXPECT_EQ(std::string(szErrMsg),
              "In ZQLoadLibrary(): dlopen Error!!!/" + std::string(2047 - 36, 'x'));
    EXPECT_EQ(ReadFile(kLog), std::string(szErrMsg) + "\n");
}

TEST_F(Libraries, PluginIsLoadedOnceAndKept) {
    void* handle = nullptr;
    unsigned int error = 99;
    const auto first =
        reinterpret_cast<Answer>(LoadDylibAndGetPFN("good.so", "FirstAnswer", &handle, &error));
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first(), 41);
    EXPECT_EQ(error, 0U);
    void* const kept = handle;
    ASSERT_NE(kept, nullptr);
    // With the handle, the library's name no longer matters.
    const auto second =
        reinterpret_cast<Answer>(LoadDylibAndGetPFN("gone.so", "SecondAnswer", &handle, &error));
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second(), 42);
    EXPECT_EQ(handle, kept);
    ZQFreeLibrary(handle);
    EXPECT_FALSE(IsLoaded(m_product + "good.so"));
}

TEST_F(Libraries, AMissingSymbolUnloadsAFreshLibrary) {
    void* handle = nullptr;
    unsigned int error = 0;
    EXPECT_EQ(LoadDylibAndGetPFN("good.so", "NoSuchAnswer", &handle, &error), nullptr);
    EXPECT_EQ(handle, nullptr);
    EXPECT_NE(error, 0U);
    EXPECT_FALSE(IsLoaded(m_product + "good.so"));
}

TEST_F(Libraries, AMissingSymbolKeepsALibraryLoadedBefore) {
    void* handle = nullptr;
    unsigned int error = 0;
    ASSERT_NE(LoadDylibAndGetPFN("good.so", "FirstAnswer", &handle, &error), nullptr);
    void* const kept = handle;
    EXPECT_EQ(LoadDylibAndGetPFN("good.so", "NoSuchAnswer", &handle, &error), nullptr);
    EXPECT_EQ(handle, kept);
    EXPECT_NE(error, 0U);
    EXPECT_TRUE(IsLoaded(m_product + "good.so"));
    ZQFreeLibrary(handle);
}

TEST_F(Libraries, AMissingPluginGivesTheSystemsError) {
    void* handle = nullptr;
    unsigned int error = 0;
    EXPECT_EQ(LoadDylibAndGetPFN("missing.so", "FirstAnswer", &handle, &error), nullptr);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(error, static_cast<unsigned int>(ENOENT));
    EXPECT_EQ(ReadFile(kLog),
              "In ZQLoadLibrary(): dlopen Error!!!/usr/lib/Corvane/Corvane/missing.so: cannot open "
              "shared object file: No such file or directory\n");
}

TEST_F(Libraries, ABrokenPluginGivesAnError) {
    for (const char* name : {"broken.so", "unresolved.so"}) {
        void* handle = nullptr;
        unsigned int error = 0;
        EXPECT_EQ(LoadDylibAndGetPFN(name, "UnresolvedAnswer", &handle, &error), nullptr);
        EXPECT_EQ(handle, nullptr);
        EXPECT_NE(error, 0U);
    }
}

TEST_F(Libraries, AMissingProductDirectoryIsNoError) {
    std::filesystem::remove_all("/usr/lib/Corvane");
    void* handle = nullptr;
    unsigned int error = 99;
    EXPECT_EQ(LoadDylibAndGetPFN("good.so", "FirstAnswer", &handle, &error), nullptr);
    EXPECT_EQ(error, 0U);
    EXPECT_FALSE(Exists(kLog));
}

TEST_F(Libraries, ThePathIsCutAt260Characters) {
    // 25 characters of folder and 235 of name; what stands behind them in the name is dropped.
    const std::string name(235, 'n');
    Install(GOOD_PLUGIN, name);
    void* handle = nullptr;
    unsigned int error = 0;
    EXPECT_NE(LoadDylibAndGetPFN((name + ".so").c_str(), "FirstAnswer", &handle, &error), nullptr);
    ZQFreeLibrary(handle);
}

TEST_F(Libraries, NullArgumentsFailAtOnce) {
    void* handle = nullptr;
    unsigned int error = 99;
    EXPECT_EQ(LoadDylibAndGetPFN(nullptr, "FirstAnswer", &handle, &error), nullptr);
    EXPECT_EQ(LoadDylibAndGetPFN("good.so", nullptr, &handle, &error), nullptr);
    EXPECT_EQ(LoadDylibAndGetPFN("good.so", "FirstAnswer", nullptr, &error), nullptr);
    EXPECT_EQ(LoadDylibAndGetPFN("good.so", "FirstAnswer", &handle, nullptr), nullptr);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(error, 99U);
}

}  // namespace
