// What happens between the check of a name and its removal. The system's move is replaced here by
// one that first lets somebody else act.

#include "product/scanapi/file_remover.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <set>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

std::function<void()> g_beforeMove;
std::function<void()> g_beforeMoveBack;
bool g_knowsNoReplace = true;
int g_moves = 0;

}  // namespace

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned int flags) noexcept {
    const auto& act = g_moves++ == 0 ? g_beforeMove : g_beforeMoveBack;
    if (act) {
        act();
    }
    if (!g_knowsNoReplace) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

namespace {

using namespace scanapi;
namespace fs = std::filesystem;
using Names = std::set<std::string>;

class FileRemoverTest : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (std::getenv("CORVANE_SANDBOX") == nullptr) {
            GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
        }
        fs::remove("/zqcommon.log");
        g_beforeMove = nullptr;
        g_beforeMoveBack = nullptr;
        g_knowsNoReplace = GetParam();
        g_moves = 0;
    }
    // Some file systems cannot move without replacing; what is promised is the same there.
    RemovalResult RemoveBad() {
        EngineOpenStatus status = kOpenFailed;
        const auto file = TargetFile::Open(m_bad.c_str(), status);
        EXPECT_NE(file, nullptr);
        return RemoveScannedFile(*file);
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
};

TEST_P(FileRemoverTest, WhatWasScannedGoes) {
    EXPECT_EQ(RemoveBad(), RemovalResult::Removed);
    EXPECT_EQ(NamesLeft(), Names{});
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

TEST_P(FileRemoverTest, AFileWrittenToAfterTheCheckComesBack) {
    g_beforeMove = [this] { m_tree.Write("d/bad", "the user has just saved this"); };
    EXPECT_EQ(RemoveBad(), RemovalResult::Changed);
    EXPECT_EQ(NamesLeft(), Names{"bad"});
    EXPECT_EQ(ReadAll(m_bad), "the user has just saved this");
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

INSTANTIATE_TEST_SUITE_P(WithAndWithoutNoReplace, FileRemoverTest, testing::Bool());

}  // namespace
