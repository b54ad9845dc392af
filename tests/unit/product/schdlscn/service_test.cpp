#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>

#include "tests/unit/product/schdlscn/a_task.h"
#include "tests/unit/product/schdlscn/shifted_service.h"

// The whole service: a user plans a scan through the socket, the clock is put forward, and the scan
// runs as that user. The scanner is a script that says who it is.

namespace {

using namespace std::chrono_literals;
using namespace schdlscn;
using std::chrono::seconds;

constexpr uid_t kDaemon = 1;
constexpr uid_t kBin = 2;

class ScheduleServiceTest : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own";
        }
        ::chmod(m_scratch.Path().c_str(), 0755);
        std::filesystem::remove_all(m_reports);
        std::filesystem::create_directories(m_reports);
        ::chmod(m_reports.c_str(), 01777);
        std::filesystem::remove(m_list);
        WriteFile(m_program,
                  "#!/bin/bash\n"
                  "echo \"$(id -u) ${*: -2}\" >&3\n"
                  "echo \"infected=1 unread=0 stopped=0\" >&4\nexit 1\n");
        ::chmod(m_program.c_str(), 0755);
    }

    void Begin() { m_service.Begin(m_program); }
    void End(int signal) { m_service.End(signal); }
    void PutForward(seconds ahead) { m_service.PutForward(ahead); }

    // A user plans a daily scan, due in ten minutes.
    void Plan(uid_t user, const std::string& name) {
        ASSERT_EQ(AsUser(user,
                         [&] {
                             Moment moment = ReadMoment();
                             moment.now += m_service.Ahead() + 10min;
                             const auto local = moment.zone.LocalOf(moment.now);
                             const auto time = local - std::chrono::floor<std::chrono::days>(local);
                             Task task = ATask(name);
                             task.frequency = kScheduleDaily;
                             task.interval = 1;
                             task.repeats = 0;
                             task.hour = static_cast<int>(time / 1h);
                             task.minute = static_cast<int>(time % 1h / 1min);
                             task.second = static_cast<int>(time % 1min / 1s);
                             const auto answer =
                                 AskService(kServiceSocket, {Request::Kind::kAdd, task}, 30s);
                             return answer && answer->error == kScheduleOk ? 0 : 1;
                         }),
                  0);
    }

    [[nodiscard]] LastRun Last(const std::string& name) const {
        TaskList list(m_list);
        KeptTask kept;
        EXPECT_EQ(list.Get(name, 0, kept), kScheduleOk);
        return kept.last;
    }

    [[nodiscard]] bool HasEnded(const std::string& name, std::int64_t after = 0) const {
        return WaitUntil(
            [&] {
                const LastRun last = Last(name);
                return last.start > after && last.end != 0;
            },
            60s);
    }

    ScratchFolder m_scratch;
    std::string m_program = m_scratch / "corvane-scan";
    std::string m_reports = common::InProductDirectory("reports/");
    std::string m_list = common::InProductDirectory(kScheduleTaskList);
    ShiftedService m_service;
};

TEST_F(ScheduleServiceTest, APlannedScanRunsAtItsTimeAsItsOwner) {
    Begin();
    Plan(kDaemon, "mine");
    Plan(kBin, "other");
    PutForward(5min);
    EXPECT_EQ(Last("mine").start, 0);
    PutForward(5min + 5s);
    ASSERT_TRUE(HasEnded("mine"));
    ASSERT_TRUE(HasEnded("other"));
    const LastRun last = Last("mine");
    EXPECT_EQ(last.result, kScheduleRunFound);
    EXPECT_EQ(last.reason, kScheduleReasonDue);
    EXPECT_EQ(last.infected, 1);
    EXPECT_EQ(ReadFile(m_reports + last.report), "1 /home /srv/\xC3\xA4 b\n");
    EXPECT_EQ(ReadFile(m_reports + Last("other").report), "2 /home /srv/\xC3\xA4 b\n");
    EXPECT_EQ(ReadFile(m_reports + "schdmain.rpt").size(), 19U + 2 * 1316U);
}

TEST_F(ScheduleServiceTest, AScanThatWasMissedRunsTwoMinutesAfterTheServiceIsBack) {
    Begin();
    Plan(kDaemon, "mine");
    End(SIGKILL);
    PutForward(3h);
    Begin();
    ASSERT_TRUE(WaitUntil([&] { return m_service.Wake() != 0; }, 60s));
    EXPECT_EQ(Last("mine").start, 0);
    PutForward(2min);
    ASSERT_TRUE(HasEnded("mine"));
    EXPECT_EQ(Last("mine").reason, kScheduleReasonMissed);
}

TEST_F(ScheduleServiceTest, AServiceThatIsKilledDuringAScanCarriesOn) {
    const std::string gate = m_scratch / "gate";
    WriteFile(m_program, "#!/bin/bash\necho begun >&3\nwhile [[ ! -e " + gate +
                             " ]]; do sleep 0.01; done\n"
                             "echo \"infected=0 unread=0 stopped=0\" >&4\n");
    ::chmod(m_program.c_str(), 0755);
    Begin();
    Plan(kDaemon, "mine");
    PutForward(10min + 5s);
    ASSERT_TRUE(WaitUntil([&] { return Last("mine").start != 0; }, 60s));
    const std::string report = m_reports + Last("mine").report;
    ASSERT_TRUE(WaitUntil([&] { return ReadFile(report) == "begun\n"; }, 60s));
    End(SIGKILL);
    EXPECT_EQ(Last("mine").end, 0);
    EXPECT_EQ(ModeOf(report), 0600U);
    Begin();
    ASSERT_TRUE(HasEnded("mine"));
    const LastRun interrupted = Last("mine");
    EXPECT_EQ(interrupted.result, kScheduleRunInterrupted);
    EXPECT_EQ(interrupted.detail, "the scheduler was ended during the scan");
    EXPECT_EQ(m_reports + interrupted.report, report);
    EXPECT_EQ(ModeOf(report), 0644U);
    EXPECT_EQ(ReadFile(m_reports + "schdmain.rpt").size(), 19U + 1316U) << "it is listed";
    // And the next day's is made.
    WriteFile(gate, "");
    PutForward(24h);
    PutForward(3min);
    ASSERT_TRUE(HasEnded("mine", interrupted.start));
    EXPECT_EQ(Last("mine").result, kScheduleRunClean);
}

TEST_F(ScheduleServiceTest, AServiceThatIsStoppedEndsItsScans) {
    WriteFile(m_program, "#!/bin/bash\necho begun >&3\nsleep 1000\n");
    Begin();
    Plan(kDaemon, "mine");
    PutForward(10min + 5s);
    ASSERT_TRUE(WaitUntil([&] { return Last("mine").start != 0; }, 60s));
    End(SIGTERM);
    EXPECT_EQ(Last("mine").result, kScheduleRunInterrupted);
    EXPECT_NE(Last("mine").end, 0);
}

// A thousand tasks of ten users.
TEST_F(ScheduleServiceTest, AThousandTasksWakeItOnlyWhenOneIsDue) {
    const auto moment = ReadMoment();
    {
        TaskList list(m_list);
        for (int i = 0; i < 1000; ++i) {
            Task task = ATask("task " + std::to_string(i));
            TaskList::Origin origin = From(1000 + static_cast<uid_t>(i / 100), "user");
            origin.day = moment.Day().time_since_epoch().count();
            origin.settled = moment.AllSettled();
            // In two hours at the earliest, in a week at the latest.
            const auto local = moment.zone.LocalOf(moment.now + 2h + i * 590s);
            const auto day = std::chrono::floor<std::chrono::days>(local);
            task.interval = 1;
            task.repeats = 0;
            task.weekday = static_cast<int>(std::chrono::weekday(day).c_encoding()) + 1;
            task.hour = static_cast<int>((local - day) / 1h);
            task.minute = static_cast<int>((local - day) % 1h / 1min);
            ASSERT_EQ(list.Add(task, origin), kScheduleOk);
        }
    }
    Begin();
    ASSERT_TRUE(WaitUntil([&] { return m_service.Looks() == 1; }, 60s));
    const auto begin = std::chrono::steady_clock::now();
    const auto answer = AskService(kServiceSocket, {Request::Kind::kList, {}}, 30s);
    const auto taken = std::chrono::steady_clock::now() - begin;
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->tasks.size(), 1000U);
    RecordProperty("listing_ms", std::to_string(taken / 1ms));
    // Nothing to do for almost two hours.
    EXPECT_GE(m_service.Wake(), (moment.now + 119min).time_since_epoch().count());
    EXPECT_EQ(m_service.Looks(), 1);
}

// Ten users that every machine has, all at once.
TEST_F(ScheduleServiceTest, TenUsersPlanTheirTasksAtOnce) {
    constexpr uid_t kFirst = 1;
    constexpr uid_t kLast = 10;
    Begin();
    const auto nameOf = [](uid_t user, int number) {
        return "task " + std::to_string(number) + " of " + std::to_string(user);
    };
    std::vector<pid_t> users;
    for (uid_t user = kFirst; user <= kLast; ++user) {
        users.push_back(StartChild([&] {
            return AsUser(user, [&] {
                const auto ask = [](const Request& request) {
                    const auto answer = AskService(kServiceSocket, request, 300s);
                    EXPECT_TRUE(answer);
                    return answer.value_or(Answer{.error = kScheduleServiceSilent});
                };
                for (int i = 0; i < 100; ++i) {
                    EXPECT_EQ(ask({Request::Kind::kAdd, ATask(nameOf(user, i))}).error, 0U);
                }
                EXPECT_EQ(ask({Request::Kind::kAdd, ATask(nameOf(user, 100))}).error,
                          kScheduleTooManyTasks);
                EXPECT_EQ(ask({Request::Kind::kList, {}}).tasks.size(), 100U);
                return testing::Test::HasFailure() ? 1 : 0;
            });
        }));
    }
    for (const pid_t user : users) {
        EXPECT_EQ(JoinChild(user), 0);
    }
    TaskList list(m_list);
    std::vector<KeptTask> all;
    ASSERT_EQ(list.List(0, all), kScheduleOk);
    EXPECT_EQ(all.size(), 1000U);
    std::map<uid_t, std::vector<std::string>> ofUser;
    for (const KeptTask& kept : all) {
        ofUser[kept.task.owner].push_back(kept.task.name);
    }
    EXPECT_EQ(ofUser.size(), 10U);
    for (const auto& [user, names] : ofUser) {
        EXPECT_EQ(names.size(), 100U);
        EXPECT_EQ(names.front(), nameOf(user, 0));
        EXPECT_EQ(names.back(), nameOf(user, 99));
    }
}

// What a user can do to the list of reports, beside the service: nothing.
TEST_F(ScheduleServiceTest, TheListOfReportsIsTheServicesAlone) {
    WriteFile(m_reports + "schdmain.rpt", std::string(19, '\0'));
    ::chmod((m_reports + "schdmain.rpt").c_str(), 0644);
    Begin();
    Plan(kDaemon, "mine");
    PutForward(10min + 5s);
    ASSERT_TRUE(HasEnded("mine"));
    const std::string index = m_reports + "schdmain.rpt";
    const std::string report = m_reports + Last("mine").report;
    const std::string before = ReadFile(index);
    EXPECT_EQ(before.size(), 19U + 1316U);
    for (const uid_t user : {kDaemon, kBin}) {
        EXPECT_EQ(AsUser(user,
                         [&] {
                             EXPECT_NE(::access(index.c_str(), W_OK), 0);
                             EXPECT_NE(::unlink(index.c_str()), 0);
                             EXPECT_NE(::rename(index.c_str(), (index + "x").c_str()), 0);
                             EXPECT_NE(::truncate(index.c_str(), 0), 0);
                             EXPECT_NE(::chmod(index.c_str(), 0666), 0);
                             return testing::Test::HasFailure() ? 1 : 0;
                         }),
                  0);
    }
    EXPECT_EQ(AsUser(kBin,
                     [&] {
                         EXPECT_NE(::access(report.c_str(), W_OK), 0);
                         EXPECT_NE(::unlink(report.c_str()), 0);
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
    EXPECT_EQ(ReadFile(index), before);
}

}  // namespace
