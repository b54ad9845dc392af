#include <chrono>
#include <climits>
#include <ctime>
#include <pwd.h>
#include <sched.h>
#include <sys/utsname.h>

#include "reports/virus_log/virus_log.h"
#include "tests/unit/reports/virus_log/virus_log_fixture.h"

namespace {

std::string ThisComputer() {
    struct utsname names {};
    EXPECT_EQ(::uname(&names), 0);
    return Padded(Wide(std::string_view(names.nodename).substr(0, 18)), 36);
}

std::string ThisUser() {
    const struct passwd* user = ::getpwuid(::geteuid());
    return Padded(Wide(std::string_view(user->pw_name).substr(0, 15)), 32);
}

std::string ThisDomain() {
    std::array<char, 260> name{};
    EXPECT_EQ(::getdomainname(name.data(), name.size()), 0);
    return Wide(name.data());
}

std::string ThisIdentity() {
    return U32(5) + U32(12) + std::string(32, '\0') + ThisComputer();
}

// The record of this user and machine, made at the time that stands in `record`.
std::string ThisRecord(std::uint32_t component, const std::string& widePath,
                       const std::string& virus, const std::string& wideAction,
                       std::string_view time) {
    return U32(static_cast<std::uint32_t>(widePath.size())) +
           U32(static_cast<std::uint32_t>(ThisDomain().size())) + U32(component) +
           Padded(virus, 50) + Padded(wideAction, 100) + std::string(time) + ThisUser() + widePath +
           ThisDomain();
}

unsigned int U16At(std::string_view bytes, std::size_t at) {
    return static_cast<unsigned char>(bytes[at]) |
           static_cast<unsigned int>(static_cast<unsigned char>(bytes[at + 1])) << 8U;
}

// Seconds between the time in a record and now.
double SecondsAgo(std::string_view time) {
    std::tm local{};
    local.tm_year = static_cast<int>(U16At(time, 0)) - 1900;
    local.tm_mon = static_cast<int>(U16At(time, 2)) - 1;
    local.tm_mday = static_cast<int>(U16At(time, 6));
    local.tm_hour = static_cast<int>(U16At(time, 8));
    local.tm_min = static_cast<int>(U16At(time, 10));
    local.tm_sec = static_cast<int>(U16At(time, 12));
    local.tm_isdst = -1;
    return std::difftime(std::time(nullptr), std::mktime(&local));
}

using AddRecord = VirusLogTest;

TEST_F(AddRecord, TheFirstOneMakesTheLog) {
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/home/a.com", "Eicar-Test", "File is Deleted"));

    const std::string log = Content("VirRcONE.dat");
    ASSERT_GE(log.size(), 88U + 210U);
    const std::string time = log.substr(88 + 162, 16);
    EXPECT_EQ(log, U32(0) + U32(1) + U32(0) + ThisIdentity() +
                       ThisRecord(8000, Wide("/home/a.com"), "Eicar-Test", Wide("File is Deleted"),
                                  time));
    EXPECT_GE(SecondsAgo(time), 0);
    EXPECT_LE(SecondsAgo(time), 60);
    EXPECT_LE(U16At(time, 4), 6U);     // day of week
    EXPECT_LE(U16At(time, 14), 999U);  // milliseconds
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88));
    EXPECT_FALSE(Exists(Log("VirRcTWO.dat")));
}

TEST_F(AddRecord, TheNextOnesFollowAndAreCounted) {
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    Put("VirRcONE.dat", HeadBytes(2) + RecordBytes("/a") + RecordBytes("/bb"));
    Put("RecOffset.dat", U32(88) + U32(308));
    ASSERT_TRUE(ZQVRAddRecVirusReport(1, "/c", "V", "A"));

    const std::string log = Content("VirRcONE.dat");
    EXPECT_EQ(log.substr(0, 88), U32(0) + U32(3) + U32(0) + ThisIdentity());
    EXPECT_EQ(log.substr(88, 220 + 222), RecordBytes("/a") + RecordBytes("/bb"));
    EXPECT_EQ(log.substr(530), ThisRecord(1, Wide("/c"), "V", Wide("A"), log.substr(692, 16)));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(308) + U32(530));
}

TEST_F(AddRecord, TheCounterBlocksOtherWordsBecomeZero) {
    Put("VirRcONE.dat", U32(7) + U32(0) + U32(9) + std::string(76, 'x'));
    ASSERT_TRUE(ZQVRAddRecVirusReport(1, "/c", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat").substr(0, 88), U32(0) + U32(1) + U32(0) + ThisIdentity());
}

TEST_F(AddRecord, ACounterBlockThatIsNotWholeCountsAsZero) {
    Put("VirRcONE.dat", U32(0) + U32(5));
    ASSERT_TRUE(ZQVRAddRecVirusReport(1, "/c", "V", "A"));
    const std::string log = Content("VirRcONE.dat");
    EXPECT_EQ(log.substr(0, 88), U32(0) + U32(1) + U32(0) + ThisIdentity());
    EXPECT_EQ(log.substr(88), ThisRecord(1, Wide("/c"), "V", Wide("A"), log.substr(250, 16)));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88));
}

TEST_F(AddRecord, AnEmptyFileIsAnEmptyLog) {
    Put("VirRcONE.dat", "");
    Put("RecOffset.dat", "");
    ASSERT_TRUE(ZQVRAddRecVirusReport(1, "/c", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat").substr(0, 12), U32(0) + U32(1) + U32(0));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88));
}

TEST_F(AddRecord, LongTextsAreCutToTheirFields) {
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/c", std::string(60, 'v').c_str(),
                                      std::string(60, 'a').c_str()));
    const std::string log = Content("VirRcONE.dat");
    EXPECT_EQ(log.substr(88 + 12, 50), std::string(50, 'v'));
    EXPECT_EQ(log.substr(88 + 62, 100), Wide(std::string(50, 'a')));
}

TEST_F(AddRecord, ACharacterOfTwoUnitsIsNotCutInHalf) {
    const std::string action = std::string(49, 'a') + "\xF0\x9F\x98\x80";
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/c", "V", action.c_str()));
    EXPECT_EQ(Content("VirRcONE.dat").substr(88 + 62, 100),
              Wide(std::string(49, 'a')) + std::string(2, '\0'));
}

TEST_F(AddRecord, APathIsUtf16AndItsOtherBytesComeBack) {
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/\xC3\xA4\xF0\x9F\x98\x80\xFF", "V", "A"));
    const std::string log = Content("VirRcONE.dat");
    EXPECT_EQ(log.substr(88, 4), U32(10));
    EXPECT_EQ(log.substr(88 + 210, 10), std::string("/\0\xE4\0\x3D\xD8\x00\xDE\xFF\xDC", 10));
}

TEST_F(AddRecord, APathOfAnyLengthAndEmptyTextsAreRecorded) {
    const std::string path = "/" + std::string(PATH_MAX, 'p');
    ASSERT_TRUE(ZQVRAddRecVirusReport(0, path.c_str(), "", ""));
    const std::string log = Content("VirRcONE.dat");
    EXPECT_EQ(log.substr(88 + 210, path.size() * 2), Wide(path));
    EXPECT_EQ(log.substr(88 + 12, 150), std::string(150, '\0'));
    ASSERT_TRUE(ZQVRAddRecVirusReport(0, "", "V", "A"));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88) + U32(static_cast<std::uint32_t>(log.size())));
}

TEST_F(AddRecord, DuringAResetTheSecondFileReceivesItWithoutAnOffset) {
    Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat"));
    Put("VirRcONE.dat", HeadBytes(1) + RecordBytes("/a"));
    Put("RecOffset.dat", U32(88));
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat"), HeadBytes(1) + RecordBytes("/a"));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88));
    const std::string second = Content("VirRcTWO.dat");
    EXPECT_EQ(second.substr(0, 88), U32(0) + U32(1) + U32(0) + ThisIdentity());
    EXPECT_EQ(second.substr(88),
              ThisRecord(8000, Wide("/b"), "V", Wide("A"), second.substr(250, 16)));
}

TEST_F(AddRecord, TheMainFilesNameIsKnownInAnyCase) {
    Put("VirMain.dat", MainBytes(0, "virrcone.DAT"));
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(Content("virrcone.DAT").substr(4, 4), U32(1));
    EXPECT_EQ(Content("RecOffset.dat"), U32(88));
}

TEST_F(AddRecord, AMainFileThatIsShortIsMadeAnew) {
    Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat").substr(0, 103));
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(Content("VirMain.dat"), MainBytes(0, "VirRcONE.dat"));
    EXPECT_TRUE(Exists(Log("VirRcONE.dat")));
}

TEST_F(AddRecord, AMainFileThatNamesAnotherFolderIsRefused) {
    WriteFile(m_app / "precious", "precious");
    for (const char* name : {"../precious", "", ".", "..", "../VirRcONE.dat"}) {
        Put("VirMain.dat", MainBytes(0, name));
        EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", "A")) << name;
    }
    EXPECT_EQ(ReadFile(m_app / "precious"), "precious");
    EXPECT_FALSE(Exists(m_app / "VirRcONE.dat"));
}

TEST_F(AddRecord, AMainFileThatNamesAnotherFileIsRefused) {
    Put("scn1.log", "precious");
    for (const char* name : {"scn1.log", "RecOffset.dat", "VirMain.dat", "new"}) {
        Put("VirMain.dat", MainBytes(0, name));
        EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", "A")) << name;
    }
    EXPECT_EQ(Content("scn1.log"), "precious");
    EXPECT_FALSE(Exists(Log("new")));
}

TEST_F(AddRecord, TheSecondFileIsEverybodysWhereTheMainOneIs) {
    Put("VirMain.dat", MainBytes(1, "VirRcTWO.dat"));
    Put("VirRcONE.dat", "");
    ASSERT_EQ(::chmod(Log("VirRcONE.dat").c_str(), 0666), 0);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(ModeOf(Log("VirRcTWO.dat")), 0666U);
}

TEST_F(AddRecord, NothingIsWrittenThroughALink) {
    WriteFile(m_app / "precious", "precious");
    for (const char* name : {"VirRcONE.dat", "RecOffset.dat"}) {
        ASSERT_EQ(::symlink("../precious", Log(name).c_str()), 0);
        EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", "A")) << name;
        ASSERT_EQ(::unlink(Log(name).c_str()), 0);
    }
    EXPECT_EQ(ReadFile(m_app / "precious"), "precious");
}

TEST_F(AddRecord, ATextThatIsMissingFails) {
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, nullptr, "V", "A"));
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", nullptr, "A"));
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", nullptr));
    EXPECT_EQ(Content("VirRcONE.dat"), "(missing)");
}

TEST_F(AddRecord, WithoutTheVersionRecordNothingIsRecorded) {
    ASSERT_EQ(::unlink(m_version.c_str()), 0);
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    WriteFile(m_version, std::string(19, '\0'));
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat"), "(missing)");
    EXPECT_EQ(Content("VirMain.dat"), "(missing)");
}

TEST_F(AddRecord, SomebodyWithoutANameRecordsNothing) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "no right to become another user";
    }
    constexpr uid_t kNameless = 54'321;
    ASSERT_EQ(::getpwuid(kNameless), nullptr);
    ASSERT_EQ(::chmod(m_app.Path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod((m_app / "reports").c_str(), 0777), 0);
    EXPECT_EQ(InChild([] {
                  return ::setuid(kNameless) != 0
                             ? 2
                             : static_cast<int>(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
              }),
              0);
    EXPECT_EQ(Content("VirRcONE.dat"), "(missing)");
}

TEST_F(AddRecord, TheUserNameHasAtMost15Units) {
    if (::geteuid() != 0 || !HasPrivateRoot()) {
        GTEST_SKIP() << "the user database is only replaced in a private root, as root";
    }
    constexpr char kUsers[] = "/etc/passwd";
    const std::string before = ReadFile(kUsers);
    for (const char* name : {"a23456789012345", "a234567890123456", "a2345678901234567890"}) {
        WriteFile(kUsers, std::string(name) + ":x:0:0::/root:/bin/sh\n");
        ::unlink(Log("VirRcONE.dat").c_str());
        EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A")) << name;
        EXPECT_EQ(Content("VirRcONE.dat").substr(88 + 178, 32),
                  Wide("a23456789012345") + std::string(2, '\0'));
    }
    WriteFile(kUsers, before);
}

TEST_F(AddRecord, TheComputerNameFillsItsField) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "no right to call the machine by another name";
    }
    for (const std::string name : {"a23456789012345678", "a2345678901234567890"}) {
        ::unlink(Log("VirRcONE.dat").c_str());
        const int result = InChild([&name] {
            return ::unshare(CLONE_NEWUTS) != 0 || ::sethostname(name.data(), name.size()) != 0
                       ? 2
                       : static_cast<int>(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
        });
        if (result == 2) {
            GTEST_SKIP() << "no right to call the machine by another name";
        }
        EXPECT_EQ(result, 1);
        EXPECT_EQ(Content("VirRcONE.dat").substr(52, 36), Wide("a23456789012345678"));
    }
}

TEST_F(AddRecord, AVersionIsSigned) {
    WriteFile(m_version, std::string("\xFF\xFF\xFE\xFF", 4) + std::string(16, '\0'));
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat").substr(12, 8), U32(0xFFFFFFFF) + U32(0xFFFFFFFE));
}

TEST_F(AddRecord, FilesAreMadeWithTheirModes) {
    const mode_t mask = ::umask(0);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    ::umask(mask);
    EXPECT_EQ(ModeOf(Log("VirMain.dat")), 0644U);
    EXPECT_EQ(ModeOf(Log("VirRcONE.dat")), 0644U);
    EXPECT_EQ(ModeOf(Log("RecOffset.dat")), 0644U);
}

TEST_F(AddRecord, AMissingFolderIsMadeWithItsOddMode) {
    ASSERT_EQ(::rmdir(Log("").c_str()), 0);
    const bool added = ZQVRAddRecVirusReport(8000, "/b", "V", "A");
    EXPECT_EQ(ModeOf(m_app / "reports"), 0666U);
    // Only who needs no right to search a folder can put the file in.
    EXPECT_EQ(added, ::access(Log("VirRcONE.dat").c_str(), F_OK) == 0);
    EXPECT_EQ(added, ::geteuid() == 0);
}

TEST_F(AddRecord, AFolderThatIsThereKeepsItsMode) {
    ASSERT_EQ(::chmod((m_app / "reports").c_str(), 01777), 0);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(ModeOf(m_app / "reports"), 01777U);
}

TEST_F(AddRecord, WaitsFiveSecondsForTheMutex) {
    HeldMutex held(10011);
    ASSERT_TRUE(held.IsHeld());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited.count(), 4.9);
    EXPECT_LT(waited.count(), 9);
    EXPECT_EQ(Content("VirRcONE.dat"), "(missing)");
    EXPECT_TRUE(IsMutexHeld(10011)) << "the mutex is its owner's still";
    held.Release();
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
}

TEST_F(AddRecord, TheMainFilesMutexIsNotNeededWhileTheFileIsWhole) {
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    const HeldMutex held(10022);
    ASSERT_TRUE(held.IsHeld());
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
}

TEST_F(AddRecord, AnOffsetThatCannotBeStoredTakesTheRecordBack) {
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    const std::string before = HeadBytes(1) + RecordBytes("/a");
    Put("VirRcONE.dat", before);
    ASSERT_EQ(::mkdir(Log("RecOffset.dat").c_str(), 0777), 0);
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat"), before);
}

TEST_F(AddRecord, ACountThatCannotBeTrueIsLeftAlone) {
    for (const std::uint32_t count : {89U, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        const std::string before = HeadBytes(count);
        Put("VirRcONE.dat", before);
        EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/b", "V", "A")) << count;
        EXPECT_EQ(Content("VirRcONE.dat"), before);
        EXPECT_EQ(Content("RecOffset.dat"), "(missing)") << "a table of gigabytes";
    }
    // As many records as bytes is as far as it goes.
    Put("VirRcONE.dat", HeadBytes(88));
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, "/b", "V", "A"));
}

TEST_F(FullDiskLogTest, ARecordThatDoesNotFitLeavesTheLogAsItWas) {
    ASSERT_TRUE(ZQVRAddRecVirusReport(8000, "/a", "V", "A"));
    const std::string log = Content("VirRcONE.dat");
    const std::string table = Content("RecOffset.dat");
    Fill();
    const std::string path = "/" + std::string(PATH_MAX, 'p');
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, path.c_str(), "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat"), log);
    EXPECT_EQ(Content("RecOffset.dat"), table);
    ASSERT_EQ(::unlink(Log("filler").c_str()), 0);
    EXPECT_TRUE(ZQVRAddRecVirusReport(8000, path.c_str(), "V", "A"));
    EXPECT_EQ(Content("RecOffset.dat"), table + U32(static_cast<std::uint32_t>(log.size())));
}

TEST_F(FullDiskLogTest, TheFirstRecordThatDoesNotFitLeavesAnEmptyFile) {
    Put("VirMain.dat", MainBytes(0, "VirRcONE.dat"));
    Fill();
    EXPECT_FALSE(ZQVRAddRecVirusReport(8000, "/a", "V", "A"));
    EXPECT_EQ(Content("VirRcONE.dat"), "");
}

}  // namespace
