#include "product/scanapi/files_ahead.h"

#include <atomic>
#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <initializer_list>
#include <mutex>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "tests/support/scratch.h"

namespace {

using scanapi::FilesAhead;
using scanapi::FileScanner;
using scanapi::HintLine;
using scanapi::PendingScan;
using scanapi::TargetFile;
using scanapi::Urgency;
using scanning::ScanOutcome;
using scanning::ScanProfile;
using scanning::Verdict;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

ScanOutcome Outcome(Verdict verdict, const std::string& virus = {}) {
    ScanOutcome outcome;
    outcome.verdict = verdict;
    outcome.virusName = virus;
    return outcome;
}

/// A pool that keeps what it is handed until the test finishes it.
class FakeScanner : public FileScanner {
public:
    std::shared_ptr<PendingScan> Submit(std::shared_ptr<TargetFile> file,
                                        const ScanProfile& profile, Urgency urgency) override {
        EXPECT_EQ(urgency, Urgency::kAhead);
        m_isAtGate = true;
        const std::lock_guard gate(m_gate);
        auto scan = std::make_shared<PendingScan>(std::move(file), profile, urgency, nullptr);
        const std::lock_guard lock(m_mutex);
        m_names.push_back(scan->File().BaseName());
        m_scans.push_back(scan);
        if (m_finishAtOnce) {
            scan->Finish(Outcome(Verdict::Clean));
        }
        return scan;
    }

    std::vector<std::string> Names() {
        const std::lock_guard lock(m_mutex);
        return m_names;
    }
    std::shared_ptr<PendingScan> Scan(std::size_t index) {
        const std::lock_guard lock(m_mutex);
        return m_scans.at(index);
    }
    void LetGo() {
        const std::lock_guard lock(m_mutex);
        for (auto& scan : m_scans) {
            scan.reset();
        }
    }
    std::atomic<bool> m_finishAtOnce = false;
    std::mutex m_gate;  ///< nothing is handed in while a test holds it
    std::atomic<bool> m_isAtGate = false;

private:
    std::mutex m_mutex;
    std::vector<std::string> m_names;
    std::vector<std::shared_ptr<PendingScan>> m_scans;
};

std::size_t OpenDescriptors() {
    std::size_t count = 0;
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
        count += each.is_symlink() ? 1 : 0;
    }
    return count;
}

class FilesAheadTest : public testing::Test {
protected:
    void SetUp() override {
        m_folder.Reset(::open(m_scratch.Path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        WriteFile(m_scratch / "probe", "x");
        const common::FileDescriptor probe(::open((m_scratch / "probe").c_str(), O_RDONLY));
        if (!scanapi::ReadLease(probe.Get()).IsHeld()) {
            GTEST_SKIP() << "the file system of " << m_scratch.Path() << " has no leases";
        }
        m_ahead.Use(m_scanner, m_profile);
    }

    void Write(std::initializer_list<const char*> names) const {
        for (const char* name : names) {
            WriteFile(m_scratch / name, "contents");
        }
        LetTimePass();
    }
    // Files "f0", "f1" and so on: their names.
    std::vector<std::string> WriteFiles(std::size_t count) const {
        std::vector<std::string> names;
        for (std::size_t i = 0; i < count; ++i) {
            names.push_back("f" + std::to_string(i));
            WriteFile(m_scratch / names.back(), "x");
        }
        LetTimePass();
        return names;
    }
    static std::vector<const char*> PointersTo(const std::vector<std::string>& names) {
        std::vector<const char*> pointers;
        pointers.reserve(names.size());
        for (const std::string& name : names) {
            pointers.push_back(name.c_str());
        }
        return pointers;
    }
    // Until the next change is sure to get another time.
    static void LetTimePass() { std::this_thread::sleep_for(milliseconds(150)); }

    void Tell(const std::vector<const char*>& names) {
        m_ahead.Tell(m_folder.Get(), m_scratch.Path().c_str(), names);
    }
    std::shared_ptr<PendingScan> Take(const std::string& name) {
        auto status = kOpenFailed;
        const auto file = TargetFile::Open((m_scratch / name).c_str(), status);
        if (file == nullptr) {
            ADD_FAILURE() << name;
            return nullptr;
        }
        m_ahead.Use(m_scanner, m_profile);
        return m_ahead.Take(file);
    }
    [[nodiscard]] bool WaitForSubmitted(std::size_t count) {
        return WaitUntil([&] { return m_scanner->Names().size() >= count; });
    }
    /// Tells of a file, has it scanned, and waits until its descriptor is closed, as it is when the
    /// scan has been noticed.
    void ScanAhead(const char* name) {
        const std::size_t before = m_scanner->Names().size();
        const std::size_t open = OpenDescriptors();
        Tell({name});
        ASSERT_TRUE(WaitForSubmitted(before + 1));
        m_scanner->Scan(before)->Finish(Outcome(Verdict::Clean));
        m_scanner->LetGo();
        ASSERT_TRUE(WaitUntil([&] { return OpenDescriptors() <= open; }));
    }
    /// When nothing more will be submitted: a file told of behind is.
    void ExpectSubmittedOnly(const std::vector<std::string>& names) {
        WriteFile(m_scratch / "zz-last", "x");
        LetTimePass();
        Tell({"zz-last"});
        std::vector<std::string> expected = names;
        expected.emplace_back("zz-last");
        EXPECT_TRUE(WaitUntil([&] {
            const auto all = m_scanner->Names();
            return !all.empty() && all.back() == "zz-last";
        }));
        EXPECT_EQ(m_scanner->Names(), expected);
    }

    ScratchFolder m_scratch;
    common::FileDescriptor m_folder;
    std::shared_ptr<FakeScanner> m_scanner = std::make_shared<FakeScanner>();
    ScanProfile m_profile{true, true, false, true};
    FilesAhead m_ahead;
};

TEST_F(FilesAheadTest, HandsFilesInInTheOrderInWhichTheyWereTold) {
    Write({"c", "a", "b"});
    Tell({"c", "a"});
    Tell({"b"});
    ASSERT_TRUE(WaitForSubmitted(3));
    EXPECT_THAT(m_scanner->Names(), ElementsAre("c", "a", "b"));
    EXPECT_EQ(m_scanner->Scan(0)->File().Path(), m_scratch / "c");
    EXPECT_EQ(m_scanner->Scan(0)->File().Size(), 8U);
    EXPECT_EQ(m_scanner->Scan(0)->Profile(), m_profile);
}

TEST_F(FilesAheadTest, GivesOutWhatWasFoundWithTheMembersInOrder) {
    Write({"a"});
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    ASSERT_TRUE(m_scanner->Scan(0)->Tell("one"));
    ASSERT_TRUE(m_scanner->Scan(0)->Tell("two"));
    ScanOutcome outcome = Outcome(Verdict::Infected, "V");
    outcome.member = "two";
    m_scanner->Scan(0)->Finish(outcome);
    const auto scan = Take("a");
    ASSERT_NE(scan, nullptr);
    const auto news = scan->WaitForNews(milliseconds(0));
    EXPECT_TRUE(news.finished);
    EXPECT_THAT(news.members, ElementsAre("one", "two"));
    const ScanOutcome taken = scan->TakeOutcome();
    EXPECT_EQ(taken.verdict, Verdict::Infected);
    EXPECT_EQ(taken.virusName, "V");
    EXPECT_EQ(taken.member, "two");
    scan->Abandon(true);
    EXPECT_EQ(Take("a"), nullptr) << "once";
}

TEST_F(FilesAheadTest, GivesOutAScanUnderWay) {
    Write({"a"});
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    const auto scan = Take("a");
    EXPECT_EQ(scan, m_scanner->Scan(0));
    EXPECT_FALSE(scan->IsAbandoned());
    EXPECT_EQ(Take("a"), nullptr);
    m_ahead.Forget();
    EXPECT_FALSE(scan->IsAbandoned()) << "it belongs to whoever took it";
}

TEST_F(FilesAheadTest, KeepsNoFileOpenThatWasScanned) {
    Write({"a", "b"});
    const std::size_t before = OpenDescriptors();
    ScanAhead("a");
    ScanAhead("b");
    EXPECT_EQ(OpenDescriptors(), before);
    EXPECT_NE(Take("a"), nullptr);
    EXPECT_NE(Take("b"), nullptr);
}

TEST(FilesAheadIdentity, EachOfTheFiveCounts) {
    struct stat one {};
    one.st_dev = 1;
    one.st_ino = 2;
    one.st_size = 3;
    one.st_mtim = {4, 5};
    one.st_ctim = {6, 7};
    EXPECT_TRUE(FilesAhead::IsSame(one, one));
    const std::vector<void (*)(struct stat&)> changes = {[](struct stat& file) { ++file.st_dev; },
                                                         [](struct stat& file) { ++file.st_ino; },
                                                         [](struct stat& file) { ++file.st_size; },
                                                         [](struct stat& file) { ++file.st_mtim.tv_sec; },
                                                         [](struct stat& file) { ++file.st_mtim.tv_nsec; },
                                                         [](struct stat& file) { ++file.st_ctim.tv_sec; },
                                                         [](struct stat& file) { ++file.st_ctim.tv_nsec; }};
    for (std::size_t i = 0; i < changes.size(); ++i) {
        struct stat other = one;
        changes[i](other);
        EXPECT_FALSE(FilesAhead::IsSame(one, other)) << i;
    }
    struct stat read = one;
    read.st_atim = {8, 9};
    read.st_nlink = 2;
    EXPECT_TRUE(FilesAhead::IsSame(one, read)) << "what else is said of it does not count";
}

class FilesAheadChanged : public FilesAheadTest, public testing::WithParamInterface<const char*> {
protected:
    void Change(const std::string& path) const {
        const std::string what = GetParam();
        struct stat status {};
        ASSERT_EQ(::stat(path.c_str(), &status), 0);
        const timespec times[2] = {status.st_atim, status.st_mtim};
        if (what == "device") {
            ASSERT_EQ(::mount("corvane-test", m_scratch.Path().c_str(), "tmpfs", 0, nullptr), 0);
            WriteFile(path, "contents");
        } else if (what == "inode") {
            WriteFile(path + ".new", "contents");
            ASSERT_EQ(::rename((path + ".new").c_str(), path.c_str()), 0);
        } else if (what == "size") {
            ASSERT_EQ(::truncate(path.c_str(), 4), 0);
        } else if (what == "mtime") {
            const timespec other[2] = {status.st_atim, {1000, 0}};
            ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), other, 0), 0);
            return;
        } else {
            ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
            return;
        }
        // All but the status time as it was.
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
    void TearDown() override {
        if (GetParam() == std::string("device")) {
            ::umount2(m_scratch.Path().c_str(), MNT_DETACH);
        }
    }
};

TEST_P(FilesAheadChanged, AFileThatIsNotTheSameIsScannedAgain) {
    if (GetParam() == std::string("device") && ::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to mount";
    }
    Write({"a"});
    ScanAhead("a");
    Change(m_scratch / "a");
    EXPECT_EQ(Take("a"), nullptr);
}

TEST_P(FilesAheadChanged, AlsoWhileItIsUnderWay) {
    if (GetParam() == std::string("device") && ::geteuid() != 0) {
        GTEST_SKIP() << "needs root, to mount";
    }
    Write({"a"});
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    Change(m_scratch / "a");
    EXPECT_EQ(Take("a"), nullptr);
    EXPECT_TRUE(m_scanner->Scan(0)->IsAbandoned());
}

INSTANTIATE_TEST_SUITE_P(Each, FilesAheadChanged,
                         testing::Values("device", "inode", "size", "mtime", "ctime"),
                         [](const auto& each) { return std::string(each.param); });

TEST_F(FilesAheadTest, ASecondLookAfterTheScanCatchesWhatChangedMeanwhile) {
    Write({"a"});
    const std::size_t before = OpenDescriptors();
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    ASSERT_EQ(::chmod((m_scratch / "a").c_str(), 0600), 0);
    // A find: the pool believes that of any file.
    m_scanner->Scan(0)->Finish(Outcome(Verdict::Infected, "V"));
    m_scanner->LetGo();
    ASSERT_TRUE(WaitUntil([&] { return OpenDescriptors() <= before; }));
    EXPECT_EQ(Take("a"), nullptr);
}

TEST_F(FilesAheadTest, AWriterIsNotKeptWaitingAndTheFileIsScannedAgain) {
    Write({"a"});
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(InChild([this] {
                  return ::open((m_scratch / "a").c_str(), O_WRONLY | O_CLOEXEC) >= 0 ? 0 : 1;
              }),
              0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    EXPECT_TRUE(WaitUntil([&] { return m_scanner->Scan(0)->IsAbandoned(); }));
    m_scanner->Scan(0)->Finish(Outcome(Verdict::Clean));
    EXPECT_EQ(Take("a"), nullptr) << "though it was only opened, and nothing written";
}

TEST_F(FilesAheadTest, AFreshFileThatSomebodyWritesIsLeftAlone) {
    Write({"a"});
    const common::FileDescriptor writer(::open((m_scratch / "a").c_str(), O_WRONLY | O_CLOEXEC));
    Tell({"a"});
    ExpectSubmittedOnly({});
    EXPECT_EQ(Take("a"), nullptr);
}

TEST_F(FilesAheadTest, SoIsOneThatSeemsToHaveChangedJustNow) {
    // Its times might not tell of a change that comes at once. Those of this one stay new.
    WriteFile(m_scratch / "now", "contents");
    timespec times[2] = {};
    ASSERT_EQ(::clock_gettime(CLOCK_REALTIME, &times[0]), 0);
    times[1] = {times[0].tv_sec + 3600, 0};
    ASSERT_EQ(::utimensat(AT_FDCWD, (m_scratch / "now").c_str(), times, 0), 0);
    LetTimePass();
    Tell({"now"});
    ExpectSubmittedOnly({});
}

TEST_F(FilesAheadTest, TheSignalOfALeaseReachesNobody) {
    // SIGIO ends the program by default; it is still here.
    Write({"a"});
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    EXPECT_EQ(InChild([this] { return ::truncate((m_scratch / "a").c_str(), 3) == 0 ? 0 : 1; }), 0);
    EXPECT_TRUE(WaitUntil([&] { return m_scanner->Scan(0)->IsAbandoned(); }));
}

TEST_F(FilesAheadTest, TakesOnlyRegularFilesOfTheFolderItself) {
    Write({"a"});
    ASSERT_EQ(::mkfifo((m_scratch / "fifo").c_str(), 0600), 0);
    ASSERT_EQ(::mkdir((m_scratch / "folder").c_str(), 0700), 0);
    WriteFile(m_scratch / "folder/inside", "x");
    ASSERT_EQ(::symlink("a", (m_scratch / "link").c_str()), 0);
    ASSERT_EQ(::symlink("/proc/self/status", (m_scratch / "status").c_str()), 0);
    LetTimePass();
    Tell({"fifo", "folder", "link", "status", "missing", "", ".", "..", "folder/inside", nullptr,
          "a"});
    ExpectSubmittedOnly({"a"});
    EXPECT_EQ(Take("link"), nullptr);
}

TEST_F(FilesAheadTest, AWriterThatWaitsAtAFifoGoesOnWaiting) {
    ASSERT_EQ(::mkfifo((m_scratch / "fifo").c_str(), 0600), 0);
    std::atomic<bool> isLetGo = false;
    std::thread writer([&] {
        const common::FileDescriptor end(
            ::open((m_scratch / "fifo").c_str(), O_WRONLY | O_CLOEXEC));
        isLetGo = true;
    });
    LetTimePass();  // until it waits there
    Tell({"fifo"});
    ExpectSubmittedOnly({});
    EXPECT_FALSE(isLetGo);
    const common::FileDescriptor reader(
        ::open((m_scratch / "fifo").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    writer.join();
}

TEST_F(FilesAheadTest, DevicesAndPseudoFilesAreNotOpened) {
    const common::FileDescriptor devices(::open("/dev", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const common::FileDescriptor proc(::open("/proc/self", O_PATH | O_DIRECTORY | O_CLOEXEC));
    const char* zero = "zero";
    const char* status = "status";
    m_ahead.Tell(devices.Get(), "/dev", {&zero, 1});
    m_ahead.Tell(proc.Get(), "/proc/self", {&status, 1});
    ExpectSubmittedOnly({});
}

TEST_F(FilesAheadTest, AFileReplacedBetweenHintAndOpeningIsScannedForWhatItThenIs) {
    Write({"a", "other"});
    ScanAhead("a");
    ASSERT_EQ(::rename((m_scratch / "other").c_str(), (m_scratch / "a").c_str()), 0);
    EXPECT_EQ(Take("a"), nullptr);
    // And one that came back is not the one that was told, either.
    LetTimePass();
    ScanAhead("a");
    ASSERT_EQ(::rename((m_scratch / "a").c_str(), (m_scratch / "b").c_str()), 0);
    ASSERT_EQ(::rename((m_scratch / "b").c_str(), (m_scratch / "a").c_str()), 0);
    EXPECT_EQ(Take("a"), nullptr);
}

TEST_F(FilesAheadTest, TheFolderIsTheOneThatWasTold) {
    ASSERT_EQ(::mkdir((m_scratch / "folder").c_str(), 0700), 0);
    WriteFile(m_scratch / "folder/a", "told");
    LetTimePass();
    const common::FileDescriptor folder(
        ::open((m_scratch / "folder").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::rename((m_scratch / "folder").c_str(), (m_scratch / "away").c_str()), 0);
    ASSERT_EQ(::mkdir((m_scratch / "folder").c_str(), 0700), 0);
    WriteFile(m_scratch / "folder/a", "another");
    LetTimePass();
    const char* name = "a";
    m_ahead.Tell(folder.Get(), (m_scratch / "folder").c_str(), {&name, 1});
    ASSERT_TRUE(WaitForSubmitted(1));
    EXPECT_EQ(m_scanner->Scan(0)->File().Size(), 4U);
    EXPECT_EQ(Take("folder/a"), nullptr);
}

TEST_F(FilesAheadTest, WithoutADescriptorTheFolderIsOpenedByItsPath) {
    Write({"a"});
    const char* name = "a";
    m_ahead.Tell(-1, m_scratch.Path().c_str(), {&name, 1});
    ASSERT_TRUE(WaitForSubmitted(1));
    EXPECT_EQ(Take("a"), m_scanner->Scan(0));
    m_ahead.Tell(-1, nullptr, {&name, 1});
    m_ahead.Tell(-1, "/not/there", {&name, 1});
    ExpectSubmittedOnly({"a"});
}

TEST_F(FilesAheadTest, TheSamePathToldTwiceIsScannedTwice) {
    Write({"a", "b"});
    Tell({"a", "b", "a"});
    ASSERT_TRUE(WaitForSubmitted(3));
    EXPECT_EQ(Take("a"), m_scanner->Scan(0));
    EXPECT_EQ(Take("b"), m_scanner->Scan(1));
    EXPECT_EQ(Take("a"), m_scanner->Scan(2));
    EXPECT_EQ(Take("a"), nullptr);
}

TEST_F(FilesAheadTest, WhatWasPassedOverIsForgotten) {
    Write({"a", "b", "c"});
    Tell({"a", "b", "c"});
    ASSERT_TRUE(WaitForSubmitted(3));
    EXPECT_EQ(Take("b"), m_scanner->Scan(1));
    EXPECT_TRUE(m_scanner->Scan(0)->IsAbandoned());
    EXPECT_EQ(Take("a"), nullptr);
    EXPECT_EQ(Take("c"), m_scanner->Scan(2)) << "one that was not told passes over nothing";
}

TEST_F(FilesAheadTest, ForgetsOnDemandAndBreaksOffWhatIsUnderWay) {
    Write({"a", "b"});
    Tell({"a", "b"});
    ASSERT_TRUE(WaitForSubmitted(2));
    m_ahead.Forget();
    EXPECT_TRUE(WaitUntil([&] { return m_scanner->Scan(0)->IsToBreakOff(); }));
    EXPECT_TRUE(WaitUntil([&] { return m_scanner->Scan(1)->IsToBreakOff(); }));
    EXPECT_EQ(Take("a"), nullptr);
    Tell({"b"});
    ASSERT_TRUE(WaitForSubmitted(3));
    EXPECT_EQ(Take("b"), m_scanner->Scan(2)) << "and can be told again";
}

TEST_F(FilesAheadTest, OtherOptionsOrDatabasesForget) {
    Write({"a"});
    const auto another = std::make_shared<FakeScanner>();
    ScanProfile other = m_profile;
    other.archives = false;
    auto status = kOpenFailed;
    const auto file = TargetFile::Open((m_scratch / "a").c_str(), status);
    const auto takenWith = [&](const std::shared_ptr<FakeScanner>& scanner,
                               const ScanProfile& profile) {
        m_ahead.Use(scanner, profile);
        return m_ahead.Take(file);
    };
    ScanAhead("a");
    EXPECT_EQ(takenWith(m_scanner, other), nullptr);
    EXPECT_EQ(takenWith(m_scanner, m_profile), nullptr);
    ScanAhead("a");
    EXPECT_EQ(takenWith(another, m_profile), nullptr);
    EXPECT_EQ(takenWith(m_scanner, m_profile), nullptr);
    ScanAhead("a");
    EXPECT_NE(takenWith(m_scanner, m_profile), nullptr) << "with the same it counts";
}

TEST_F(FilesAheadTest, WhatIsToldIsScannedWithTheOptionsInUseWhenItsTurnComes) {
    Write({"a"});
    ScanProfile other = m_profile;
    other.archives = false;
    m_ahead.Use(m_scanner, other);
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    EXPECT_EQ(m_scanner->Scan(0)->Profile(), other);
}

TEST_F(FilesAheadTest, BeforeItIsKnownWhatScansHintsWait) {
    Write({"a"});
    FilesAhead ahead;
    const char* name = "a";
    ahead.Tell(m_folder.Get(), m_scratch.Path().c_str(), {&name, 1});
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_THAT(m_scanner->Names(), IsEmpty());
    ahead.Use(m_scanner, m_profile);
    EXPECT_TRUE(WaitForSubmitted(1));
}

TEST_F(FilesAheadTest, OptionsThatMeanTheSameForgetNothing) {
    Write({"a", "b"});
    tagSCANAPI_OPTIONS options{};
    options.scanArchives = 1;
    options.adwareLevel = 0;
    const ScanProfile first = scanning::ProfileFromOptions(options);
    options.adwareLevel = 3;
    options.extraFlags = kLabScanFlag;
    const ScanProfile second = scanning::ProfileFromOptions(options);
    m_profile = first;
    m_ahead.Use(m_scanner, first);
    Tell({"a", "b"});
    ASSERT_TRUE(WaitForSubmitted(2));
    m_profile = second;
    EXPECT_EQ(Take("a"), m_scanner->Scan(0));
    Tell({});
    EXPECT_EQ(Take("b"), m_scanner->Scan(1));
}

TEST_F(FilesAheadTest, WhoTellsForgetsOrTakesDoesNotWaitForAFileThatHangs) {
    Write({"a", "b"});
    ScanAhead("b");
    const std::unique_lock gate(m_scanner->m_gate);
    m_scanner->m_isAtGate = false;
    Tell({"a"});
    // Since it hangs there, all of this returns only if nobody waits for the thread.
    ASSERT_TRUE(WaitUntil([&] { return m_scanner->m_isAtGate.load(); }));
    Tell({"probe"});
    EXPECT_NE(Take("b"), nullptr);
    EXPECT_EQ(Take("a"), nullptr);
    m_ahead.Forget();
    Tell({"probe"});
    EXPECT_THAT(m_scanner->Names(), ElementsAre("b"));
}

TEST_F(FilesAheadTest, AFileThatIsJustBeingOpenedCanBePassedOver) {
    Write({"a", "b", "c"});
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    std::unique_lock gate(m_scanner->m_gate);
    m_scanner->m_isAtGate = false;
    Tell({"b", "c"});
    ASSERT_TRUE(WaitUntil([&] { return m_scanner->m_isAtGate.load(); }));
    EXPECT_EQ(Take("b"), nullptr) << "it is scanned at once instead";
    EXPECT_TRUE(m_scanner->Scan(0)->IsAbandoned()) << "told before it, and not opened";
    gate.unlock();
    ASSERT_TRUE(WaitForSubmitted(3));
    EXPECT_TRUE(WaitUntil([&] { return m_scanner->Scan(1)->IsAbandoned(); }));
    EXPECT_EQ(Take("c"), m_scanner->Scan(2));
}

TEST_F(FilesAheadTest, WhatWasPassedOverBeforeItsTurnIsNeverOpened) {
    Write({"a", "b", "c", "d"});
    std::unique_lock gate(m_scanner->m_gate);
    Tell({"a"});
    ASSERT_TRUE(WaitUntil([&] { return m_scanner->m_isAtGate.load(); }));
    Tell({"b", "c", "d"});
    EXPECT_EQ(Take("c"), nullptr);
    gate.unlock();
    ASSERT_TRUE(WaitForSubmitted(2));
    EXPECT_THAT(m_scanner->Names(), ElementsAre("a", "d"));
}

TEST_F(FilesAheadTest, WhatWaitsForItsTurnIsForgottenToo) {
    Write({"a", "b", "c"});
    std::unique_lock gate(m_scanner->m_gate);
    Tell({"a"});
    ASSERT_TRUE(WaitUntil([&] { return m_scanner->m_isAtGate.load(); }));
    Tell({"b"});
    m_ahead.Forget();
    Tell({"c"});
    gate.unlock();
    ASSERT_TRUE(WaitForSubmitted(2));
    EXPECT_THAT(m_scanner->Names(), ElementsAre("a", "c"));
}

TEST_F(FilesAheadTest, AStoppedScanIsNoResult) {
    Write({"a"});
    const std::size_t before = OpenDescriptors();
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    m_scanner->Scan(0)->FinishStopped();
    m_scanner->LetGo();
    ASSERT_TRUE(WaitUntil([&] { return OpenDescriptors() <= before; }));
    EXPECT_EQ(Take("a"), nullptr);
}

TEST_F(FilesAheadTest, RemembersNoMoreThanItsBound) {
    const auto names = WriteFiles(600);
    const auto pointers = PointersTo(names);
    const std::size_t before = OpenDescriptors();
    Tell(pointers);
    ASSERT_TRUE(WaitForSubmitted(FilesAhead::kMostUnderWay));
    EXPECT_LE(OpenDescriptors(), before + FilesAhead::kMostUnderWay + 2);
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_THAT(m_scanner->Names(), SizeIs(FilesAhead::kMostUnderWay));
    m_scanner->m_finishAtOnce = true;
    for (std::size_t i = 0; i < FilesAhead::kMostUnderWay; ++i) {
        m_scanner->Scan(i)->Finish(Outcome(Verdict::Clean));
    }
    m_scanner->LetGo();
    ASSERT_TRUE(WaitForSubmitted(FilesAhead::kMostScanned));
    Tell({"f599"});
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_THAT(m_scanner->Names(), SizeIs(FilesAhead::kMostScanned));
    EXPECT_EQ(m_scanner->Names().back(), "f511");
    // Room again.
    EXPECT_NE(Take("f0"), nullptr);
    ASSERT_TRUE(WaitForSubmitted(FilesAhead::kMostScanned + 1));
    EXPECT_EQ(m_scanner->Names().back(), "f599");
    EXPECT_NE(Take("f511"), nullptr);
    EXPECT_NE(Take("f599"), nullptr);
}

TEST_F(FilesAheadTest, HoldsFewFoldersOpen) {
    // The first file keeps the others from being opened: as many are under way as may be.
    for (int i = 0; i < 100; ++i) {
        const std::string folder = m_scratch / ("d" + std::to_string(i));
        std::filesystem::create_directory(folder);
        WriteFile(folder + "/inside" + std::to_string(i), "x");
    }
    const auto names = WriteFiles(FilesAhead::kMostUnderWay);
    Tell(PointersTo(names));
    ASSERT_TRUE(WaitForSubmitted(FilesAhead::kMostUnderWay));
    const std::size_t before = OpenDescriptors();
    for (int i = 0; i < 100; ++i) {
        const std::string path = m_scratch / ("d" + std::to_string(i));
        const std::string inside = "inside" + std::to_string(i);
        const char* name = inside.c_str();
        const common::FileDescriptor folder(::open(path.c_str(), O_PATH | O_CLOEXEC));
        m_ahead.Tell(folder.Get(), path.c_str(), {&name, 1});
    }
    EXPECT_LE(OpenDescriptors(), before + HintLine::kMostFolders);
    EXPECT_NE(Take("f255"), nullptr) << "which lets the others go";
    ASSERT_TRUE(WaitForSubmitted(FilesAhead::kMostUnderWay + 100));
    EXPECT_EQ(m_scanner->Names().back(), "inside99");
    EXPECT_NE(Take("d99/inside99"), nullptr);
}

TEST_F(FilesAheadTest, KeepsNoMoreNamesOfMembersThanItsBound) {
    Write({"a", "b", "c"});
    Tell({"a", "b", "c"});
    ASSERT_TRUE(WaitForSubmitted(3));
    const std::string name(std::size_t{1} << 20U, 'n');
    for (int i = 0; i < 7; ++i) {
        ASSERT_TRUE(m_scanner->Scan(0)->Tell(name));
        ASSERT_TRUE(m_scanner->Scan(1)->Tell(name));
    }
    std::this_thread::sleep_for(milliseconds(50));
    EXPECT_FALSE(m_scanner->Scan(1)->IsAbandoned());
    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(m_scanner->Scan(1)->Tell(name));
    }
    EXPECT_TRUE(WaitUntil([&] { return m_scanner->Scan(1)->IsAbandoned(); }));
    EXPECT_TRUE(m_scanner->Scan(2)->IsAbandoned()) << "those that come last go first";
    EXPECT_EQ(Take("b"), nullptr);
}

TEST_F(FilesAheadTest, AfterItsStopNothingIsScannedAhead) {
    Write({"a"});
    Tell({"a"});
    ASSERT_TRUE(WaitForSubmitted(1));
    m_ahead.Stop();
    EXPECT_TRUE(m_scanner->Scan(0)->IsToBreakOff());
    EXPECT_EQ(Take("a"), nullptr);
    Tell({"a"});
    m_ahead.Stop();
    EXPECT_THAT(m_scanner->Names(), ElementsAre("a"));
    std::weak_ptr<FakeScanner> scanner = m_scanner;
    m_scanner.reset();
    EXPECT_TRUE(scanner.expired()) << "the databases are let go";
}

TEST_F(FilesAheadTest, TellingTakingAndForgettingAtOnceLosesNothing) {
    const auto names = WriteFiles(64);
    const auto pointers = PointersTo(names);
    m_scanner->m_finishAtOnce = true;
    int found = 0;
    for (int round = 0; round < 50; ++round) {
        Tell(pointers);
        for (const std::string& name : names) {
            const auto scan = Take(name);
            if (scan != nullptr) {
                ++found;
                EXPECT_EQ(scan->File().Path(), m_scratch / name);
                EXPECT_TRUE(scan->WaitForNews(milliseconds(10000)).finished);
                EXPECT_EQ(scan->TakeOutcome().verdict, Verdict::Clean);
            }
        }
        if (round % 3 == 0) {
            Tell(pointers);
            m_ahead.Forget();
        }
        m_scanner->LetGo();
    }
    EXPECT_GT(found, 0);
}

}  // namespace
