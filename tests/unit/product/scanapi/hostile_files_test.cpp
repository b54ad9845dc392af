#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

using archives::Eicar;
using Numbers = std::vector<int>;
namespace fs = std::filesystem;

class HostileFilesTest : public EngineTest {
protected:
    int Open(const std::string& path) {
        std::uint64_t handle = 0;
        const int status = m_library.openFile(path.c_str(), &handle);
        if (handle != 0) {
            m_library.closeFile(&handle);
        }
        return status;
    }
};

TEST_F(HostileFilesTest, WhatIsNoRegularFileIsRefusedAtOnce) {
    Start();
    const auto fifo = m_tree.Path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_EQ(Open(fifo), 4001);
    EXPECT_EQ(Open("/dev/null"), 4001);
    EXPECT_EQ(Open("/dev/zero"), 4001);
    EXPECT_EQ(Open(m_tree.Path()), 0);
    fs::create_directory(m_tree.Path("folder"));
    EXPECT_EQ(Open(m_tree.Path("folder")), 4001);
    const auto link = m_tree.Path("link");
    fs::create_symlink("/dev/zero", link);
    EXPECT_EQ(Open(link), 4001);
}

// A writer that waits at a FIFO would be let go by a reader that comes and leaves, and then be
// killed by writing; opening devices has effects of all kinds.
TEST_F(HostileFilesTest, FifosAndDevicesAreNotEvenOpened) {
    Start();
    const auto fifo = m_tree.Path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const auto plain = m_tree.Write("plain", "text");
    const common::FileDescriptor watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(inotify_add_watch(watch.Get(), fifo.c_str(), IN_OPEN), 0);
    EXPECT_EQ(Open(fifo), 4001);
    std::array<char, 4096> event{};
    EXPECT_EQ(read(watch.Get(), event.data(), event.size()), -1);
    EXPECT_EQ(errno, EAGAIN);
    // The watch does see what is opened.
    ASSERT_GE(inotify_add_watch(watch.Get(), plain.c_str(), IN_OPEN), 0);
    EXPECT_NE(Open(plain), 0);
    EXPECT_GT(read(watch.Get(), event.data(), event.size()), 0);
}

TEST_F(HostileFilesTest, ASocketCannotBeOpened) {
    Start();
    const common::FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const auto path = m_tree.Path("socket");
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    ASSERT_EQ(bind(socket.Get(), reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
    EXPECT_EQ(Open(path), 0);
}

TEST_F(HostileFilesTest, WhatIsNotThereCannotBeOpened) {
    Start();
    EXPECT_EQ(Open(m_tree.Path("nothing")), 0);
    EXPECT_EQ(Open(m_tree.Path("no/where")), 0);
    EXPECT_EQ(Open(""), 0);
    fs::create_symlink("loop", m_tree.Path("loop"));
    EXPECT_EQ(Open(m_tree.Path("loop")), 0);
}

TEST_F(HostileFilesTest, PseudoFileSystemsAreRefused) {
    Start();
    EXPECT_EQ(Open("/proc/self/maps"), 4001);
    EXPECT_EQ(Open("/proc/kmsg"), 4001);
    EXPECT_EQ(Open("/proc/self/mem"), 4001);
    if (fs::exists("/sys/kernel/uevent_seqnum")) {
        EXPECT_EQ(Open("/sys/kernel/uevent_seqnum"), 4001);
    }
}

TEST_F(HostileFilesTest, ANameThatFitsNoMessageIsNotOpened) {
    Start();
    std::string path = m_tree.Path();
    while (path.size() < 1100) {
        path += std::string(200, 'x') + '/';
    }
    path += "e.com";
    EXPECT_EQ(Open(path), 0);
}

TEST_F(HostileFilesTest, AFileThatMayNotBeReadIsReported) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to become another user";
    }
    Start();
    fs::permissions(m_tree.Path(), fs::perms(0755));
    const auto path = m_tree.Write("secret", Eicar());
    fs::permissions(path, fs::perms(0600));
    Scan(m_tree.Write("first", "waits for the databases, which root may read"));
    m_messages.clear();
    ASSERT_EQ(seteuid(65534), 0);
    const int result = Scan(path);
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(Codes(), (Numbers{1005}));
    EXPECT_EQ(Files(1005), (std::vector<std::string>{path}));
    EXPECT_EQ(m_messages.back().virus, "it may not be read");
}

TEST_F(HostileFilesTest, AFileThatVanishesOnceOpenIsScannedAllTheSame) {
    Start();
    const auto path = m_tree.Write("e.com", Eicar());
    std::uint64_t handle = 0;
    ASSERT_NE(m_library.openFile(path.c_str(), &handle), 0);
    fs::remove(path);
    EXPECT_EQ(m_library.scanFile(handle, this), 1);
    EXPECT_NE(m_library.closeFile(&handle), 0);
    EXPECT_EQ(handle, 0U);
    EXPECT_EQ(Codes(), (Numbers{1001, 3004}));
}

TEST_F(HostileFilesTest, ALargeFileCutShortUnderTheScanIsUnreadable) {
    Start();
    const auto path = m_tree.Write("large", std::string(8U << 20U, 'a'));
    std::uint64_t handle = 0;
    ASSERT_NE(m_library.openFile(path.c_str(), &handle), 0);
    fs::resize_file(path, 100);
    EXPECT_EQ(m_library.scanFile(handle, this), 0);
    EXPECT_NE(m_library.closeFile(&handle), 0);
    EXPECT_EQ(Codes(), (Numbers{1005}));
}

TEST_F(HostileFilesTest, ASmallFileCutShortBeforeTheScanIsUnreadable) {
    Start();
    const auto path = m_tree.Write("small", std::string(1000, 'a'));
    std::uint64_t handle = 0;
    ASSERT_NE(m_library.openFile(path.c_str(), &handle), 0);
    fs::resize_file(path, 100);
    EXPECT_EQ(m_library.scanFile(handle, this), 0);
    EXPECT_NE(m_library.closeFile(&handle), 0);
    EXPECT_EQ(Codes(), (Numbers{1005}));
}

TEST_F(HostileFilesTest, WithoutDescriptorsFilesAreUnreadAndNothingElseHappens) {
    Start();
    EXPECT_EQ(Scan(m_tree.Write("plain", "nothing in it")), 1);
    m_messages.clear();
    const auto path = m_tree.Write("e.com", Eicar());
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 60;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<std::uint64_t> handles(100);
    for (auto& handle : handles) {
        EXPECT_EQ(m_library.openFile(path.c_str(), &handle), 1);
    }
    EXPECT_EQ(m_library.scanFile(handles.back(), this), 0);
    EXPECT_EQ(Codes(), (Numbers{1005}));
    EXPECT_EQ(m_messages[0].virus, "there was no descriptor or memory for it");
    std::uint64_t none = 0;
    EXPECT_EQ(m_library.openFile(m_tree.Path("missing").c_str(), &none), kOpenFailed);
    EXPECT_EQ(m_library.openFile("/tmp", &none), kOpenRefused);
    EXPECT_EQ(m_library.openFile("/proc/self/status", &none), kOpenRefused);
    for (auto& each : handles) {
        EXPECT_NE(m_library.closeFile(&each), 0);
    }
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    // There was none for the line, either.
    EXPECT_EQ(LinesOfTheEngine(), "");
    m_library.resetFlags();
    EXPECT_EQ(LinesOfTheEngine(), "scanapi: 1 more files were not read\n");
    EXPECT_EQ(Scan(path), 1);
    EXPECT_EQ(Codes(), (Numbers{1005, 1001, 3004}));
}

TEST_F(HostileFilesTest, NamesOfAllKindsAreScanned) {
    Start();
    for (const auto& name : {std::string(255, 'n'), std::string("%s%n"), std::string("a\nb"),
                             std::string("-rf"), std::string("\xff\xfe"), std::string("<b>")}) {
        m_messages.clear();
        EXPECT_EQ(Scan(m_tree.Write("plain/" + name, "nothing in it")), 1);
        EXPECT_EQ(Scan(m_tree.Write("bad/" + name, Eicar())), 1);
        EXPECT_EQ(Scan(m_tree.Write("zip/" + name, archives::Zip({{"../../e.com", Eicar()}}))), 1);
        EXPECT_EQ(Codes(), (Numbers{1002, 1001, 3004, 1003, 1001, 3004})) << name;
    }
}

TEST_F(HostileFilesTest, AnArchiveCutShortWhileItsMembersAreReadEndsTheScanOnly) {
    Start();
    std::vector<archives::Member> members;
    members.reserve(11000);
    for (int i = 0; i < 12; ++i) {
        members.push_back(
            {"m" + std::to_string(i), std::string(2U << 20U, static_cast<char>('a' + i))});
    }
    const auto path = m_tree.Write("large.zip", archives::Zip(members));
    m_answer = [&](const Message& message) {
        if (message.code == kMsgScanningMember) {
            fs::resize_file(path, 1000);
        }
        return static_cast<int>(kReplyGoOn);
    };
    Scan(path);
    ASSERT_FALSE(m_messages.empty());
    EXPECT_TRUE(Files(1001).empty());
}

}  // namespace
