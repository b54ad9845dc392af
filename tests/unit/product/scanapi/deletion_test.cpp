#include <fcntl.h>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "common/log.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using archives::Eicar;
using Numbers = std::vector<int>;
namespace fs = std::filesystem;

class DeletionTest : public EngineTest {
protected:
    // Does `trick` between the scan and the deletion.
    void DeleteAfter(std::function<void()> trick) {
        m_answer = [trick = std::move(trick)](const Message& message) {
            if (message.code != kMsgVirusFound) {
                return static_cast<int>(kReplyGoOn);
            }
            trick();
            return static_cast<int>(kReplyDelete);
        };
    }
    void ExpectNotDeleted(const char* reason) {
        EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
        EXPECT_NE(ReadAll("/zqcommon.log").find(reason), std::string::npos)
            << ReadAll("/zqcommon.log");
    }
    // Nothing but these names may be left: a name used while moving aside must be gone too.
    void ExpectNames(const std::string& folder, const std::set<std::string>& names) {
        std::set<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder)) {
            found.insert(entry.path().filename());
        }
        EXPECT_EQ(found, names);
    }
};

TEST_F(DeletionTest, LeavesNoTraceBehind) {
    Start();
    DeleteAfter([] {});
    const auto path = m_tree.Write("d/e.com", Eicar());
    Scan(path);
    EXPECT_EQ(Codes(), (Numbers{1001, 3003}));
    ExpectNames(m_tree.Path("d"), {});
}

TEST_F(DeletionTest, AnotherFileUnderTheNameIsKept) {
    Start();
    const auto path = m_tree.Write("d/e.com", Eicar());
    DeleteAfter([&] {
        fs::rename(path, m_tree.Path("d/moved.com"));
        m_tree.Write("d/e.com", "precious");
    });
    Scan(path);
    ExpectNotDeleted("its name now belongs to another file");
    EXPECT_EQ(ReadAll(path), "precious");
    ExpectNames(m_tree.Path("d"), {"e.com", "moved.com"});
}

TEST_F(DeletionTest, ALinkUnderTheNameIsNotFollowed) {
    Start();
    const auto path = m_tree.Write("d/e.com", Eicar());
    DeleteAfter([&] {
        fs::rename(path, m_tree.Path("d/moved.com"));
        fs::create_symlink(m_tree.Path("d/moved.com"), path);
    });
    Scan(path);
    ExpectNotDeleted("its name now belongs to another file");
    EXPECT_EQ(ReadAll(m_tree.Path("d/moved.com")), Eicar());
    EXPECT_TRUE(fs::is_symlink(path));
}

TEST_F(DeletionTest, ASwappedFolderIsNotEntered) {
    Start();
    const auto path = m_tree.Write("d/e.com", Eicar());
    m_tree.Write("other/e.com", "precious");
    // The very same file under another folder's name must stay as well.
    DeleteAfter([&] {
        fs::rename(m_tree.Path("d"), m_tree.Path("old"));
        fs::remove(m_tree.Path("other/e.com"));
        fs::create_hard_link(m_tree.Path("old/e.com"), m_tree.Path("other/e.com"));
        fs::remove(m_tree.Path("old/e.com"));
        fs::create_symlink(m_tree.Path("other"), m_tree.Path("d"));
    });
    Scan(path);
    ExpectNotDeleted("it is no longer there");
    EXPECT_EQ(ReadAll(m_tree.Path("other/e.com")), Eicar());
}

TEST_F(DeletionTest, InARenamedFolderTheScannedFileGoes) {
    Start();
    const auto path = m_tree.Write("d/e.com", Eicar());
    DeleteAfter([&] {
        fs::rename(m_tree.Path("d"), m_tree.Path("renamed"));
        m_tree.Write("d/e.com", "precious");
    });
    Scan(path);
    EXPECT_EQ(Codes(), (Numbers{1001, 3003}));
    EXPECT_EQ(ReadAll(path), "precious");
    EXPECT_FALSE(fs::exists(m_tree.Path("renamed/e.com")));
}

TEST_F(DeletionTest, AFileThatChangedIsKept) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    DeleteAfter([&] { m_tree.Write("e.com", "the user has saved over it"); });
    Scan(path);
    ExpectNotDeleted("it changed while it was scanned");
    EXPECT_EQ(ReadAll(path), "the user has saved over it");
}

TEST_F(DeletionTest, AChangeWithItsDateSetBackIsNoticed) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    DeleteAfter([&] {
        struct stat before {};
        ASSERT_EQ(stat(path.c_str(), &before), 0);
        std::string other = Eicar();
        other.front() = 'Y';
        m_tree.Write("e.com", other);
        const timespec times[2] = {before.st_atim, before.st_mtim};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    });
    Scan(path);
    ExpectNotDeleted("it changed while it was scanned");
    EXPECT_TRUE(fs::exists(path));
}

TEST_F(DeletionTest, AFileThatIsGoneIsNotReportedAsDeleted) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    DeleteAfter([&] { fs::remove(path); });
    Scan(path);
    ExpectNotDeleted("it is no longer there");
}

TEST_F(DeletionTest, AFileReachedThroughALinkIsKept) {
    Start();
    const auto path = m_tree.Write("real.com", Eicar());
    const auto link = m_tree.Path("link.com");
    fs::create_symlink(path, link);
    DeleteAfter([] {});
    Scan(link);
    ExpectNotDeleted("its name now belongs to another file");
    EXPECT_EQ(ReadAll(path), Eicar());
    EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(DeletionTest, OnlyTheScannedNameOfAFileWithTwoGoes) {
    Start();
    const auto path = m_tree.Write("one.com", Eicar());
    fs::create_hard_link(path, m_tree.Path("two.com"));
    DeleteAfter([] {});
    Scan(path);
    EXPECT_EQ(Codes(), (Numbers{1001, 3003}));
    ExpectNames(m_tree.Path(), {"two.com"});
}

TEST_F(DeletionTest, WhatMayNotBeDeletedIsReportedAsSkipped) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to become another user";
    }
    Start();
    const auto path = m_tree.Write("d/e.com", Eicar());
    fs::permissions(m_tree.Path(), fs::perms(0755));
    fs::permissions(m_engine.Path(), fs::perms(0755));
    fs::permissions(m_engine.Path("tmp"), fs::perms(0777));
    fs::permissions(m_tree.Path("d"), fs::perms(0755));
    WriteToLog("/zqcommon.log", "made by root");
    fs::permissions("/zqcommon.log", fs::perms(0666));
    DeleteAfter([] {});
    m_library.deinit();
    fs::permissions(m_engine.Path("defs"), fs::perms(0755));
    ASSERT_EQ(seteuid(65534), 0);
    StartWith(Options());
    Scan(path);
    m_library.deinit();
    ASSERT_EQ(seteuid(0), 0);
    ExpectNotDeleted("the system does not allow it");
    ExpectNames(m_tree.Path("d"), {"e.com"});
}

}  // namespace
