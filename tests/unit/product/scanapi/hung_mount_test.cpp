// A file system that hangs, as a network's does when its server is gone.

#include <gtest/gtest.h>
#include <thread>

#include "product/scanapi/files_ahead.h"
#include "product/scanapi/local_file_systems.h"
#include "product/scanapi/mounts.h"
#include "tests/support/served_files.h"
#include "tests/unit/product/scanapi/fake_clamd.h"
#include "tests/unit/product/scanapi/pool_fixture.h"

namespace {

using namespace std::string_literals;
using scanapi::FilesAhead;
using scanapi::TargetFile;
using scanapi::Urgency;

TEST(LocalFileSystems, AreToldByTheirNumber) {
    for (const unsigned long magic : {0xEF53UL, 0x58465342UL, 0x9123683EUL, 0xF2F52010UL,
                                      0x01021994UL, 0x794C7630UL, 0x9660UL, 0x4D44UL}) {
        EXPECT_TRUE(scanapi::IsLocalFileSystem(magic)) << std::hex << magic;
    }
    // FUSE, NFS, CIFS, SMB 2, 9P, Ceph, AFS, and what nobody knows.
    for (const unsigned long magic : {0x65735546UL, 0x6969UL, 0xFF534D42UL, 0xFE534D42UL,
                                      0x01021997UL, 0x00C36400UL, 0x5346414FUL, 0UL}) {
        EXPECT_FALSE(scanapi::IsLocalFileSystem(magic)) << std::hex << magic;
    }
}

TEST(LocalFileSystems, AreToldByTheirLineInTheTable) {
    for (const char* kind : {"ext4", "xfs", "btrfs", "tmpfs", "overlay", "vfat"}) {
        EXPECT_TRUE(scanapi::IsLocalMount("36 35 98:0 / /a rw shared:1 - "s + kind + " /dev/x rw"))
            << kind;
        EXPECT_TRUE(scanapi::IsLocalMount("36 35 98:0 / /a rw - "s + kind + " x rw")) << kind;
    }
    for (const char* kind : {"fuse", "fuse.sshfs", "fuseblk", "nfs", "nfs4", "cifs", "smb3", "9p",
                             "ceph", "afs", "virtiofs", "autofs", "ext", "ext44", ""}) {
        EXPECT_FALSE(scanapi::IsLocalMount("36 35 98:0 / /ext4 rw - "s + kind + " ext4 rw"))
            << kind;
    }
    EXPECT_FALSE(scanapi::IsLocalMount(""));
    EXPECT_FALSE(scanapi::IsLocalMount("36 35 98:0 / /a rw ext4"));
}

TEST(LocalFileSystems, ALineIsFoundByItsNumber) {
    const std::string table = "123 9 d\n1 2 a\n12 3 b\n2 4 c";
    EXPECT_EQ(scanapi::LineOfMount(table, "1"), "1 2 a");
    EXPECT_EQ(scanapi::LineOfMount(table, "12"), "12 3 b");
    EXPECT_EQ(scanapi::LineOfMount(table, "2"), "2 4 c");
    EXPECT_EQ(scanapi::LineOfMount(table, "3"), "");
    EXPECT_EQ(scanapi::LineOfMount(table, ""), "");
    EXPECT_EQ(scanapi::LineOfMount("", "1"), "");
}

TEST(LocalFileSystems, WhatIsOpenIsFoundInTheTable) {
    const ScratchFolder folder;
    const common::FileDescriptor open(::open(folder.Path().c_str(), O_PATH | O_CLOEXEC));
    EXPECT_TRUE(scanapi::IsOnLocalFileSystem(open.Get()));
    EXPECT_FALSE(scanapi::IsOnLocalFileSystem(-1));
}

class HungMount : public PoolTest {
protected:
    void SetUp() override {
        PoolTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        std::filesystem::create_directory(m_served);
        m_server = std::make_unique<ServedFiles>(
            m_served, std::vector<ServedFiles::File>{{"size-1", "12345678"},
                                                     {"size-2", "1234"},
                                                     {"echo-3", "some text"},
                                                     {"held-4", "some text"}});
        if (!m_server->IsMounted()) {
            GTEST_SKIP() << "no file system may be served here";
        }
    }
    void TearDown() override {
        m_server.reset();
        PoolTest::TearDown();
    }
    std::shared_ptr<TargetFile> OpenServed(const std::string& name) const {
        EngineOpenStatus status = kOpenFailed;
        auto file = TargetFile::Open((m_served + "/" + name).c_str(), status);
        EXPECT_NE(file, nullptr) << name;
        return file;
    }
    std::string m_served = m_folder / "served";
    std::unique_ptr<ServedFiles> m_server;
};

TEST_F(HungMount, ItsFilesAreScanned) {
    EXPECT_FALSE(OpenServed("size-1")->IsLocal());
    Start();
    const auto served = m_pool->Submit(OpenServed("size-1"), {}, Urgency::kNow);
    EXPECT_EQ(Text(Await(*served).outcome), "virus: 8");
    EXPECT_EQ(m_server->Reads(), 1);
}

// The thread that shows a file reads it, and would wait.
TEST_F(HungMount, ItsFilesAreNotShownToAClamd) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "the settings of a clamd are believed of root only";
    }
    const std::string socket = m_folder / "socket";
    WriteFile(m_folder / "clamd.conf", "LocalSocket " + socket + "\n");
    m_settings.clamd = {.isOn = true, .config = m_folder / "clamd.conf"};
    const FakeClamd fake(socket, {FakeClamd::Answering("1: fd[9]: OK\0"s)});
    Start();
    const auto served = m_pool->Submit(OpenServed("size-1"), {}, Urgency::kNow);
    EXPECT_EQ(Text(Await(*served).outcome), "virus: 8");
    EXPECT_EQ(Scan("virus-2", "some text"), "clean") << "by the clamd";
}

TEST_F(HungMount, AReadThatHangsKeepsNobodyElseWaiting) {
    Start(2);
    m_server->HangAtReads();
    const auto hanging = m_pool->Submit(OpenServed("echo-3"), {}, Urgency::kNow);
    ASSERT_TRUE(WaitUntil([&] { return m_server->Hung() > 0; }));
    // It is a worker that hangs, and the pool goes on with the other.
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Scan("clean-1"), "clean");
        EXPECT_EQ(Scan("virus-2"), "virus: Fake.Virus");
    }
    EXPECT_FALSE(hanging->IsFinished());
    m_pool->Stop();
    EXPECT_EQ(Text(Await(*hanging).outcome), "stopped");
}

TEST_F(HungMount, WhatEndsWhileItHangsKeepsNobodyElseWaiting) {
    Start();
    const auto held = m_pool->Submit(OpenServed("held-4"), {}, Urgency::kNow);
    ASSERT_TRUE(HasBegun("held-4"));
    m_server->HangAtLooks();
    LetGo();
    ASSERT_TRUE(WaitUntil([&] { return held->IsFinished(); }));
    EXPECT_EQ(Scan("clean-1"), "clean");
    EXPECT_EQ(m_server->Hung(), 0) << "the pool has asked for something";
    // Whoever takes the verdict asks whether the file has changed.
    m_server->GoOn();
    EXPECT_EQ(Text(held->TakeOutcome()), "clean");
}

TEST_F(HungMount, OfAFileThatChangedNoVerdictIsTaken) {
    Start();
    const auto held = m_pool->Submit(OpenServed("held-4"), {}, Urgency::kNow);
    ASSERT_TRUE(HasBegun("held-4"));
    m_server->Touch();
    LetGo();
    EXPECT_EQ(Text(Await(*held).outcome), "unread: it changed while it was scanned");
}

TEST_F(HungMount, NothingOfItIsLookedAtAhead) {
    Start();
    const std::shared_ptr<scanapi::FileScanner> pool = std::move(m_pool);
    const common::FileDescriptor served(::open(m_served.c_str(), O_PATH | O_CLOEXEC));
    const common::FileDescriptor local(::open(m_folder.Path().c_str(), O_PATH | O_CLOEXEC));
    WriteFile(m_folder / "clean-1", "text");
    std::this_thread::sleep_for(std::chrono::milliseconds(150));  // until it may be scanned ahead
    {
        FilesAhead ahead;
        ahead.Use(pool, {});
        m_server->Hang();
        const int before = m_server->Questions();
        const std::vector<const char*> names{"size-1", "size-2"};
        ahead.Tell(served.Get(), m_served.c_str(), names);
        ahead.Tell(-1, m_served.c_str(), names);
        const char* const name = "clean-1";
        ahead.Tell(local.Get(), m_folder.Path().c_str(), {&name, 1});
        // What was told after it is scanned: the thread has gone past it.
        EXPECT_TRUE(HasBegun("clean-1"));
        EXPECT_EQ(m_server->Questions(), before);
        EXPECT_EQ(m_server->Hung(), 0);
    }
}

}  // namespace
