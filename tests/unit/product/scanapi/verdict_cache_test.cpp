// What is remembered of clean files, for how long, and what is never believed.

#include "product/scanapi/verdict_cache.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "common/log.h"
#include "tests/support/no_room.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/verdict_fixture.h"

namespace {

namespace fs = std::filesystem;
using scanapi::CachedVerdict;
using scanapi::FileIdentity;
using scanapi::ScanSpan;
using scanapi::VerdictCache;
using scanning::Verdict;

const CachedVerdict kClean{Verdict::Clean, {}};

class VerdictCacheTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
        }
        g_clock = {kNoon, 9};
        fs::remove(common::kCommonLog);
    }
    [[nodiscard]] std::unique_ptr<VerdictCache> Open(char basis = 'b') const {
        return std::make_unique<VerdictCache>(m_path, m_settings, BasisOf(basis), TestClock);
    }
    // Remembers the files of these numbers and closes.
    void Remember(std::uint64_t first, std::uint64_t last, char basis = 'b') const {
        const auto cache = Open(basis);
        for (std::uint64_t number = first; number <= last; ++number) {
            cache->Remember(ScanOf(FileOf(number)), "a", {}, kClean);
        }
    }
    // Whether the file of number 1 is remembered by a program that begins now.
    [[nodiscard]] bool IsKnown(std::uint64_t number = 1, char basis = 'b') const {
        return Open(basis)->Find(FileOf(number), "a", {}).has_value();
    }
    [[nodiscard]] bool WouldBeKnown(const ScanSpan& scan) const {
        {
            const auto cache = Open();
            cache->Remember(scan, "a", {}, kClean);
        }
        g_clock.seconds += 100'000;
        const bool isKnown = Open()->Find(scan.before, "a", {}).has_value();
        g_clock.seconds -= 100'000;
        fs::remove_all(m_path);
        return isKnown;
    }
    // What is there is not believed, and gone; and the next one can be kept again.
    void ExpectDropped(const std::string& why) const {
        EXPECT_EQ(Open()->Count(), 0U) << why;
        EXPECT_FALSE(Exists(m_file)) << why;
        Remember(1, 1);
        EXPECT_TRUE(IsKnown()) << why;
    }

    ScratchFolder m_folder;
    std::string m_path = m_folder / "cache";
    std::string m_file = m_path + "/verdicts";
    scanapi::CacheSettings m_settings;
};

TEST_F(VerdictCacheTest, WhatWasRememberedIsFoundByTheNextProgram) {
    const CachedVerdict withMembers{Verdict::Clean, {"b.txt", "in/c", "in/c"}};
    const CachedVerdict passedOver{Verdict::PassedOver, {}};
    {
        const auto cache = Open();
        EXPECT_FALSE(cache->Find(FileOf(1), "a.zip", {}));
        cache->Remember(ScanOf(FileOf(1)), "a.zip", {}, withMembers);
        cache->Remember(ScanOf(FileOf(2)), "<&\xFF", {}, passedOver);
        EXPECT_EQ(cache->Find(FileOf(1), "a.zip", {}), withMembers);
    }
    EXPECT_EQ(ModeOf(m_path), 0700U);
    EXPECT_EQ(ModeOf(m_file), 0600U);
    const auto cache = Open();
    EXPECT_EQ(cache->Count(), 2U);
    EXPECT_EQ(cache->Find(FileOf(1), "a.zip", {}), withMembers);
    EXPECT_EQ(cache->Find(FileOf(2), "<&\xFF", {}), passedOver);
    EXPECT_FALSE(cache->Find(FileOf(3), "a.zip", {}));
    EXPECT_FALSE(Exists(common::kCommonLog));
}

TEST_F(VerdictCacheTest, NothingButTheVerySameIsFound) {
    Remember(1, 1);
    const auto cache = Open();
    ASSERT_TRUE(cache->Find(FileOf(1), "a", {}));
    const std::vector<std::function<void(FileIdentity&)>> changes{
        [](FileIdentity& file) { file.fileSystem.uuid[0] = std::byte{1}; },
        [](FileIdentity& file) { file.fileSystem.uuid[15] = std::byte{1}; },
        [](FileIdentity& file) { ++file.fileSystem.part; },
        [](FileIdentity& file) { file.inode += std::uint64_t{1} << 40U; },
        [](FileIdentity& file) { ++file.size; },
        [](FileIdentity& file) { --file.modified.seconds; },
        [](FileIdentity& file) { ++file.modified.nanoseconds; },
        [](FileIdentity& file) { --file.changed.seconds; },
        [](FileIdentity& file) { ++file.changed.nanoseconds; },
    };
    for (std::size_t i = 0; i < changes.size(); ++i) {
        FileIdentity file = FileOf(1);
        changes[i](file);
        EXPECT_FALSE(cache->Find(file, "a", {})) << i;
    }
    EXPECT_FALSE(cache->Find(FileOf(1), "b", {}));
    EXPECT_FALSE(cache->Find(FileOf(1), "", {}));
    EXPECT_FALSE(cache->Find(FileOf(1), "a", {.archives = true}));
    EXPECT_FALSE(cache->Find(FileOf(1), "a", {.packed = true}));
    EXPECT_FALSE(cache->Find(FileOf(1), "a", {.unknownTypes = true}));
    EXPECT_FALSE(cache->Find(FileOf(1), "a", {.unwanted = true}));
    EXPECT_FALSE(IsKnown(1, 'c'));
    EXPECT_TRUE(IsKnown());
}

TEST_F(VerdictCacheTest, OnlyCleanFilesWithFewNamesAreRemembered) {
    {
        const auto cache = Open();
        for (const Verdict verdict : {Verdict::Infected, Verdict::Unreadable, Verdict::Stopped}) {
            cache->Remember(ScanOf(FileOf(1)), "a", {}, {verdict, {}});
        }
        cache->Remember(ScanOf(FileOf(1)), "a", {},
                        {Verdict::Clean, std::vector<std::string>(2049, "m")});
        EXPECT_FALSE(cache->Find(FileOf(1), "a", {}));
        cache->Remember(ScanOf(FileOf(2)), "a", {},
                        {Verdict::Clean, std::vector<std::string>(2048, "m")});
    }
    EXPECT_FALSE(IsKnown(1));
    EXPECT_TRUE(IsKnown(2));
}

TEST_F(VerdictCacheTest, AFileHasToHaveBeenUnchangedForAMinute) {
    ScanSpan scan = ScanOf(FileOf(1));
    EXPECT_TRUE(WouldBeKnown(scan));
    scan.begun = {kNoon, 8};
    EXPECT_FALSE(WouldBeKnown(scan));
    scan.begun = {kNoon - 1, 9};
    EXPECT_FALSE(WouldBeKnown(scan));
}

TEST_F(VerdictCacheTest, UnderALeaseTwoSecondsAreEnough) {
    ScanSpan scan = ScanOf(FileOf(1), true);
    scan.begun = {kNoon - 58, 9};
    EXPECT_TRUE(WouldBeKnown(scan));
    scan.begun = {kNoon - 58, 8};
    EXPECT_FALSE(WouldBeKnown(scan));
}

TEST_F(VerdictCacheTest, AFileThatChangedUnderItsScanIsNotRemembered) {
    for (const bool isCovered : {false, true}) {
        ScanSpan scan = ScanOf(FileOf(1), isCovered);
        ++scan.after.size;
        EXPECT_FALSE(WouldBeKnown(scan));
        scan = ScanOf(FileOf(1), isCovered);
        ++scan.after.changed.nanoseconds;
        EXPECT_FALSE(WouldBeKnown(scan));
    }
}

TEST_F(VerdictCacheTest, WhereTheClockWentBackNothingIsBelieved) {
    const auto cache = Open();
    cache->Remember(ScanOf(FileOf(1)), "a", {}, kClean);
    g_clock = {kNoon, 8};
    EXPECT_FALSE(cache->Find(FileOf(1), "a", {}));
    cache->Remember(ScanOf(FileOf(2)), "a", {}, kClean);
    g_clock = {kNoon, 9};
    EXPECT_TRUE(cache->Find(FileOf(1), "a", {}));
    EXPECT_FALSE(cache->Find(FileOf(2), "a", {}));
}

TEST_F(VerdictCacheTest, AScanThatBeginsInTheFutureIsNotRemembered) {
    ScanSpan scan = ScanOf(FileOf(1));
    scan.begun = {kNoon, 10};
    const auto cache = Open();
    cache->Remember(scan, "a", {}, kClean);
    EXPECT_FALSE(cache->Find(FileOf(1), "a", {}));
}

TEST_F(VerdictCacheTest, WhatWasWrittenInTheFutureIsDropped) {
    Remember(1, 1);
    g_clock.seconds -= 1;
    EXPECT_EQ(Open()->Count(), 0U);
    EXPECT_FALSE(Exists(m_file));
    g_clock.seconds += 1;
    EXPECT_FALSE(IsKnown());
}

TEST_F(VerdictCacheTest, WhatIsDamagedIsDropped) {
    Remember(1, 2);
    Remember(3, 3);
    const std::string whole = ReadFile(m_file);
    ASSERT_EQ(whole.size(), 96U + 144U + 2 * 70U + 144U + 70U);
    ASSERT_EQ(Open()->Count(), 3U);
    for (std::size_t place = 0; place < whole.size(); place += 3) {
        std::string damaged = whole;
        damaged[place] = static_cast<char>(damaged[place] ^ 0x20);
        WriteFile(m_file, damaged);
        ASSERT_LT(Open()->Count(), 3U) << place;
    }
    WriteFile(m_file, whole);
    std::string damaged = whole;
    damaged[300] = static_cast<char>(damaged[300] ^ 1);
    WriteFile(m_file, damaged);
    ExpectDropped("a byte of a record");
}

TEST_F(VerdictCacheTest, WhatIsCutIsDropped) {
    Remember(1, 1);
    const std::string whole = ReadFile(m_file);
    for (std::size_t size = 0; size < whole.size(); size += 7) {
        WriteFile(m_file, whole.substr(0, size));
        ASSERT_EQ(Open()->Count(), 0U) << size;
        ASSERT_FALSE(Exists(m_file)) << size;
        Remember(2, 2);
    }
    WriteFile(m_file, whole.substr(0, whole.size() - 1));
    ExpectDropped("one byte less");
}

TEST_F(VerdictCacheTest, WhatAKilledProgramLeftBehindTheEndIsPassedOver) {
    Remember(1, 1);
    WriteFile(m_file, ReadFile(m_file) + "VBAT and half a batch");
    EXPECT_TRUE(IsKnown(1));
    Remember(2, 2);
    EXPECT_TRUE(IsKnown(1));
    EXPECT_TRUE(IsKnown(2));
}

TEST_F(VerdictCacheTest, ANewerVersionIsDropped) {
    Remember(1, 1);
    std::string newer = ReadFile(m_file);
    newer[16] = 2;
    WriteFile(m_file, newer);
    ExpectDropped("version 2");
}

TEST_F(VerdictCacheTest, WhatOthersMayHaveWrittenIsDropped) {
    for (const mode_t mode : {0620U, 0602U, 0640U, 0604U}) {
        Remember(1, 1);
        ASSERT_EQ(chmod(m_file.c_str(), mode), 0);
        ExpectDropped("mode " + std::to_string(mode));
    }
    Remember(1, 1);
    const std::string whole = ReadFile(m_file);
    fs::create_hard_link(m_file, m_folder / "other name");
    ExpectDropped("a further name");
    EXPECT_EQ(ReadFile(m_folder / "other name"), whole);
    const std::string next = ReadFile(m_file);
    fs::rename(m_file, m_folder / "elsewhere");
    fs::create_symlink(m_folder / "elsewhere", m_file);
    ExpectDropped("a link");
    EXPECT_EQ(ReadFile(m_folder / "elsewhere"), next);
    fs::remove(m_file);
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0);
    ExpectDropped("a FIFO");
    if (geteuid() == 0) {
        ASSERT_EQ(chown(m_file.c_str(), 65534, 0), 0);
        ExpectDropped("another's");
    }
}

TEST_F(VerdictCacheTest, ALinkIsNotWrittenThrough) {
    Remember(1, 1);
    const auto cache = Open();
    fs::remove(m_file);
    WriteFile(m_folder / "precious", "precious");
    fs::create_symlink(m_folder / "precious", m_file);
    cache->Remember(ScanOf(FileOf(2)), "a", {}, kClean);
    cache->Close();
    EXPECT_EQ(ReadFile(m_folder / "precious"), "precious");
    EXPECT_TRUE(IsKnown(2));
}

TEST_F(VerdictCacheTest, AFolderOfAnotherIsNotUsed) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root";
    }
    fs::create_directory(m_path);
    ASSERT_EQ(chown(m_path.c_str(), 65534, 65534), 0);
    Remember(1, 1);
    EXPECT_TRUE(fs::is_empty(m_path));
    EXPECT_EQ(ReadFile(common::kCommonLog),
              "scanapi: verdicts are not kept: " + m_path + ": it belongs to another user\n");
    fs::remove(m_path);
    fs::create_directory_symlink(m_folder / "there", m_path);
    fs::create_directory(m_folder / "there");
    Remember(1, 1);
    EXPECT_TRUE(fs::is_empty(m_folder / "there"));
}

TEST_F(VerdictCacheTest, OffNothingIsReadOrWritten) {
    Remember(1, 1);
    const std::string before = ReadFile(m_file);
    m_settings.isOn = false;
    {
        const auto cache = Open();
        EXPECT_EQ(cache->Count(), 0U);
        cache->Remember(ScanOf(FileOf(2)), "a", {}, kClean);
        EXPECT_FALSE(cache->Find(FileOf(2), "a", {}));
    }
    EXPECT_EQ(ReadFile(m_file), before);
}

TEST_F(VerdictCacheTest, WithoutABasisNothingIsRemembered) {
    const VerdictCache cache(m_path, m_settings, "", TestClock);
    EXPECT_FALSE(Exists(m_path));
}

TEST_F(VerdictCacheTest, ItIsWrittenWhileTheProgramGoesOn) {
    const auto cache = Open();
    cache->Remember(ScanOf(FileOf(1)), "a", {}, kClean);
    EXPECT_TRUE(WaitUntil([&] { return IsKnown(); }, std::chrono::seconds(30)));
}

TEST_F(VerdictCacheTest, AfterItsEndItKnowsNothing) {
    const auto cache = Open();
    cache->Remember(ScanOf(FileOf(1)), "a", {}, kClean);
    cache->Close();
    EXPECT_FALSE(cache->Find(FileOf(1), "a", {}));
    cache->Remember(ScanOf(FileOf(2)), "a", {}, kClean);
    cache->Close();
    EXPECT_TRUE(IsKnown(1));
    EXPECT_FALSE(IsKnown(2));
}

TEST_F(VerdictCacheTest, TheOldestGoesWhenItIsFull) {
    m_settings.bytes = 100'000;
    constexpr std::uint64_t kStep = 200;  // 14,000 bytes and a batch
    std::uint64_t last = 0;
    bool wasFull = false;
    for (int i = 0; i < 20; ++i, last += kStep) {
        Remember(last + 1, last + kStep);
        EXPECT_TRUE(IsKnown(last + 1)) << "the newest";
        EXPECT_LE(fs::file_size(m_file), m_settings.bytes);
        wasFull = wasFull || fs::file_size(m_file) > 80'000;
    }
    EXPECT_TRUE(wasFull);
    EXPECT_FALSE(IsKnown(1));
    EXPECT_FALSE(IsKnown(last - 10 * kStep));
    EXPECT_TRUE(IsKnown(last - kStep)) << "the one before the newest";
    EXPECT_FALSE(Exists(m_file + ".new"));
}

TEST_F(VerdictCacheTest, WhatStandsOnOtherDatabasesGoesFirst) {
    m_settings.bytes = 35'000;  // each hundred takes 7,144 bytes
    Remember(1, 100, 'o');
    Remember(1, 100, 'b');
    Remember(101, 300, 'o');
    EXPECT_TRUE(IsKnown(1, 'o'));
    EXPECT_TRUE(IsKnown(1, 'b'));
    Remember(101, 200, 'b');
    EXPECT_TRUE(IsKnown(1, 'b'));
    EXPECT_TRUE(IsKnown(101, 'b'));
    EXPECT_FALSE(IsKnown(1, 'o'));
    EXPECT_FALSE(IsKnown(101, 'o'));
}

TEST_F(VerdictCacheTest, ALowerBoundHoldsAtOnce) {
    Remember(1, 1000);
    m_settings.bytes = 50'000;
    ExpectDropped("larger than allowed");
}

TEST_F(VerdictCacheTest, MoreThanABatchAtOnceIsWritten) {
    constexpr std::uint64_t kMany = 30'000;
    Remember(1, kMany);
    const auto cache = Open();
    // What comes while as much waits for the disk is not kept, so that memory stays bounded.
    EXPECT_GT(cache->Count(), 7'000U);
    EXPECT_TRUE(cache->Find(FileOf(1), "a", {}));
}

TEST_F(VerdictCacheTest, AFullDiskCostsNothingButTheNewOnes) {
    Remember(1, 1);
    {
        const NoRoom noRoom;
        const auto cache = Open();
        EXPECT_TRUE(cache->Find(FileOf(1), "a", {}));
        cache->Remember(ScanOf(FileOf(2)), "a", {}, kClean);
        EXPECT_TRUE(cache->Find(FileOf(2), "a", {}));
    }
    EXPECT_TRUE(IsKnown(1));
    EXPECT_FALSE(IsKnown(2));
    fs::create_directory(m_folder / "disk");
    const TinyDisk disk(m_folder / "disk", "32k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "file systems may not be mounted here";
    }
    m_path = m_folder / "disk/cache";
    m_file = m_path + "/verdicts";
    std::uint64_t number = 0;
    for (int i = 0; i < 10; ++i, number += 100) {
        Remember(number + 1, number + 100);
        EXPECT_TRUE(IsKnown(1)) << i;
    }
    EXPECT_TRUE(IsKnown(101));
    EXPECT_FALSE(IsKnown(number));
}

TEST_F(VerdictCacheTest, SeveralProgramsAtOnceLoseNothing) {
    constexpr std::uint64_t kEach = 500;
    std::vector<pid_t> programs;
    for (std::uint64_t program = 0; program < 6; ++program) {
        programs.push_back(StartChild([&, program] {
            for (std::uint64_t number = 1; number <= kEach; number += 50) {
                Remember(program * kEach + number, program * kEach + number + 49);
            }
            return 0;
        }));
    }
    for (const pid_t program : programs) {
        EXPECT_EQ(JoinChild(program), 0);
    }
    EXPECT_EQ(Open()->Count(), 6 * kEach);
}

TEST_F(VerdictCacheTest, AProgramThatIsStoppedKeepsNobodyWaitingForLong) {
    Remember(1, 1);
    const common::FileDescriptor folder(::open(m_path.c_str(), O_RDONLY | O_DIRECTORY));
    ASSERT_EQ(flock(folder.Get(), LOCK_EX), 0);
    const auto begun = std::chrono::steady_clock::now();
    EXPECT_FALSE(IsKnown());
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(20));
    ASSERT_EQ(flock(folder.Get(), LOCK_UN), 0);
    EXPECT_TRUE(IsKnown());
}

// The path as another user finds it.
std::string PathOf(uid_t user) {
    const ScratchFolder folder;
    InChild([&] {
        if (geteuid() == 0 && user != 0 && seteuid(user) != 0) {
            return 1;
        }
        const std::string path = scanapi::PathOfVerdicts();
        if (seteuid(getuid()) == 0) {
            WriteFile(folder / "path", path);
        }
        return 0;
    });
    return ReadFile(folder / "path");
}

TEST(PathOfVerdicts, IsRootsWhateverTheEnvironmentSays) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root";
    }
    setenv("XDG_CACHE_HOME", "/tmp/mine", 1);
    EXPECT_EQ(PathOf(0), "/var/cache/corvane");
}

TEST(PathOfVerdicts, IsInTheCacheOfAnOrdinaryUser) {
    const uid_t user = geteuid() == 0 ? 65534 : geteuid();
    setenv("XDG_CACHE_HOME", "/tmp/mine", 1);
    EXPECT_EQ(PathOf(user), "/tmp/mine/corvane");
    setenv("XDG_CACHE_HOME", "relative", 1);
    setenv("HOME", "/home/of-mine", 1);
    EXPECT_EQ(PathOf(user), "/home/of-mine/.cache/corvane");
    unsetenv("XDG_CACHE_HOME");
    EXPECT_EQ(PathOf(user), "/home/of-mine/.cache/corvane");
}

TEST(VerdictTable, NamesThatFallOnOneSlotCostAPlaceAndNoTime) {
    scanapi::VerdictTable table(1U << 30U);
    std::vector<std::string> records;
    // With 1,024 slots those that fall on the same ones are soon found.
    const std::size_t wanted = 200;
    for (std::uint64_t number = 0; records.size() < wanted; ++number) {
        std::string record = scanapi::EncodeRecord({{}, FileOf(number), "a", kClean});
        if (std::hash<std::string_view>{}(scanapi::KeyOf(record)) % 1024 == 0) {
            records.push_back(std::move(record));
        }
    }
    std::size_t kept = 0;
    for (const std::string& record : records) {
        kept += table.Add(record) ? 1 : 0;
    }
    EXPECT_EQ(kept, 32U);
    EXPECT_EQ(table.Count(), 32U);
    EXPECT_EQ(table.Find(scanapi::KeyOf(records[31])), records[31]);
    EXPECT_FALSE(table.Find(scanapi::KeyOf(records[32])));
}

TEST(VerdictTable, TheLaterOfTwoCounts) {
    scanapi::VerdictTable table(1000);
    const std::string first = scanapi::EncodeRecord({{}, FileOf(1), "a", kClean});
    const std::string second =
        scanapi::EncodeRecord({{}, FileOf(1), "a", {Verdict::PassedOver, {}}});
    EXPECT_TRUE(table.Add(first));
    EXPECT_TRUE(table.Add(second));
    EXPECT_EQ(table.Find(scanapi::KeyOf(first)), second);
    EXPECT_EQ(table.Count(), 1U);
    while (table.Add(first)) {
    }
    EXPECT_EQ(table.Find(scanapi::KeyOf(first)), first) << "beyond its bound nothing is added";
}

TEST(VerdictTable, ManyAreFoundAgain) {
    scanapi::VerdictTable table(1U << 30U);
    for (std::uint64_t number = 0; number < 20'000; ++number) {
        ASSERT_TRUE(table.Add(scanapi::EncodeRecord({{}, FileOf(number), "a", kClean})));
    }
    for (std::uint64_t number = 0; number < 20'000; ++number) {
        const std::string record = scanapi::EncodeRecord({{}, FileOf(number), "a", kClean});
        ASSERT_EQ(table.Find(scanapi::KeyOf(record)), record);
    }
}

}  // namespace
