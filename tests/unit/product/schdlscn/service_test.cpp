#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/mman.h>
#include <sys/resource.h>

#include "product/schdlscn/answering.h"
#include "product/schdlscn/scan_launcher.h"
#include "product/serving/end_watch.h"
#include "tests/unit/product/schdlscn/a_task.h"
#include "tests/unit/product/schdlscn/scheduler_service.h"

// The whole service: a user plans a scan through the socket, the clock is put forward, and the scan
// runs as that user. The scanner is a script that says who it is.

namespace {

using namespace std::chrono_literals;
using namespace schdlscn;
using std::chrono::seconds;

constexpr uid_t kDaemon = 1;
constexpr uid_t kBin = 2;

/// What the test and the service share.
struct Shared {
    std::atomic<std::int64_t> ahead;  ///< of the machine's clocks, in seconds
    std::atomic<std::int64_t> wake;   ///< when the service wants to be woken, 0 for never
    std::atomic<int> looks;           ///< how often it has said so
};

class ShiftedClock : public Clock {
public:
    ShiftedClock(Shared& shared, int bell) : m_shared(shared), m_bell(bell) {}

    Moment Read() override {
        Moment moment = ReadMoment();
        const seconds ahead(m_shared.ahead.load());
        moment.now += ahead;
        moment.sinceBoot += ahead;
        return moment;
    }
    [[nodiscard]] int Descriptor() const override { return m_bell; }
    void Heard() override {
        std::uint64_t count = 0;
        (void)!::read(m_bell, &count, sizeof count);
    }
    void WakeAt(std::optional<std::chrono::sys_seconds> moment) override {
        m_shared.wake = moment ? moment->time_since_epoch().count() : 0;
        ++m_shared.looks;
    }

private:
    Shared& m_shared;
    int m_bell;
};

class ScheduleServiceTest : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own";
        }
        ::chmod(m_scratch.Path().c_str(), 0755);
        std::filesystem::create_directories("/run/corvane");
        std::filesystem::remove_all(m_reports);
        std::filesystem::create_directories(m_reports);
        ::chmod(m_reports.c_str(), 01777);
        std::filesystem::remove(m_list);
        m_shared = static_cast<Shared*>(::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                               MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        ASSERT_NE(m_shared, MAP_FAILED);
        m_bell.Reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        WriteFile(m_program,
                  "#!/bin/bash\n"
                  "echo \"$(id -u) ${*: -2}\" >&3\n"
                  "echo \"infected=1 unread=0 stopped=0\" >&4\nexit 1\n");
        ::chmod(m_program.c_str(), 0755);
    }

    void TearDown() override {
        End(SIGTERM);
        if (m_shared != nullptr) {
            ::munmap(m_shared, sizeof(Shared));
        }
    }

    void Begin() {
        std::filesystem::remove(kServiceSocket);
        m_service = StartChild([&] {
            const common::FileDescriptor end = serving::WatchForEnd();
            ShiftedClock clock(*m_shared, m_bell.Get());
            ScanLauncher launcher(m_program, m_reports);
            Service service(serving::Listen(kServiceSocket), m_list, clock, launcher);
            service.Serve(end.Get());
            return 0;
        });
        ASSERT_TRUE(WaitUntil([] { return Connect().IsOpen(); }, 60s));
    }

    void End(int signal) {
        if (m_service != 0) {
            ::kill(m_service, signal);
            JoinChild(m_service);
            m_service = 0;
        }
    }

    void PutForward(seconds ahead) {
        m_shared->ahead += ahead.count();
        const std::uint64_t one = 1;
        ASSERT_EQ(::write(m_bell.Get(), &one, sizeof one), 8);
    }

    // A user plans a daily scan, due in ten minutes.
    void Plan(uid_t user, const std::string& name) {
        ASSERT_EQ(AsUser(user,
                         [&] {
                             Moment moment = ReadMoment();
                             moment.now += seconds(m_shared->ahead.load()) + 10min;
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
    Shared* m_shared = nullptr;
    common::FileDescriptor m_bell;
    pid_t m_service = 0;
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
    ASSERT_TRUE(WaitUntil([&] { return m_shared->wake.load() != 0; }, 60s));
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
    End(SIGKILL);
    EXPECT_EQ(Last("mine").end, 0);
    Begin();
    ASSERT_TRUE(HasEnded("mine"));
    const LastRun interrupted = Last("mine");
    EXPECT_EQ(interrupted.result, kScheduleRunInterrupted);
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
    ASSERT_TRUE(WaitUntil([&] { return m_shared->looks.load() == 1; }, 60s));
    const auto begin = std::chrono::steady_clock::now();
    const auto answer = AskService(kServiceSocket, {Request::Kind::kList, {}}, 30s);
    const auto taken = std::chrono::steady_clock::now() - begin;
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->tasks.size(), 1000U);
    RecordProperty("listing_ms", std::to_string(taken / 1ms));
    // Nothing to do for almost two hours.
    EXPECT_GE(m_shared->wake.load(), (moment.now + 119min).time_since_epoch().count());
    EXPECT_EQ(m_shared->looks.load(), 1);
}

}  // namespace
