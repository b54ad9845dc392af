#include "reports/virus_log/log_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

using LogFiles = VirusLogTest;

constexpr std::string_view kNoName = "(none)";

// The name that "VirMain.dat" gives; kNoName when there is none.
std::string NameInMainFile() {
    std::array<char, virus_log::kLogFileNameSize + 1> name{};
    name.fill('x');
    if (!GetFileNameFromMainFile(name.data())) {
        return std::string(kNoName);
    }
    EXPECT_EQ(name.back(), 'x') << "written past its end";
    EXPECT_NE(std::string_view(name.data(), name.size()).find('\0'), std::string_view::npos);
    return name.data();
}

// Whether a process sleeps.
bool IsAsleep(pid_t process) {
    const std::string status = ReadFile("/proc/" + std::to_string(process) + "/stat");
    return status.find(") S ") != std::string::npos;
}

common::FileDescriptor OpenForWriting(const std::string& path) {
    return common::FileDescriptor(::open(path.c_str(), O_RDWR | O_CLOEXEC));
}

TEST_F(LogFiles, TheMainFileNamesTheRecordFile) {
    for (const char* name : {"VirRcONE.dat", "VirRcTWO.dat", "else.dat"}) {
        for (const std::uint32_t isResetting : {0U, 1U}) {
            Put("VirMain.dat", MainBytes(isResetting, name));
            EXPECT_EQ(NameInMainFile(), name);
            EXPECT_EQ(Content("VirMain.dat"), MainBytes(isResetting, name));
        }
    }
    EXPECT_FALSE(Exists(Log("VirRcONE.dat"))) << "only the name was asked for";
}

TEST_F(LogFiles, ANameMayFillItsField) {
    const std::string name(100, 'n');
    Put("VirMain.dat", MainBytes(0, name));
    EXPECT_EQ(NameInMainFile(), name);
    Put("VirMain.dat", MainBytes(0, name) + "more");
    EXPECT_EQ(NameInMainFile(), name) << "what follows the 104 bytes is no part of it";
}

TEST_F(LogFiles, AWholeMainFileIsReadWithoutItsMutex) {
    Put("VirMain.dat", MainBytes(0, "VirRcTWO.dat"));
    const HeldMutex held(10022);
    ASSERT_TRUE(held.IsHeld());
    EXPECT_EQ(NameInMainFile(), "VirRcTWO.dat");
}

TEST_F(LogFiles, AMissingMainFileIsMade) {
    const mode_t mask = ::umask(0);
    EXPECT_EQ(NameInMainFile(), "VirRcONE.dat");
    ::umask(mask);
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_EQ(ModeOf(Log("VirMain.dat")), 0644U);
    EXPECT_FALSE(IsMutexHeld(10022));
    EXPECT_FALSE(Exists(Log("VirRcONE.dat")));
}

TEST_F(LogFiles, AShortMainFileIsMadeWholeAndKeepsItsMode) {
    for (const std::size_t size : {0U, 3U, 4U, 20U, 103U}) {
        Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat").substr(0, size));
        ASSERT_EQ(::chmod(Log("VirMain.dat").c_str(), 0666), 0);
        EXPECT_EQ(NameInMainFile(), "VirRcONE.dat") << size;
        EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat")) << size;
        EXPECT_EQ(ModeOf(Log("VirMain.dat")), 0666U);
    }
}

TEST_F(LogFiles, ANameThatLeadsElsewhereIsRefused) {
    for (const char* name : {"", ".", "..", "/", "../section.ini", "/etc/passwd", "a/b", "a/"}) {
        Put("VirMain.dat", MainBytes(0, name));
        EXPECT_EQ(NameInMainFile(), kNoName) << name;
        EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, name));
    }
}

TEST_F(LogFiles, WithoutRoomForTheNameNothingIsMade) {
    EXPECT_FALSE(GetFileNameFromMainFile(nullptr));
    EXPECT_EQ(Content("VirMain.dat"), "(missing)");
}

TEST_F(LogFiles, WhatIsNoFileIsNoMainFile) {
    WriteFile(m_app / "precious", "precious");
    ASSERT_EQ(::symlink("../precious", Log("VirMain.dat").c_str()), 0);
    EXPECT_EQ(NameInMainFile(), kNoName);
    EXPECT_EQ(ReadFile(m_app / "precious"), "precious");
    ASSERT_EQ(::unlink(Log("VirMain.dat").c_str()), 0);

    ASSERT_EQ(::mkfifo(Log("VirMain.dat").c_str(), 0666), 0);
    EXPECT_EQ(NameInMainFile(), kNoName);
    ASSERT_EQ(::unlink(Log("VirMain.dat").c_str()), 0);

    ASSERT_EQ(::mkdir(Log("VirMain.dat").c_str(), 0777), 0);
    EXPECT_EQ(NameInMainFile(), kNoName);
    ASSERT_EQ(::rmdir(Log("VirMain.dat").c_str()), 0);

    ASSERT_EQ(::rmdir(Log("").c_str()), 0);
    EXPECT_EQ(NameInMainFile(), kNoName);
}

TEST_F(LogFiles, WhoWaitedForTheMutexLooksAgain) {
    HeldMutex held(10022);
    ASSERT_TRUE(held.IsHeld());
    const pid_t child = StartChild([] { return NameInMainFile() == "VirRcTWO.dat" ? 0 : 1; });
    EXPECT_TRUE(WaitUntil([child] { return IsAsleep(child); }));
    Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat"));
    held.Release();
    EXPECT_EQ(JoinChild(child), 0);
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(1, "VirRcTWO.dat"));
}

TEST_F(LogFiles, TheMainFileTellsOfAResetAndOfItsEnd) {
    for (const std::string& before : {std::string(), std::string(104, 'x')}) {
        Put("VirMain.dat", before);
        const common::FileDescriptor main = OpenForWriting(Log("VirMain.dat"));
        ASSERT_TRUE(virus_log::WriteResetMainFileHeader(main.Get()));
        EXPECT_EQ(Content("VirMain.dat"), MainBytes(1, "VirRcTWO.dat"));
        ASSERT_TRUE(RestoreMainFileHeader(main.Get()));
        EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    }
}

TEST_F(LogFiles, AMainFileThatCannotBeWrittenIsTold) {
    Put("VirMain.dat", "as it was");
    const common::FileDescriptor main(::open(Log("VirMain.dat").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(virus_log::WriteResetMainFileHeader(main.Get()));
    EXPECT_FALSE(RestoreMainFileHeader(main.Get()));
    EXPECT_FALSE(virus_log::WriteResetMainFileHeader(-1));
    EXPECT_FALSE(RestoreMainFileHeader(-1));
    EXPECT_EQ(Content("VirMain.dat"), "as it was");
}

TEST_F(LogFiles, TheOffsetTableIsMade) {
    const mode_t mask = ::umask(0);
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    ::umask(mask);
    ASSERT_TRUE(table.IsOpen());
    EXPECT_EQ(Content("RecOffset.dat"), "");
    EXPECT_EQ(ModeOf(Log("RecOffset.dat")), 0644U);
    EXPECT_NE(::fcntl(table.Get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(LogFiles, AnOffsetTableThatIsThereKeepsItsContentAndMode) {
    Put("RecOffset.dat", U32(88) + U32(308));
    ASSERT_EQ(::chmod(Log("RecOffset.dat").c_str(), 0666), 0);
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    ASSERT_TRUE(table.IsOpen());
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
    EXPECT_EQ(ModeOf(Log("RecOffset.dat")), 0666U);
    EXPECT_EQ(::fcntl(table.Get(), F_GETFL) & O_ACCMODE, O_RDWR);
}

TEST_F(LogFiles, WhatIsNoFileIsNoOffsetTable) {
    WriteFile(m_app / "precious", "precious");
    ASSERT_EQ(::symlink("../precious", Log("RecOffset.dat").c_str()), 0);
    EXPECT_EQ(OpenRecordOffsetDatabaseFile(), -1);
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    ASSERT_EQ(::link((m_app / "precious").c_str(), Log("RecOffset.dat").c_str()), 0);
    EXPECT_EQ(OpenRecordOffsetDatabaseFile(), -1);
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    ASSERT_EQ(::mkfifo(Log("RecOffset.dat").c_str(), 0666), 0);
    EXPECT_EQ(OpenRecordOffsetDatabaseFile(), -1);
    ASSERT_EQ(::unlink(Log("RecOffset.dat").c_str()), 0);
    ASSERT_EQ(::mkdir(Log("RecOffset.dat").c_str(), 0777), 0);
    EXPECT_EQ(OpenRecordOffsetDatabaseFile(), -1);
    ASSERT_EQ(::rmdir(Log("RecOffset.dat").c_str()), 0);
    ASSERT_EQ(::rmdir(Log("").c_str()), 0);
    EXPECT_EQ(OpenRecordOffsetDatabaseFile(), -1);
    EXPECT_EQ(ReadFile(m_app / "precious"), "precious");
}

TEST_F(LogFiles, AnOffsetIsStoredAtFourTimesItsIndex) {
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    ASSERT_TRUE(WriteRecordOffsetDatabaseFile(table.Get(), 0x01020304, 0));
    EXPECT_EQ(Content("RecOffset.dat"), "\x04\x03\x02\x01");
    ASSERT_TRUE(WriteRecordOffsetDatabaseFile(table.Get(), 308, 1));
    EXPECT_EQ(Content("RecOffset.dat"), "\x04\x03\x02\x01" + U32(308));
    ASSERT_TRUE(WriteRecordOffsetDatabaseFile(table.Get(), 88, 0));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308));
}

TEST_F(LogFiles, AGapInTheOffsetTableIsZeros) {
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    ASSERT_TRUE(WriteRecordOffsetDatabaseFile(table.Get(), 528, 3));
    EXPECT_EQ(Content("RecOffset.dat"), U32(0) + U32(0) + U32(0) + U32(528));
}

TEST_F(LogFiles, AnIndexIsNotCutTo32BitsOfBytes) {
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    ASSERT_TRUE(WriteRecordOffsetDatabaseFile(table.Get(), 88, 0x40000001));
    EXPECT_EQ(virus_log::SizeOf(table.Get()), 0x100000008);
}

TEST_F(LogFiles, AnOffsetThatDoesNotFitIsRefused) {
    Put("RecOffset.dat", U32(88));
    const common::FileDescriptor table(OpenRecordOffsetDatabaseFile());
    EXPECT_FALSE(WriteRecordOffsetDatabaseFile(table.Get(), 0x100000000, 0));
    EXPECT_FALSE(WriteRecordOffsetDatabaseFile(table.Get(), -1, 0));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88));
    EXPECT_TRUE(WriteRecordOffsetDatabaseFile(table.Get(), 0xFFFFFFFF, 0));
    EXPECT_EQ(Content("RecOffset.dat"), U32(0xFFFFFFFF));
    EXPECT_FALSE(WriteRecordOffsetDatabaseFile(-1, 88, 0));
}

}  // namespace
