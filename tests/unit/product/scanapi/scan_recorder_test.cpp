// What is remembered of a file by how it was read.

#include "product/scanapi/scan_recorder.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/verdict_fixture.h"

namespace {

using scanapi::ScanRecorder;
using scanapi::TargetFile;
using scanning::Verdict;

class ScanRecorderTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
        }
        sigset_t lease;
        sigemptyset(&lease);
        sigaddset(&lease, SIGIO);
        ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &lease, nullptr), 0);
        WriteFile(m_path, "contents");
        m_file = Open();
        Age(2);
    }
    [[nodiscard]] std::shared_ptr<TargetFile> Open() const {
        EngineOpenStatus status = kOpenFailed;
        return TargetFile::Open(m_path.c_str(), status);
    }
    // It is so many seconds since the file was changed.
    void Age(std::int64_t seconds) const {
        const auto changed = scanapi::IdentityOf({}, Open()->Opened()).changed;
        g_clock = {changed.seconds + seconds, changed.nanoseconds};
    }
    // As scans do that go well, with something happening while the file is read.
    void Scan(const std::function<void(ScanRecorder&)>& meanwhile = {}) {
        OpenCache();
        Read(meanwhile);
    }
    void OpenCache() {
        std::filesystem::remove_all(m_folder / "cache");
        m_cache = std::make_shared<scanapi::VerdictCache>(
            m_folder / "cache", scanapi::CacheSettings{}, BasisOf('b'), TestClock);
    }
    void Read(const std::function<void(ScanRecorder&)>& meanwhile = {}) {
        ScanRecorder recorder(m_cache, {});
        recorder.BeginReading(*m_file);
        if (meanwhile) {
            meanwhile(recorder);
        }
        recorder.EndReading(*m_file);
        recorder.Remember(*m_file, {}, Verdict::Clean);
    }
    std::optional<scanapi::CachedVerdict> Known() {
        return m_cache->Find(scanapi::IdentityOf({}, m_file->Opened()), "file", {});
    }
    // Another program that opens the file for writing; it has to wait while a lease is held.
    [[nodiscard]] pid_t StartWriter() const {
        return StartChild([&] {
            const common::FileDescriptor file(::open(m_path.c_str(), O_WRONLY | O_CLOEXEC));
            return file ? 0 : 1;
        });
    }
    [[nodiscard]] int TryToWrite() const {
        return InChild([&] {
            const common::FileDescriptor file(
                ::open(m_path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
            return file ? 0 : errno;
        });
    }
    static bool HasEnded(pid_t child) {
        siginfo_t info{};
        return ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               info.si_pid == child;
    }

    ScratchFolder m_folder;
    std::string m_path = m_folder / "file";
    std::shared_ptr<TargetFile> m_file;
    std::shared_ptr<scanapi::VerdictCache> m_cache;
};

TEST_F(ScanRecorderTest, WhatALeaseCoveredIsRemembered) {
    Scan([this](ScanRecorder& /*recorder*/) { EXPECT_EQ(TryToWrite(), EWOULDBLOCK); });
    EXPECT_FALSE(Known()) << "somebody tried to write";
    Scan();
    EXPECT_EQ(Known(), (scanapi::CachedVerdict{Verdict::Clean, {}}));
    EXPECT_EQ(TryToWrite(), 0) << "the lease is given back";
}

TEST_F(ScanRecorderTest, AFreshFileIsNot) {
    g_clock.seconds -= 1;
    Scan();
    g_clock.seconds += 100;
    EXPECT_FALSE(Known());
}

TEST_F(ScanRecorderTest, WithoutALeaseToBeHadItHasToBeAMinuteOld) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to become another user";
    }
    for (const std::int64_t age : {2, 59, 60}) {
        Age(age);
        OpenCache();
        ASSERT_EQ(seteuid(65534), 0);
        Read();
        ASSERT_EQ(seteuid(0), 0);
        EXPECT_EQ(Known().has_value(), age == 60) << age;
    }
}

TEST_F(ScanRecorderTest, AFileThatIsBeingWrittenIsNeverRemembered) {
    Age(100);
    const common::FileDescriptor writer(::open(m_path.c_str(), O_WRONLY | O_CLOEXEC));
    Scan();
    EXPECT_FALSE(Known()) << "that it has not changed for a minute proves nothing";
}

TEST_F(ScanRecorderTest, WhoeverWritesIsLetPassAndTheFileNotRemembered) {
    pid_t writer = -1;
    Scan([&](ScanRecorder& recorder) {
        writer = StartWriter();
        EXPECT_TRUE(WaitUntil([&] {
            recorder.LetWriterPass();
            return HasEnded(writer);
        }));
    });
    EXPECT_EQ(JoinChild(writer), 0);
    EXPECT_FALSE(Known());
}

TEST_F(ScanRecorderTest, NobodyWaitsOnceTheFileIsRead) {
    OpenCache();
    ScanRecorder recorder(m_cache, {});
    recorder.BeginReading(*m_file);
    recorder.EndReading(*m_file);
    EXPECT_EQ(TryToWrite(), 0);
    recorder.Remember(*m_file, {}, Verdict::Clean);
    EXPECT_TRUE(Known()) << "as it was when it was read";
}

TEST_F(ScanRecorderTest, NobodyWaitsForAScanThatWaitsItself) {
    OpenCache();
    ScanRecorder recorder(m_cache, {});
    recorder.BeginReading(*m_file);
    recorder.Interrupt();
    EXPECT_EQ(TryToWrite(), 0);
    recorder.Remember(*m_file, {}, Verdict::Clean);
    EXPECT_FALSE(Known()) << "it was not read";
    recorder.BeginReading(*m_file);
    recorder.Remember(*m_file, {}, Verdict::Clean);
    EXPECT_TRUE(Known()) << "read while it was scanned";
}

TEST_F(ScanRecorderTest, WhatChangedWhileItWasReadIsNotRemembered) {
    Scan([this](ScanRecorder& /*recorder*/) {
        ASSERT_EQ(chmod(m_path.c_str(), 0600), 0);
        ASSERT_EQ(chmod(m_path.c_str(), 0644), 0);
    });
    EXPECT_FALSE(Known());
    m_file = Open();
    EXPECT_FALSE(Known());
}

TEST_F(ScanRecorderTest, OnlyWhatIsCleanIsRemembered) {
    OpenCache();
    for (const Verdict verdict : {Verdict::Infected, Verdict::Unreadable, Verdict::Stopped}) {
        ScanRecorder recorder(m_cache, {});
        recorder.BeginReading(*m_file);
        recorder.Remember(*m_file, {}, verdict);
        EXPECT_FALSE(Known());
    }
}

TEST_F(ScanRecorderTest, MembersAreRememberedInTheirOrderUpToFourKilobytes) {
    const auto withMembers = [](std::size_t size) {
        return [size](ScanRecorder& recorder) {
            recorder.AddMember("b/c");
            recorder.AddMember("a");
            recorder.AddMember(std::string(size - 4 - 2 - 1, 'm'));
        };
    };
    Scan(withMembers(4097));
    EXPECT_FALSE(Known());
    Scan(withMembers(4096));
    const auto known = Known();
    ASSERT_TRUE(known);
    EXPECT_EQ(known->members, (std::vector<std::string>{"b/c", "a", std::string(4089, 'm')}));
}

}  // namespace
