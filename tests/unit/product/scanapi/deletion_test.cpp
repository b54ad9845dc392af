#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "common/log.h"
#include "product/vault/item_reader.h"
#include "product/vault/place.h"
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

// What is in the vault, of the files of the user who runs the test.
std::vector<fs::path> ItemsInVault() {
    std::vector<fs::path> items;
    std::error_code ignored;
    for (const auto& entry : fs::recursive_directory_iterator(vault::PathOfVault(), ignored)) {
        if (entry.is_regular_file()) {
            items.push_back(entry.path());
        }
    }
    return items;
}

TEST_F(DeletionTest, KeepsACopyAndSaysWhere) {
    Start();
    DeleteAfter([] {});
    const auto path = m_tree.Write("d/e.com", Eicar());
    Scan(path);
    EXPECT_EQ(Codes(), (Numbers{1001, 3003}));
    const auto items = ItemsInVault();
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].parent_path().filename(), std::to_string(geteuid()));
    EXPECT_EQ(LinesOfTheEngine(), "scanapi: (" + path + ") was deleted; the vault has it as " +
                                      items[0].filename().string() + "\n");
    std::string why;
    const auto item = vault::ItemReader::Open(
        common::FileDescriptor(open(items[0].c_str(), O_RDONLY | O_CLOEXEC)), why);
    ASSERT_TRUE(item) << why;
    EXPECT_EQ(item->Facts().path, path);
    EXPECT_EQ(item->Facts().virusName, "Eicar-Test-Signature.UNOFFICIAL");
    tagZQVERINFO version{};
    m_library.getVersion(&version);
    EXPECT_NE(version.major, 0);
    char database[32];
    std::snprintf(database, sizeof(database), "%u.%02u", version.major, version.minor);
    EXPECT_EQ(item->Facts().database, database);
    std::string contents;
    EXPECT_TRUE(item->Extract(
        [&](std::span<const std::byte> bytes) {
            contents.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
            return true;
        },
        why));
    EXPECT_EQ(contents, Eicar());
}

TEST_F(DeletionTest, ANameForgesNoLineOfTheLog) {
    Start();
    DeleteAfter([] {});
    Scan(m_tree.Write("e\nscanapi: forged", Eicar()));
    EXPECT_EQ(Codes(), (Numbers{1001, 3003}));
    const std::string lines = LinesOfTheEngine();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1);
    EXPECT_NE(lines.find("/e\\u{000a}scanapi: forged) was deleted"), std::string::npos) << lines;
}

TEST_F(DeletionTest, TheCopyIsCleanToTheEngine) {
    Start();
    DeleteAfter([] {});
    Scan(m_tree.Write("e.com", Eicar()));
    const auto items = ItemsInVault();
    ASSERT_EQ(items.size(), 1U);
    m_messages.clear();
    Scan(items[0]);
    EXPECT_EQ(Codes(), (Numbers{1002}));
}

TEST_F(DeletionTest, ACopyThatCannotBeKeptKeepsTheFile) {
    Start();
    DeleteAfter([] {});
    const fs::path vault = vault::PathOfVault();
    fs::create_directories(vault.parent_path());
    fs::create_directory(m_tree.Path("elsewhere"));
    fs::create_directory_symlink(m_tree.Path("elsewhere"), vault);
    const auto path = m_tree.Write("d/e.com", Eicar());
    Scan(path);
    ExpectNotDeleted(("scanapi: (" + path +
                      ") was not deleted: it could not be kept in the vault: " + vault.string() +
                      ": ")
                         .c_str());
    EXPECT_EQ(ReadAll(path), Eicar());
    ExpectNames(m_tree.Path("d"), {"e.com"});
    ExpectNames(m_tree.Path("elsewhere"), {});
}

TEST_F(DeletionTest, ASwitchedOffVaultDeletesAtOnce) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "the settings are believed of root only";
    }
    Start();
    m_engine.Write("scanapi.conf", "[Vault]\nVault=off\n");
    m_library.resetFlags();
    DeleteAfter([] {});
    Scan(m_tree.Write("e.com", Eicar()));
    EXPECT_EQ(Codes(), (Numbers{1001, 3003}));
    EXPECT_TRUE(ItemsInVault().empty());
    EXPECT_EQ(LinesOfTheEngine(), "");
    // And on again, from the start of the program on.
    m_engine.Write("scanapi.conf", "[Vault]\nVault=on\n");
    m_library.deinit();
    StartWith(Options());
    Scan(m_tree.Write("e.com", Eicar()));
    EXPECT_EQ(ItemsInVault().size(), 1U);
}

TEST_F(DeletionTest, AFileThatSomebodyWritesToIsKept) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    const common::FileDescriptor writer(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    DeleteAfter([] {});
    Scan(path);
    ExpectNotDeleted("somebody writes to it");
    EXPECT_EQ(ReadAll(path), Eicar());
    EXPECT_TRUE(ItemsInVault().empty());
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
    EXPECT_TRUE(ItemsInVault().empty());
}

}  // namespace
