#include "product/schdlscn/scan_launcher.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>

#include "common/paths.h"
#include "common/text_field.h"
#include "reports/files/scheduled_index.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/schdlscn/a_task.h"

// Scans as their owners' processes: scripts in the place of the scanner say what they are given.

namespace {

using namespace schdlscn;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr uid_t kDaemon = 1;

class ScanLauncherTest : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own";
        }
        ::chmod(m_scratch.Path().c_str(), 0755);
        fs::remove_all(m_reports);
        fs::create_directories(m_reports);
        ::chmod(m_reports.c_str(), 01777);
    }

    std::unique_ptr<schdlscn::Run> Start(const std::string& script, uid_t user = kDaemon,
                                         const std::string& name = "daemon",
                                         ScheduleReason reason = kScheduleReasonDue) {
        WriteFile(m_program, "#!/bin/bash\n" + script);
        ::chmod(m_program.c_str(), 0755);
        KeptTask kept;
        kept.task = ATask();
        kept.task.owner = user;
        kept.ownerName = name;
        ScanLauncher launcher(m_program, m_reports, "/nowhere");
        return launcher.Start(kept, reason, launcher.NameReport());
    }

    static Outcome WaitFor(schdlscn::Run& run) {
        pollfd watched{run.Descriptor(), POLLIN, 0};
        EXPECT_EQ(::poll(&watched, 1, 60'000), 1);
        const auto outcome = run.Ended();
        EXPECT_TRUE(outcome);
        return outcome.value_or(Outcome{});
    }

    Outcome RunToEnd(const std::string& script) { return WaitFor(*Start(script)); }

    [[nodiscard]] std::vector<std::string> Reports() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(m_reports)) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    ScratchFolder m_scratch;
    std::string m_program = m_scratch / "corvane-scan";
    std::string m_reports = common::InProductDirectory("reports/");
};

constexpr char kResult[] = "echo 'infected=0 unread=0 stopped=0' >&4\n";

TEST_F(ScanLauncherTest, AScanIsItsOwnersAndGivesWay) {
    const Outcome outcome = RunToEnd(
        "exec >&3\n"
        "echo \"who $(id -u) $(id -g) $(id -G)\"\n"
        "echo \"nice $(nice) $(ionice)\"\n"
        "echo \"in $PWD\"\n"
        "echo \"core $(ulimit -c)\"\n"
        "grep -E '^(NoNewPrivs|CapEff|SigBlk|SigIgn):' /proc/self/status\n"
        "echo \"session $(ps -o sid= -p $$ | tr -d ' ') $$\" | awk '{ print \"leads\", $2 == $3 "
        "}'\n"
        "for fd in 3 4 5 6 7 8 9 10 11 12; do [[ ! -e /proc/$$/fd/$fd ]] || echo \"fd $fd\"; done\n"
        "env | grep -vE '^(_|SHLVL|PWD|OLDPWD)=' | sort\n"
        "stat -L -c 'report %u %a' /proc/self/fd/3\n" +
        std::string(kResult));
    EXPECT_EQ(outcome.result, kScheduleRunClean);
    const std::string said = ReadFile(m_reports + outcome.report);
    EXPECT_THAT(said, HasSubstr("who 1 1 1\n"));
    EXPECT_THAT(said, HasSubstr("nice 10 idle\n"));
    EXPECT_THAT(said, HasSubstr("in /\n"));
    EXPECT_THAT(said, HasSubstr("core 0\n"));
    EXPECT_THAT(said, HasSubstr("NoNewPrivs:\t1\n"));
    EXPECT_THAT(said, HasSubstr("CapEff:\t0000000000000000\n"));
    EXPECT_THAT(said, HasSubstr("SigBlk:\t0000000000000000\n"));
    EXPECT_THAT(said, HasSubstr("SigIgn:\t0000000000000000\n"));
    EXPECT_THAT(said, HasSubstr("leads 1\nfd 3\nfd 4\nHOME="));
    EXPECT_THAT(said, HasSubstr("HOME=/usr/sbin\nLANG=C.UTF-8\nLANGUAGE=en\nLOGNAME=daemon\n"
                                "PATH=/usr/bin:/bin\nUSER=daemon\n"));
    EXPECT_THAT(said, HasSubstr("report 1 600\n"));
}

TEST_F(ScanLauncherTest, TheReportIsTheOwnersAndIsListed) {
    const Outcome outcome = RunToEnd("echo report >&3\n" + std::string(kResult));
    ASSERT_THAT(outcome.report, testing::MatchesRegex("schd[0-9][0-9][0-9][0-9]\\.rpt"));
    const std::string path = m_reports + outcome.report;
    EXPECT_EQ(ReadFile(path), "report\n");
    EXPECT_EQ(ModeOf(path), 0644U);
    struct stat status {};
    ASSERT_EQ(::stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, kDaemon);
    const std::string index = ReadFile(m_reports + "schdmain.rpt");
    ASSERT_EQ(index.size(), 19U + 1316U);
    EXPECT_EQ(index.substr(8, 4), std::string("\1\0\0\0", 4));
    EXPECT_THAT(index.substr(19, 32), testing::ContainsRegex("^[0-9]+ [A-Z][a-z]+, 20"));
    EXPECT_STREQ(index.c_str() + 19 + 32, "/home;/srv/\xC3\xA4 b");
    EXPECT_STREQ(index.c_str() + 19 + 288, path.c_str());
    EXPECT_EQ(index.substr(19 + 1312), std::string("\1\0\0\0", 4));
    EXPECT_EQ(ModeOf(m_reports + "schdmain.rpt"), 0644U);
}

TEST_F(ScanLauncherTest, HowItEndedIsBothStatusAndLine) {
    const auto result = [&](const std::string& script) { return RunToEnd(script).result; };
    EXPECT_EQ(result("echo 'infected=0 unread=0 stopped=0' >&4; exit 0"), kScheduleRunClean);
    EXPECT_EQ(result("echo 'infected=2 unread=1 stopped=0' >&4; exit 1"), kScheduleRunFound);
    EXPECT_EQ(result("echo 'infected=0 unread=1 stopped=0' >&4; exit 2"), kScheduleRunUnread);
    EXPECT_EQ(result("echo 'infected=0 unread=1 stopped=1' >&4; exit 2"), kScheduleRunInterrupted);
    EXPECT_EQ(result("exit 0"), kScheduleRunInterrupted);
    EXPECT_EQ(result("echo 'garbage' >&4; exit 0"), kScheduleRunInterrupted);
    EXPECT_EQ(result("echo 'infected=0 unread=0 stopped=0' >&4; exit 3"), kScheduleRunNotStarted);
    EXPECT_EQ(result("kill -SEGV $$"), kScheduleRunInterrupted);
    EXPECT_EQ(result("head -c 100000 /dev/zero >&4; echo 'infected=0 unread=0 stopped=0' >&4"),
              kScheduleRunInterrupted);
    const Outcome found = RunToEnd("echo 'infected=2 unread=1 stopped=0' >&4; exit 1");
    EXPECT_EQ(found.infected, 2);
    EXPECT_EQ(found.unread, 1);
}

TEST_F(ScanLauncherTest, WhyItDidNotRunIsKeptInOneLineThatMisleadsNobody) {
    const Outcome outcome = RunToEnd("printf 'no \\033[1m engine\\nmore\\n' >&2; exit 3");
    EXPECT_EQ(outcome.detail, "no \\u{001b}[1m engine");
    EXPECT_EQ(RunToEnd("head -c 100000 /dev/zero | tr '\\0' a >&2; exit 3").detail,
              std::string(255, 'a'));
    EXPECT_EQ(RunToEnd("kill -KILL $$").detail, "the scanner was ended: Killed");
}

TEST_F(ScanLauncherTest, AReportThatNothingIsWrittenToIsNone) {
    EXPECT_EQ(RunToEnd("exit 3").report, "");
    EXPECT_THAT(Reports(), ElementsAre());
}

TEST_F(ScanLauncherTest, WithoutAScannerNothingIsLeft) {
    KeptTask kept;
    kept.task = ATask();
    kept.task.owner = kDaemon;
    kept.ownerName = "daemon";
    ScanLauncher launcher(m_scratch / "none", m_reports, "/nowhere");
    const auto run = launcher.Start(kept, kScheduleReasonDue, "schd0001.rpt");
    const Outcome outcome = WaitFor(*run);
    EXPECT_EQ(outcome.result, kScheduleRunNotStarted);
    EXPECT_EQ(outcome.detail, m_scratch / "none: No such file or directory");
    EXPECT_THAT(Reports(), ElementsAre());
}

TEST_F(ScanLauncherTest, ANumberThatIsAnotherUsersNowRunsNothing) {
    for (const auto& [user, name] : {std::pair<uid_t, const char*>(kDaemon, "anna"),
                                     std::pair<uid_t, const char*>(4711, "anna")}) {
        const auto run = Start("touch " + (m_scratch / "ran"), user, name);
        const auto outcome = run->Ended();
        ASSERT_TRUE(outcome);
        EXPECT_EQ(outcome->result, kScheduleRunNoOwner);
        EXPECT_EQ(outcome->detail, "the user anna is not there any more");
    }
    EXPECT_FALSE(Exists(m_scratch / "ran"));
    EXPECT_THAT(Reports(), ElementsAre());
}

TEST_F(ScanLauncherTest, WithoutAFolderForItsReportNothingRuns) {
    fs::remove_all(m_reports);
    auto outcome = Start("exit 0")->Ended();
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->result, kScheduleRunNoReport);
    EXPECT_EQ(outcome->detail, "no report can be made: No such file or directory");
    // The owner's own rights decide.
    fs::create_directories(m_reports);
    ::chmod(m_reports.c_str(), 0755);
    outcome = Start("exit 0")->Ended();
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->detail, "no report can be made: Permission denied");
}

TEST_F(ScanLauncherTest, NamesThatSomebodyHasTakenAreLeftAlone) {
    const std::string victim = m_scratch / "victim";
    WriteFile(victim, "precious");
    for (int i = 0; i < 10'000; ++i) {
        std::string number = std::to_string(i);
        number.insert(0, 4 - number.size(), '0');
        if (i != 7777) {
            fs::create_symlink(i % 2 == 0 ? victim : m_scratch / "nothing",
                               m_reports + "schd" + number + ".rpt");
        }
    }
    EXPECT_EQ(RunToEnd("echo report >&3\n" + std::string(kResult)).report, "schd7777.rpt");
    EXPECT_EQ(ReadFile(victim), "precious");
    EXPECT_FALSE(Exists(m_scratch / "nothing"));
    const auto outcome = Start("exit 0")->Ended();
    ASSERT_TRUE(outcome);
    EXPECT_EQ(outcome->result, kScheduleRunNoReport);
    EXPECT_EQ(outcome->detail, "no report can be made: File exists");
}

// What a run has left that ended with the service.
class LeftReportTest : public ScanLauncherTest {
protected:
    std::string Recover(const std::string& name = "schd0007.rpt") {
        KeptTask kept;
        kept.task = ATask();
        kept.task.owner = kDaemon;
        kept.last.report = name;
        return ScanLauncher(m_program, m_reports, "/nowhere").Recover(kept);
    }

    void Leave(const std::string& text, uid_t owner = kDaemon) const {
        WriteFile(m_left, text);
        ::chmod(m_left.c_str(), 0600);
        ASSERT_EQ(::chown(m_left.c_str(), owner, owner), 0);
    }

    // The owners and paths on the list.
    static std::vector<std::pair<unsigned int, std::string>> Listed() {
        std::vector<tagReportIndexEntry> entries;
        unsigned int error = 0;
        (void)ReadIndexEntry(1001, entries, 0, &error);
        std::vector<std::pair<unsigned int, std::string>> listed;
        listed.reserve(entries.size());
        for (const tagReportIndexEntry& entry : entries) {
            listed.emplace_back(entry.userId, entry.reportPath);
        }
        return listed;
    }

    const std::string m_left = m_reports + "schd0007.rpt";
};

TEST_F(LeftReportTest, WhatWasWrittenIsListedOnce) {
    Leave("half\n");
    EXPECT_EQ(Recover(), "schd0007.rpt");
    EXPECT_THAT(Listed(), ElementsAre(std::pair(kDaemon, m_left)));
    EXPECT_EQ(ModeOf(m_left), 0644U);
    EXPECT_EQ(ReadFile(m_left), "half\n");
    // The service was killed again before it had noted that.
    EXPECT_EQ(Recover(), "schd0007.rpt");
    EXPECT_THAT(Listed(), ElementsAre(std::pair(kDaemon, m_left)));
}

TEST_F(LeftReportTest, OneThatNothingWasWrittenToIsRemoved) {
    Leave("");
    EXPECT_EQ(Recover(), "");
    EXPECT_FALSE(Exists(m_left));
    EXPECT_THAT(Listed(), ElementsAre());
}

TEST_F(LeftReportTest, OneThatWasNeverMadeIsNone) {
    EXPECT_EQ(Recover(), "");
    EXPECT_EQ(Recover(""), "");
    EXPECT_THAT(Listed(), ElementsAre());
}

// Deleting reports, for whom they belong to.
class DeletedReportTest : public LeftReportTest {
protected:
    // A report on the list.
    std::string List(const std::string& name, uid_t owner) const {
        std::string path = m_reports + name;
        WriteFile(path, "words");
        EXPECT_EQ(::chown(path.c_str(), owner, owner), 0);
        tagReportIndexEntry entry{};
        common::CopyToField(entry.reportPath, path);
        entry.userId = owner;
        EXPECT_TRUE(reports::AppendScheduledEntry(&entry));
        return path;
    }

    ScheduleError Delete(const std::string& name, uid_t user) const {
        return ScanLauncher(m_program, m_reports, "/nowhere").DeleteReport(name, user);
    }
};

constexpr uid_t kBin = 2;

TEST_F(DeletedReportTest, OnesOwnGoesAndEverythingElseStays) {
    const std::string others = List("schd0001.rpt", kBin);
    const std::string mine = List("schd0002.rpt", kDaemon);
    const std::string second = List("schd0003.rpt", kDaemon);
    EXPECT_EQ(Delete("schd0002.rpt", kDaemon), kScheduleOk);
    EXPECT_FALSE(Exists(mine));
    EXPECT_TRUE(Exists(others));
    EXPECT_TRUE(Exists(second));
    EXPECT_THAT(Listed(), ElementsAre(std::pair(kBin, others), std::pair(kDaemon, second)));
    EXPECT_EQ(ModeOf(m_reports + "schdmain.rpt"), 0644U);
    EXPECT_EQ(Delete("schd0002.rpt", kDaemon), kScheduleNoSuchReport);
}

TEST_F(DeletedReportTest, AnotherUsersStays) {
    const std::string others = List("schd0001.rpt", kBin);
    EXPECT_EQ(Delete("schd0001.rpt", kDaemon), kScheduleNoSuchReport);
    EXPECT_TRUE(Exists(others));
    EXPECT_EQ(Listed().size(), 1U);
    EXPECT_EQ(Delete("schd0001.rpt", 0), kScheduleOk) << "root's are everybody's";
    EXPECT_FALSE(Exists(others));
    EXPECT_EQ(Listed().size(), 0U);
}

TEST_F(DeletedReportTest, WhatIsNoPlainNameOfAListedReportIsNone) {
    const std::string victim = List("schd0001.rpt", kDaemon);
    WriteFile(m_reports + "notes", "words");
    ASSERT_EQ(::chown((m_reports + "notes").c_str(), kDaemon, kDaemon), 0);
    for (const std::string& name :
         {std::string(), std::string("."), std::string(".."), std::string("schdmain.rpt"),
          std::string("notes"), std::string("/etc/passwd"), std::string("../reports/schd0001.rpt"),
          std::string("./schd0001.rpt"), victim, std::string("schd0001.rpt/")}) {
        EXPECT_EQ(Delete(name, kDaemon), kScheduleNoSuchReport) << name;
    }
    EXPECT_TRUE(Exists(victim));
    EXPECT_TRUE(Exists(m_reports + "notes"));
    EXPECT_EQ(Listed().size(), 1U);
}

// What a record calls a report is not removed when somebody else has put it there, whoever asks.
TEST_F(DeletedReportTest, WhatBelongsToAnotherUserNowStaysOnTheDisk) {
    const std::string path = List("schd0001.rpt", kDaemon);
    ASSERT_EQ(::chown(path.c_str(), kBin, kBin), 0);
    EXPECT_EQ(Delete("schd0001.rpt", kDaemon), kScheduleOk);
    EXPECT_TRUE(Exists(path));
    EXPECT_EQ(Listed().size(), 0U);
}

TEST_F(DeletedReportTest, OneThatIsGoneLeavesTheList) {
    fs::remove(List("schd0001.rpt", kDaemon));
    EXPECT_EQ(Delete("schd0001.rpt", kDaemon), kScheduleOk);
    EXPECT_EQ(Listed().size(), 0U);
}

TEST_F(DeletedReportTest, WithoutAnIndexThereIsNone) {
    EXPECT_EQ(Delete("schd0001.rpt", kDaemon), kScheduleNoSuchReport);
    WriteFile(m_reports + "schdmain.rpt", "no index");
    EXPECT_EQ(Delete("schd0001.rpt", kDaemon), kScheduleListUnusable);
}

// In its place, meanwhile.
TEST_F(LeftReportTest, WhatIsNotTheOwnersIsLeftAlone) {
    Leave("another's\n", 2);
    EXPECT_EQ(Recover(), "");
    EXPECT_EQ(ModeOf(m_left), 0600U);
    ::chmod(m_left.c_str(), 0666);
    EXPECT_EQ(Recover(), "");
    EXPECT_EQ(ModeOf(m_left), 0666U);
    Leave("", 2);
    ::chmod(m_left.c_str(), 0666);
    EXPECT_EQ(Recover(), "");
    EXPECT_TRUE(Exists(m_left));
    fs::remove(m_left);
    WriteFile(m_scratch / "victim", "precious");
    ::chmod((m_scratch / "victim").c_str(), 0600);
    ASSERT_EQ(::chown((m_scratch / "victim").c_str(), kDaemon, kDaemon), 0);
    fs::create_symlink(m_scratch / "victim", m_left);
    EXPECT_EQ(Recover(), "");
    EXPECT_EQ(ModeOf(m_scratch / "victim"), 0600U);
    fs::remove(m_left);
    ASSERT_EQ(::mkfifo(m_left.c_str(), 0666), 0);
    EXPECT_EQ(Recover(), "");
    EXPECT_THAT(Listed(), ElementsAre());
}

TEST_F(ScanLauncherTest, AskedToEndItMayAndAskedAgainItMust) {
    auto run = Start(
        "trap 'echo asked >&3; while :; do sleep 0.01; done' TERM\n"
        "echo ready >&3; while :; do sleep 0.01; done");
    const auto content = [&] {
        std::string all;
        for (const std::string& name : Reports()) {
            all += ReadFile(m_reports + name);
        }
        return all;
    };
    ASSERT_TRUE(WaitUntil([&] { return content() == "ready\n"; }));
    EXPECT_FALSE(run->Ended());
    run->Stop();
    ASSERT_TRUE(WaitUntil([&] { return content() == "ready\nasked\n"; }));
    EXPECT_FALSE(run->Ended());
    run->Stop();
    const Outcome outcome = WaitFor(*run);
    EXPECT_EQ(outcome.result, kScheduleRunInterrupted);
    EXPECT_EQ(ReadFile(m_reports + outcome.report), "ready\nasked\n");
}

bool Lives(const std::string& pid) {
    const std::string status = ReadFile("/proc/" + pid + "/stat");
    return !status.empty() && status.find(") Z ") == std::string::npos;
}

TEST_F(ScanLauncherTest, WhatAScannerLeavesBehindEndsWithIt) {
    const Outcome outcome =
        RunToEnd("trap '' TERM HUP\nsleep 1000 & echo $! >&3\n" + std::string(kResult));
    std::string pid = ReadFile(m_reports + outcome.report);
    pid.pop_back();
    EXPECT_TRUE(WaitUntil([&] { return !Lives(pid); }));
}

TEST_F(ScanLauncherTest, AScannerEndsWhenTheServiceIsKilled) {
    const std::string said = m_scratch / "pid";
    WriteFile(said, "");
    ::chmod(said.c_str(), 0666);
    const pid_t service = StartChild([&] {
        const auto run = Start("echo $$ >" + said + "; while :; do sleep 0.01; done");
        for (;;) {
            ::pause();
        }
        return 0;
    });
    ASSERT_TRUE(WaitUntil([&] { return ReadFile(said).find('\n') != std::string::npos; }));
    std::string pid = ReadFile(said);
    pid.pop_back();
    EXPECT_TRUE(Lives(pid));
    ::kill(service, SIGKILL);
    JoinChild(service);
    EXPECT_TRUE(WaitUntil([&] { return !Lives(pid); }));
}

TEST(ScannerWordsTest, TheTasksChoicesBecomeArguments) {
    Task task = ATask();
    EXPECT_THAT(ScannerWords("/p", task, kScheduleReasonDue),
                ElementsAre("/p", "--report-descriptor=3", "--result-descriptor=4", "--quiet",
                            "--action=report", "--no-adware", "--", "/home", "/srv/\xC3\xA4 b"));
    task.options = kScheduleAdware | kScheduleDumb;
    task.action = kScheduleRepairOnly;
    EXPECT_THAT(ScannerWords("/p", task, kScheduleReasonMissed),
                ElementsAre("/p", "--report-descriptor=3", "--result-descriptor=4", "--quiet",
                            "--action=repair", "--no-archives", "--no-packed", "--dumb",
                            "--report-note=This scan was due earlier, while it could not run, and "
                            "is made up for.",
                            "--", "/home", "/srv/\xC3\xA4 b"));
    task.action = kScheduleRepairOrDelete;
    EXPECT_EQ(ScannerWords("/p", task, kScheduleReasonDue)[4], "--action=repair-or-delete");
    task.action = kScheduleDelete;
    EXPECT_EQ(ScannerWords("/p", task, kScheduleReasonDue)[4], "--action=delete");
}

}  // namespace
