// Started by root, workers are a user of their own; started by anybody else, they are who started
// them.

#include <fcntl.h>
#include <fstream>
#include <grp.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "product/scanhost/confinement.h"
#include "product/scanhost/confinement_check.h"
#include "product/scanwire/switches.h"
#include "tests/support/scratch.h"

namespace scanhost {
namespace {

constexpr uid_t kUid = 64123;
constexpr gid_t kGid = 64124;

class OwnUserTest : public testing::Test {
protected:
    void SetUp() override {
        if (getuid() != 0 || !HasPrivateRoot()) {
            GTEST_SKIP() << "the list of users is the machine's own";
        }
        m_users = ReadFile("/etc/passwd");
    }
    void TearDown() override {
        if (!m_users.empty()) {
            WriteFile("/etc/passwd", m_users);
        }
    }
    void MakeUser(uid_t uid) {
        WriteFile("/etc/passwd", m_users + "corvane-scan:x:" + std::to_string(uid) + ':' +
                                     std::to_string(kGid) + "::/nonexistent:/usr/sbin/nologin\n");
    }
    /// What `look` gives in a worker; 200 when it could not be confined.
    static int InWorker(std::uint32_t switches, const std::function<int()>& look) {
        ScratchFolder base;
        std::string why;
        const auto confinement =
            Confinement::Prepare({.switches = switches, .scratchBase = base.Path()}, why);
        const pid_t host = getpid();
        return InChild([&] { return confinement->Enter(0, host).empty() ? look() : 200; });
    }

    std::string m_users;
};

/// 0 for the user of the package, with no groups and nothing of root's.
int WhoIsIt() {
    uid_t real = 0;
    uid_t effective = 0;
    uid_t saved = 0;
    getresuid(&real, &effective, &saved);
    return real != kUid || effective != kUid || saved != kUid ? 1
           : getgid() != kGid || getegid() != kGid            ? 2
           : getgroups(0, nullptr) != 0                       ? 3
           : setuid(0) == 0                                   ? 4
           : open("own", O_WRONLY | O_CREAT, 0600) < 0        ? 5
                                                              : 0;
}

TEST_F(OwnUserTest, OfRootsWorkersIsThatOfThePackage) {
    MakeUser(kUid);
    EXPECT_EQ(InWorker(scanwire::kNoSyscallFilter, WhoIsIt), 0);
    EXPECT_EQ(InWorker(scanwire::kNoSyscallFilter | scanwire::kNoOwnScratch, WhoIsIt), 0)
        << "in a folder";
    EXPECT_EQ(InWorker(scanwire::kNoSyscallFilter | scanwire::kNoOwnUser, WhoIsIt), 1);
    EXPECT_EQ(CheckReport().find("workers run as: root"), std::string::npos);
    EXPECT_NE(CheckReport().find("\nworkers run as: corvane-scan\n"), std::string::npos);
}

// This thread alone: the C library does it in every thread, and ends the process when they do not
// agree, as they do not where a sanitizer has one of its own.
bool LeaveGroups() {
    return syscall(SYS_setgroups, 0, nullptr) == 0;
}

TEST_F(OwnUserTest, IsMissedWhereItIsNotThere) {
    WriteFile("/etc/passwd", m_users);
    std::string why;
    const auto confinement = Confinement::Prepare({}, why);
    EXPECT_EQ(confinement->Missing(),
              (std::vector<std::string>{"workers are without: own user (they stay root, for there "
                                        "is no user corvane-scan)"}));
    // Root without the rights of root.
    EXPECT_EQ(InWorker(scanwire::kNoSyscallFilter,
                       [] { return LeaveGroups()    ? 1
                                   : geteuid() == 0 ? 0
                                                    : 2; }),
              0);
    EXPECT_EQ(InWorker(scanwire::kNoSyscallFilter | scanwire::kKeepCapabilities,
                       [] { return LeaveGroups() ? 1 : 0; }),
              1);
}

TEST_F(OwnUserTest, ThatIsRootCountsAsNone) {
    MakeUser(0);
    std::string why;
    EXPECT_EQ(Confinement::Prepare({}, why)->Missing().size(), 1U);
}

TEST_F(OwnUserTest, OfAnOrdinaryUsersWorkersIsTheirs) {
    ScratchFolder base;
    ASSERT_EQ(chmod(base.Path().c_str(), 0777), 0);
    EXPECT_EQ(InChild([&] {
                  if (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0) {
                      return 1;
                  }
                  return InWorker(scanwire::kNoSyscallFilter, [] {
                      return geteuid() != 65534 || getegid() != 65534                ? 2
                             : open("own", O_WRONLY | O_CREAT | O_CLOEXEC, 0600) < 0 ? 3
                             : open("/etc/passwd", O_RDONLY | O_CLOEXEC) >= 0        ? 4
                                                                                     : 0;
                  });
              }),
              0);
}

TEST(CheckReport, TellsOfEveryPartAndOfWhatAWorkerCannotDo) {
    const std::string report = CheckReport();
    for (const char* line :
         {"limits: holds\n", "\nno new privileges: holds\n", "\nno capabilities: holds\n",
          "\nhidden from others: holds\n", "\nend with the host: holds\n",
          "\nsystem calls: holds\n", "\ncan a worker read a file of the system: no\n",
          "\ncan a worker open a network connection: no, it is ended for it\n",
          "\ncan a worker start a process: no, it is ended for it\n",
          "\ncan a worker send a signal to another process: no, it is ended for it\n",
          "\ncan a worker run code that it was not built with: no, it is ended for it\n"}) {
        EXPECT_NE(report.find(line), std::string::npos) << line << report;
    }
    EXPECT_EQ(report.find("YES"), std::string::npos) << report;
}

}  // namespace
}  // namespace scanhost
