// What happens between the check of a name and its removal. The system's move is replaced here by
// one that first lets somebody else act.

#include "product/scanapi/file_remover.h"

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>

#include "product/vault/item_reader.h"
#include "product/vault/place.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

std::function<void()> g_beforeMove;
std::function<void()> g_beforeMoveBack;
std::function<void()> g_beforeKept;
std::function<void()> g_beforeLastLook;
bool g_hasLeases = true;
bool g_knowsNoReplace = true;
int g_moves = 0;

}  // namespace

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned int flags) noexcept {
    const bool isOfVault = std::string_view(from) == ".unfinished";
    const auto& act = isOfVault ? g_beforeKept : g_moves++ == 0 ? g_beforeMove : g_beforeMoveBack;
    if (act) {
        act();
    }
    if (!g_knowsNoReplace) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

// After the move the file itself is looked at once, at the end.
extern "C" int fstat(int file, struct stat* status) noexcept {
    if (g_moves == 1 && g_beforeLastLook) {
        std::exchange(g_beforeLastLook, nullptr)();
    }
    return static_cast<int>(syscall(SYS_newfstatat, file, "", status, AT_EMPTY_PATH));
}

extern "C" int fcntl(int file, int command, ...) {
    std::va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (command == F_SETLEASE && !g_hasLeases) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_fcntl, file, command, argument));
}

namespace {

using namespace scanapi;
namespace fs = std::filesystem;
using Names = std::set<std::string>;

struct World {
    bool knowsNoReplace;  // Some file systems cannot move without replacing,
    bool hasLeases;       // or have no leases;
    bool hasVault;        // what is promised is the same there.
};

class FileRemoverTest : public testing::TestWithParam<World> {
protected:
    void SetUp() override {
        if (std::getenv("CORVANE_SANDBOX") == nullptr) {
            GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
        }
        fs::remove("/zqcommon.log");
        g_beforeMove = nullptr;
        g_beforeMoveBack = nullptr;
        g_beforeKept = nullptr;
        g_beforeLastLook = nullptr;
        g_knowsNoReplace = GetParam().knowsNoReplace;
        g_hasLeases = GetParam().hasLeases;
        g_moves = 0;
        setenv("XDG_DATA_HOME", m_tree.Path("data").c_str(), 1);
        fs::remove_all(vault::PathOfVault());
    }
    RemovalResult RemoveBad() {
        EngineOpenStatus status = kOpenFailed;
        const auto file = TargetFile::Open(m_bad.c_str(), status);
        EXPECT_NE(file, nullptr);
        Disposal disposal{{}, "Test.Virus", "275.12"};
        disposal.vault.isOn = GetParam().hasVault;
        const Removal removal = RemoveScannedFile(*file, disposal);
        m_item = removal.item;
        const bool isKept = removal.result == RemovalResult::Removed && GetParam().hasVault;
        EXPECT_EQ(ItemsInVault(), isKept ? Names{m_item} : Names{});
        return removal.result;
    }
    static Names ItemsInVault() {
        Names names;
        std::error_code ignored;
        for (const auto& entry : fs::recursive_directory_iterator(vault::PathOfVault(), ignored)) {
            if (entry.is_regular_file()) {
                names.insert(entry.path().filename());
            }
        }
        return names;
    }
    // Tries to open it as an editor does that saves, but waits for nobody. Where a lease keeps it
    // out, that alone must keep the file.
    void SaveOver(const std::string& contents) const {
        const int file = open(m_bad.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        EXPECT_EQ(file < 0, GetParam().hasLeases);
        EXPECT_TRUE(file >= 0 || errno == EWOULDBLOCK);
        if (file >= 0) {
            EXPECT_EQ(write(file, contents.data(), contents.size()),
                      static_cast<ssize_t>(contents.size()));
            close(file);
        }
    }
    [[nodiscard]] std::string AfterSaving(const std::string& contents) const {
        return GetParam().hasLeases ? "bad contents" : contents;
    }
    [[nodiscard]] Names NamesLeft() const {
        Names names;
        for (const auto& entry : fs::directory_iterator(m_tree.Path("d"))) {
            names.insert(entry.path().filename());
        }
        return names;
    }

    TemporaryTree m_tree;
    std::string m_bad = m_tree.Write("d/bad", "bad contents");
    std::string m_item;
};

TEST_P(FileRemoverTest, WhatWasScannedGoes) {
    EXPECT_EQ(RemoveBad(), RemovalResult::Removed);
    EXPECT_EQ(NamesLeft(), Names{});
}

TEST_P(FileRemoverTest, WhatGoesIsInTheVault) {
    EXPECT_EQ(RemoveBad(), RemovalResult::Removed);
    const std::string path = vault::PathOfVault() + "/" + std::to_string(geteuid()) + "/" + m_item;
    std::string why;
    const auto item = vault::ItemReader::Open(
        common::FileDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC)), why);
    ASSERT_EQ(item.has_value(), GetParam().hasVault) << why;
    if (item) {
        EXPECT_EQ(item->Facts().path, m_bad);
        EXPECT_EQ(item->Facts().virusName, "Test.Virus");
        EXPECT_EQ(item->Facts().database, "275.12");
        EXPECT_EQ(item->Facts().size, 12U);
    }
}

TEST_P(FileRemoverTest, WhatIsOpenForWritingStays) {
    const int writer = open(m_bad.c_str(), O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(RemoveBad(),
              GetParam().hasLeases ? RemovalResult::BeingWritten : RemovalResult::Removed);
    close(writer);
    EXPECT_EQ(NamesLeft(), GetParam().hasLeases ? Names{"bad"} : Names{});
}

TEST_P(FileRemoverTest, AFileWrittenToWhileItWasCopiedStays) {
    g_beforeKept = [this] { SaveOver("new contents"); };
    const RemovalResult result = RemoveBad();
    if (GetParam().hasVault) {
        EXPECT_EQ(result,
                  GetParam().hasLeases ? RemovalResult::BeingWritten : RemovalResult::Changed);
        EXPECT_EQ(NamesLeft(), Names{"bad"});
        EXPECT_EQ(ReadAll(m_bad), AfterSaving("new contents"));
    }
}

// What a lease prevents, the comparison of the contents sees where there is none.
TEST_P(FileRemoverTest, AFileWrittenToJustBeforeTheMoveWithItsTimesPutBackStays) {
    g_beforeMove = [this] {
        struct stat before {};
        ASSERT_EQ(stat(m_bad.c_str(), &before), 0);
        SaveOver("new contents");
        const timespec times[2] = {before.st_atim, before.st_mtim};
        ASSERT_EQ(utimensat(AT_FDCWD, m_bad.c_str(), times, 0), 0);
    };
    EXPECT_EQ(RemoveBad(),
              GetParam().hasLeases ? RemovalResult::BeingWritten : RemovalResult::Changed);
    EXPECT_EQ(NamesLeft(), Names{"bad"});
    EXPECT_EQ(ReadAll(m_bad), AfterSaving("new contents"));
}

TEST_P(FileRemoverTest, AFileThatTakesTheNameAfterTheCheckComesBack) {
    g_beforeMove = [this] {
        fs::rename(m_bad, m_tree.Path("d/elsewhere"));
        m_tree.Write("d/bad", "precious");
    };
    EXPECT_EQ(RemoveBad(), RemovalResult::Replaced);
    EXPECT_EQ(NamesLeft(), (Names{"bad", "elsewhere"}));
    EXPECT_EQ(ReadAll(m_bad), "precious");
}

TEST_P(FileRemoverTest, ALinkThatTakesTheNameAfterTheCheckComesBack) {
    const auto precious = m_tree.Write("precious", "precious");
    g_beforeMove = [this, &precious] {
        fs::remove(m_bad);
        fs::create_symlink(precious, m_bad);
    };
    EXPECT_EQ(RemoveBad(), RemovalResult::Replaced);
    EXPECT_EQ(NamesLeft(), Names{"bad"});
    EXPECT_EQ(fs::read_symlink(m_bad), precious);
    EXPECT_EQ(ReadAll(precious), "precious");
}

TEST_P(FileRemoverTest, AFileWrittenToAfterItsContentsWereComparedComesBack) {
    g_beforeLastLook = [this] {
        struct stat before {};
        for (const auto& entry : fs::directory_iterator(m_tree.Path("d"))) {
            m_bad = entry.path();
        }
        ASSERT_EQ(stat(m_bad.c_str(), &before), 0);
        // Longer than a tick of the clock that the times of files are taken from.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        SaveOver("new contents");
        const timespec times[2] = {before.st_atim, before.st_mtim};
        ASSERT_EQ(utimensat(AT_FDCWD, m_bad.c_str(), times, 0), 0);
    };
    const auto result = RemoveBad();
    EXPECT_TRUE(result == RemovalResult::Changed || result == RemovalResult::BeingWritten);
    EXPECT_EQ(NamesLeft(), Names{"bad"});
    EXPECT_EQ(ReadAll(m_tree.Path("d/bad")), AfterSaving("new contents"));
}

TEST_P(FileRemoverTest, AFileWrittenToAfterTheCheckComesBack) {
    g_beforeMove = [this] { SaveOver("the user has just saved this"); };
    EXPECT_EQ(RemoveBad(),
              GetParam().hasLeases ? RemovalResult::BeingWritten : RemovalResult::Changed);
    EXPECT_EQ(NamesLeft(), Names{"bad"});
    EXPECT_EQ(ReadAll(m_bad), AfterSaving("the user has just saved this"));
}

TEST_P(FileRemoverTest, ANameTakenMeanwhileIsNotReplacedByMovingBack) {
    g_beforeMove = [this] {
        fs::remove(m_bad);
        m_tree.Write("d/bad", "precious");
    };
    g_beforeMoveBack = [this] { m_tree.Write("d/bad", "more precious"); };
    EXPECT_EQ(RemoveBad(), RemovalResult::Replaced);
    EXPECT_EQ(ReadAll(m_bad), "more precious");
    auto names = NamesLeft();
    names.erase("bad");
    ASSERT_EQ(names.size(), 1U);
    EXPECT_EQ(ReadAll(m_tree.Path("d/" + *names.begin())), "precious");
    EXPECT_EQ(ReadAll("/zqcommon.log"),
              "scanapi: (" + m_bad + ") now bears the name " + *names.begin() + "\n");
}

TEST_P(FileRemoverTest, AFileThatIsGoneAfterTheCheckWasNotDeletedByUs) {
    g_beforeMove = [this] { fs::remove(m_bad); };
    EXPECT_NE(RemoveBad(), RemovalResult::Removed);
    EXPECT_EQ(NamesLeft(), Names{});
}

INSTANTIATE_TEST_SUITE_P(Worlds, FileRemoverTest,
                         testing::Values(World{true, true, true}, World{true, true, false},
                                         World{true, false, true}, World{true, false, false},
                                         World{false, true, true}, World{false, false, false}));

}  // namespace
