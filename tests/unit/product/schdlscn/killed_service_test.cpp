#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <set>

#include "product/schdlscn/scan_launcher.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/schdlscn/served_tasks.h"

// The service, killed at each call by which it changes something: while a task is run, added,
// changed and deleted. A service that is started afterwards finds the list whole and puts in order
// what was left; no run is made twice, and none is forgotten.

namespace {

using namespace schdlscn;
namespace fs = std::filesystem;

constexpr std::size_t kMostPoints = 60;
constexpr char kReports[] = "/usr/lib/Corvane/Corvane/reports/";

bool ChangesSomething(std::string_view name, std::string_view line) {
    static const std::set<std::string_view> kOthers{"clone", "clone3", "sendto", "kill",
                                                    "pidfd_open"};
    return ChangesFiles(name, line) || kOthers.contains(name);
}

class KilledServiceTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own";
        }
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
        fs::create_directories("/run/corvane");
        ::chmod(m_scratch.Path().c_str(), 0755);
        WriteFile(m_scanner, "#!/bin/bash\necho ran >>" + m_ran +
                                 "\necho words >&3\n"
                                 "echo 'infected=0 unread=0 stopped=0' >&4\n");
        ::chmod(m_scanner.c_str(), 0755);
    }

    // As before anything was done. To change something else, nothing is due.
    void Restore() const {
        fs::remove_all(kReports);
        fs::create_directories(kReports);
        ::chmod(kReports, 01777);
        WriteFile(std::string(kReports) + "schdmain.rpt", std::string(19, '\0'));
        ::chmod((std::string(kReports) + "schdmain.rpt").c_str(), 0644);
        for (const std::string& file : {m_list, m_list + "-journal", m_answered}) {
            fs::remove(file);
        }
        WriteFile(m_ran, "");
        ::chmod(m_ran.c_str(), 0666);
        TaskList list(m_list);
        TaskList::Origin origin = ServedOrigin();
        if (!IsRun()) {
            origin.settled.until = kServedNow.time_since_epoch().count();
        }
        ASSERT_EQ(list.Add(DueTask(), origin), kScheduleOk);
        if (GetParam() != std::string_view("add") && !IsRun()) {
            ASSERT_EQ(list.Add(NewTask(), origin), kScheduleOk);
        }
    }

    [[nodiscard]] static bool IsRun() { return GetParam() == std::string_view("run"); }

    [[nodiscard]] std::vector<std::string> Program() const {
        return {SERVE_TASKS, GetParam(), m_scanner, m_answered};
    }

    [[nodiscard]] std::vector<SystemCall> Calls() const {
        Restore();
        const std::string trace = m_scratch / "trace";
        EXPECT_EQ(RunTraced({"-o", trace}, Program()), 0);
        return CallsIn(trace, ChangesSomething);
    }

    [[nodiscard]] std::vector<KeptTask> Tasks() const {
        TaskList list(m_list);
        std::vector<KeptTask> found;
        EXPECT_EQ(list.List(0, found), kScheduleOk);
        return found;
    }

    // What persons have chosen, in order.
    [[nodiscard]] std::vector<Task> Chosen() const {
        std::vector<Task> chosen;
        for (const KeptTask& kept : Tasks()) {
            chosen.push_back(kept.task);
        }
        return chosen;
    }

    // The next service does what it finds to do.
    void StartAnew() const {
        TaskList list(m_list);
        ScanLauncher launcher(m_scanner, kReports, "/nowhere");
        const Moment moment = ServedMoment(std::chrono::hours(3));
        Planner planner(list, launcher, ServedMoment(std::chrono::hours(1)));
        planner.Look(moment);
        while (!planner.Descriptors().empty()) {
            pollfd watched{planner.Descriptors().front(), POLLIN, 0};
            ASSERT_EQ(::poll(&watched, 1, 60'000), 1);
            planner.Look(moment);
        }
    }

    [[nodiscard]] std::ptrdiff_t RunsMade() const {
        const std::string ran = ReadFile(m_ran);
        return std::count(ran.begin(), ran.end(), '\n');
    }

    // Every report is on the list once, and nothing else is.
    static void ExpectReportsInOrder() {
        std::multiset<std::string> there;
        for (const auto& file : fs::directory_iterator(kReports)) {
            if (file.path().filename() != "schdmain.rpt") {
                there.insert(file.path());
                EXPECT_EQ(ModeOf(file.path()), 0644U);
                EXPECT_GT(file.file_size(), 0U);
            }
        }
        std::multiset<std::string> listed;
        for (const tagReportIndexEntry& entry : ListedEntries()) {
            listed.insert(entry.reportPath);
        }
        EXPECT_EQ(there, listed);
    }

    void ExpectOneRunAccountedFor() const {
        EXPECT_LE(RunsMade(), 1);
        const std::vector<KeptTask> tasks = Tasks();
        ASSERT_EQ(tasks.size(), 1U);
        const KeptTask& task = tasks.front();
        EXPECT_EQ(task.settled.until, kServedDue.time_since_epoch().count());
        EXPECT_NE(task.last.start, 0);
        EXPECT_NE(task.last.end, 0);
        if (task.last.result == kScheduleRunClean) {
            EXPECT_EQ(RunsMade(), 1);
            EXPECT_TRUE(Exists(kReports + task.last.report));
        } else {
            EXPECT_EQ(task.last.result, kScheduleRunInterrupted);
            EXPECT_EQ(task.last.detail, "the scheduler was ended during the scan");
        }
        EXPECT_EQ(task.last.report.empty(), ListedReports() == 0) << task.last.report;
        ExpectReportsInOrder();
    }

    ScratchFolder m_scratch;
    const std::string m_scanner = m_scratch / "scanner";
    const std::string m_ran = m_scratch / "ran";
    const std::string m_answered = m_scratch / "answered";
    const std::string m_list = common::InProductDirectory(kScheduleTaskList);
};

TEST_P(KilledServiceTest, TheNextOneFindsEverythingInOrder) {
    Restore();
    const std::vector<Task> before = Chosen();
    const std::vector<SystemCall> calls = Calls();
    const std::vector<Task> after = Chosen();
    ASSERT_EQ(before == after, IsRun());
    ASSERT_EQ(ReadFile(m_answered), IsRun() ? "" : "done");
    ASSERT_GT(calls.size(), 10U);
    if (IsRun()) {
        ASSERT_EQ(Tasks().front().last.result, kScheduleRunClean);
        ExpectOneRunAccountedFor();
    }
    for (const std::size_t i :
         Spread(calls.size(), kMostPoints, std::string("calls of the service to ") + GetParam())) {
        SCOPED_TRACE(calls[i].name + " " + std::to_string(calls[i].number));
        Restore();
        EXPECT_EQ(RunInjected(calls[i], "signal=KILL", Program()), -1);
        StartAnew();
        if (IsRun()) {
            ExpectOneRunAccountedFor();
            continue;
        }
        const std::vector<Task> left = Chosen();
        EXPECT_TRUE(left == after || (left == before && ReadFile(m_answered) != "done"));
        EXPECT_EQ(RunsMade(), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(Changes, KilledServiceTest,
                         testing::Values("run", "add", "modify", "delete"));

}  // namespace
