#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/mman.h>

#include "product/schdlscn/scan_launcher.h"
#include "product/serving/end_watch.h"
#include "tests/unit/product/schdlscn/scheduler_service.h"

// The whole service at its place, in a process of its own, by clocks that the test puts forward.

/// What the test and the service share.
struct SharedClocks {
    std::atomic<std::int64_t> ahead;  ///< of the machine's clocks, in seconds
    std::atomic<std::int64_t> wake;   ///< when the service wants to be woken, 0 for never
    std::atomic<int> looks;           ///< how often it has said so
};

class ShiftedClock : public schdlscn::Clock {
public:
    ShiftedClock(SharedClocks& shared, int bell) : m_shared(shared), m_bell(bell) {}

    schdlscn::Moment Read() override {
        schdlscn::Moment moment = schdlscn::ReadMoment();
        const std::chrono::seconds ahead(m_shared.ahead.load());
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
    SharedClocks& m_shared;
    int m_bell;
};

class ShiftedService {
public:
    ShiftedService()
        : m_shared(static_cast<SharedClocks*>(::mmap(nullptr, sizeof(SharedClocks),
                                                     PROT_READ | PROT_WRITE,
                                                     MAP_SHARED | MAP_ANONYMOUS, -1, 0))),
          m_bell(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
    ~ShiftedService() {
        End(SIGTERM);
        ::munmap(m_shared, sizeof(SharedClocks));
    }
    ShiftedService(const ShiftedService&) = delete;
    ShiftedService& operator=(const ShiftedService&) = delete;

    /// `program` scans.
    void Begin(const std::string& program) {
        std::filesystem::create_directories("/run/corvane");
        std::filesystem::remove(schdlscn::kServiceSocket);
        m_shared->wake = 0;  // what an earlier service wanted says nothing about this one
        m_process = StartChild([&] {
            const common::FileDescriptor end = serving::WatchForEnd();
            ShiftedClock clock(*m_shared, m_bell.Get());
            schdlscn::ScanLauncher launcher(program, common::InProductDirectory("reports/"),
                                            common::InProductDirectory("corvane-notify"));
            schdlscn::Service service(serving::Listen(schdlscn::kServiceSocket),
                                      common::InProductDirectory(kScheduleTaskList), clock,
                                      launcher);
            service.Serve(end.Get());
            return 0;
        });
        ASSERT_TRUE(WaitUntil([] { return Connect().IsOpen(); }, std::chrono::seconds(60)));
    }

    void End(int signal) {
        if (m_process != 0) {
            ::kill(m_process, signal);
            JoinChild(m_process);
            m_process = 0;
        }
    }

    void PutForward(std::chrono::seconds ahead) {
        m_shared->ahead += ahead.count();
        const std::uint64_t one = 1;
        ASSERT_EQ(::write(m_bell.Get(), &one, sizeof one), 8);
    }

    [[nodiscard]] std::chrono::seconds Ahead() const {
        return std::chrono::seconds(m_shared->ahead.load());
    }
    [[nodiscard]] std::int64_t Wake() const { return m_shared->wake.load(); }
    [[nodiscard]] int Looks() const { return m_shared->looks.load(); }

private:
    SharedClocks* m_shared;
    common::FileDescriptor m_bell;
    pid_t m_process = 0;
};
