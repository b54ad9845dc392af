// corvane-mirror as an administrator calls it.

#include "tests/unit/product/mirror/mirror_program.h"

#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"

namespace {

namespace fs = std::filesystem;
using signed_index::Index;
using signed_index::Refusal;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::int64_t kDay = 86'400;  // seconds

TEST_F(MirrorProgram, MakesASignedMirror) {
    const std::time_t before = std::time(nullptr);
    ASSERT_EQ(Make(), 0) << Err();
    const Index index = Accepted();
    ASSERT_THAT(index.files, SizeIs(2));
    EXPECT_EQ(index.files[0].name, "daily.ndb");
    EXPECT_EQ(index.files[0].size, 17U);
    EXPECT_EQ(index.files[0].version, 0U);
    EXPECT_EQ(index.files[1].name, "own.hdb");
    EXPECT_EQ(ReadFile(FileOf("daily signatures\n")), "daily signatures\n");
    EXPECT_GE(index.made, before);
    EXPECT_EQ(index.expires, index.made + 14 * kDay);
    EXPECT_EQ(index.serial, static_cast<std::uint64_t>(index.made));
    EXPECT_EQ(Out(), "2 databases, serial " + std::to_string(index.serial) + ", expires " +
                         signed_index::FormatUtcTime(index.expires) + "\n");
}

TEST_F(MirrorProgram, MakesFilesThatAWebServerMayReadWhateverTheUmask) {
    const mode_t before = ::umask(077);
    const int status = Make();
    ::umask(before);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(ModeOf(m_folder / "mirror/index.json"), 0644U);
    EXPECT_EQ(ModeOf(m_folder / "mirror/index.json.minisig"), 0644U);
    EXPECT_EQ(ModeOf(FileOf("own signatures\n")), 0644U);
}

TEST_F(MirrorProgram, TheSerialGrowsAlsoWithinASecondAndWithAClockThatWentBack) {
    ASSERT_EQ(Make(), 0);
    const std::uint64_t first = Accepted().serial;
    ASSERT_EQ(Make(), 0);
    EXPECT_GT(Accepted().serial, first);
    WriteFile(m_folder / "mirror/index.json",
              MirrorContents{.serial = 1'000'000'000'000, .files = {{"a.hdb", "a"}}}.IndexText());
    ASSERT_EQ(Make(), 0);
    EXPECT_EQ(Accepted().serial, 1'000'000'000'001U);
}

TEST_F(MirrorProgram, FilesOfTheStateBeforeStayForOneMoreTime) {
    ASSERT_EQ(Make(), 0);
    WriteFile(m_folder / "source/own.hdb", "own signatures 2\n");
    ASSERT_EQ(Make(), 0);
    EXPECT_TRUE(Exists(FileOf("own signatures\n")));
    EXPECT_TRUE(Exists(FileOf("own signatures 2\n")));
    ASSERT_EQ(Make(), 0);
    EXPECT_FALSE(Exists(FileOf("own signatures\n")));
    EXPECT_TRUE(Exists(FileOf("own signatures 2\n")));
    EXPECT_TRUE(Exists(FileOf("daily signatures\n")));
}

TEST_F(MirrorProgram, AFileThatTheDiskDamagedIsWrittenAnew) {
    ASSERT_EQ(Make(), 0);
    WriteFile(FileOf("own signatures\n"), "own signaturex\n");
    ASSERT_EQ(Make(), 0);
    EXPECT_EQ(ReadFile(FileOf("own signatures\n")), "own signatures\n");
}

TEST_F(MirrorProgram, AnUnchangedFileIsNotWrittenAgain) {
    ASSERT_EQ(Make(), 0);
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(::stat(FileOf("own signatures\n").c_str(), &before), 0);
    ASSERT_EQ(Make(), 0);
    ASSERT_EQ(::stat(FileOf("own signatures\n").c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
}

TEST_F(MirrorProgram, AnotherOneAtTheSameTimeIsRefused) {
    ASSERT_EQ(Make(), 0);
    const common::FileDescriptor mirror(
        ::open((m_folder / "mirror").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ASSERT_EQ(::flock(mirror.Get(), LOCK_EX), 0);
    for (const char* arguments : {"--from source --key key mirror", "--signed mirror"}) {
        EXPECT_EQ(Run(arguments), 1);
        EXPECT_EQ(Err(), "corvane-mirror: mirror: the mirror is being written by somebody else\n");
    }
}

// As a machine reads it: the signature of another index is looked for under the index's digest.
TEST_F(MirrorProgram, KilledAtAnyCallTheOldOrTheNewStateIsThereWhole) {
    if (std::system("strace -o /dev/null true >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
    }
    ASSERT_EQ(Make(), 0);
    int killed = 0;
    int renewed = 0;
    for (const std::string call : {"renameat", "fsync", "unlinkat", "fchmod"}) {
        bool wasKilled = true;
        for (int number = 1; wasKilled; ++number) {
            SCOPED_TRACE(call + " " + std::to_string(number));
            ASSERT_LT(number, 60);
            const Index before = Accepted();
            WriteFile(m_folder / "source/own.hdb", call + std::to_string(number) + "\n");
            const std::string command =
                "cd " + m_folder.Path() +
                " && ASAN_OPTIONS=detect_leaks=0 strace -o /dev/null -e inject=" + call +
                ":signal=KILL:when=" + std::to_string(number) + " '" + MIRROR_PROGRAM +
                "' --from source --key key mirror >out 2>err </dev/null";
            wasKilled = std::system(command.c_str()) != 0;
            killed += wasKilled ? 1 : 0;
            Index found;
            if (Accept(found) != Refusal::kNone) {
                const std::string text = ReadFile(m_folder / "mirror/index.json");
                fs::copy_file(m_folder / ("mirror/files/" + Sha256Text(text) + ".minisig"),
                              m_folder / "mirror/index.json.minisig",
                              fs::copy_options::overwrite_existing);
            }
            found = Accepted();
            renewed += wasKilled && found.serial > before.serial ? 1 : 0;
            for (const auto& file : found.files) {
                EXPECT_EQ(Sha256Text(ReadFile(m_folder / ("mirror/files/" + file.sha256))),
                          file.sha256);
            }
            ASSERT_EQ(Make(), 0) << Err();
        }
    }
    EXPECT_GT(killed, 15);
    EXPECT_GT(renewed, 2) << "some of them after the change";
}

TEST_F(MirrorProgram, NothingOfOldStatesIsLeft) {
    for (int i = 0; i < 4; ++i) {
        WriteFile(m_folder / "source/own.hdb", std::to_string(i) + "\n");
        ASSERT_EQ(Make(), 0);
    }
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& file : fs::directory_iterator(m_folder / "mirror/files")) {
        ++count;
    }
    EXPECT_EQ(count, 5U) << "what did not change, and of two states a file and a signature";
}

TEST_F(MirrorProgram, ItsSignatureSatisfiesMinisign) {
    if (std::system("minisign -v >/dev/null 2>&1") != 0) {
        GTEST_SKIP() << "minisign is not installed";
    }
    ASSERT_EQ(Make(), 0);
    WriteFile(m_folder / "key.pub", kMirrorPublicKey);
    const std::string verify =
        "cd " + m_folder.Path() + " && minisign -V -p key.pub -m mirror/index.json >out";
    EXPECT_EQ(std::system(verify.c_str()), 0);
    EXPECT_THAT(Out(), HasSubstr("corvane mirror, serial "));
}

TEST_F(MirrorProgram, DaysSayWhenTheIndexExpires) {
    ASSERT_EQ(Run("--days 365 --from source --key key mirror"), 0);
    EXPECT_EQ(Accepted().expires, Accepted().made + 365 * kDay);
}

TEST_F(MirrorProgram, TheFirstFolderThatHasADatabaseWins) {
    fs::create_directory(m_folder / "more");
    WriteFile(m_folder / "more/own.hdb", "of more\n");
    WriteFile(m_folder / "more/yet.hdb", "yet more\n");
    ASSERT_EQ(Run("--from source --from more --key key mirror"), 0) << Err();
    ASSERT_THAT(Accepted().files, SizeIs(3));
    EXPECT_TRUE(Exists(FileOf("own signatures\n")));
    EXPECT_FALSE(Exists(FileOf("of more\n")));
}

// A head as containers have it; the mirror takes name and version from it.
std::string Container(int version) {
    std::string head = "ClamAV-VDB:22 Nov 2026 03-00 +0000:" + std::to_string(version) +
                       ":1:90:X:X:test:1795316400";
    head.resize(512, ' ');
    return head + "body of version " + std::to_string(version);
}

TEST_F(MirrorProgram, OfADatabaseAtTwoAgesTheNewerOneIsTaken) {
    WriteFile(m_folder / "source/main.cvd", Container(60));
    WriteFile(m_folder / "source/main.cld", Container(62));
    WriteFile(m_folder / "source/daily.cvd", Container(27000));
    WriteFile(m_folder / "source/daily.cld", Container(26999));
    ASSERT_EQ(Make(), 0) << Err();
    const Index index = Accepted();
    ASSERT_THAT(index.files, SizeIs(4));
    EXPECT_EQ(index.files[0].name, "daily.cvd");
    EXPECT_EQ(index.files[0].version, 27000U);
    EXPECT_EQ(index.files[2].name, "main.cld");
    EXPECT_EQ(index.files[2].version, 62U);
}

TEST_F(MirrorProgram, TakesWhatThisMachineUsesUnlessTold) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "the system's own folders are filled only in a private root";
    }
    fs::create_directories("/usr/lib/Corvane/Corvane/defs/set-1");
    WriteFile("/usr/lib/Corvane/Corvane/defs/set-1/own.hdb", "own\n");
    WriteFile("/usr/lib/Corvane/Corvane/defs/set-1/scanver.cnf", std::string(20, 'v'));
    WriteFile("/usr/lib/Corvane/Corvane/defs/set-1/index.json", "{}");
    fs::create_symlink("set-1", "/usr/lib/Corvane/Corvane/defs/current");
    fs::create_directories("/var/lib/clamav");
    for (const auto& entry : fs::directory_iterator("/var/lib/clamav")) {
        fs::remove_all(entry.path());
    }
    WriteFile("/var/lib/clamav/daily.cvd", Container(27000));
    WriteFile("/var/lib/clamav/local.hdb", "somebody's own\n");
    ASSERT_EQ(Run("--key key mirror"), 0) << Err();
    const Index index = Accepted();
    ASSERT_THAT(index.files, SizeIs(2));
    EXPECT_EQ(index.files[0].name, "daily.cvd");
    EXPECT_EQ(index.files[1].name, "own.hdb");
}

TEST_F(MirrorProgram, FailsWithoutDatabasesAndLeavesTheMirrorAsItWas) {
    ASSERT_EQ(Make(), 0);
    const std::string before = ReadFile(m_folder / "mirror/index.json");
    fs::create_directory(m_folder / "empty");
    EXPECT_EQ(Run("--from empty --key key mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: there are no databases to publish\n");
    EXPECT_EQ(Run("--from nothing --key key mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: nothing: No such file or directory\n");
    WriteFile(m_folder / "source/void.hdb", "");
    EXPECT_EQ(Make(), 1);
    EXPECT_EQ(Err(),
              "corvane-mirror: source/void.hdb: a database of this size cannot be published\n");
    EXPECT_EQ(Run("--from \"$(printf 'no\\nthing\\033')\" --key key mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: no\\u{000a}thing\\u{001b}: No such file or directory\n");
    EXPECT_EQ(ReadFile(m_folder / "mirror/index.json"), before);
    EXPECT_THAT(Accepted().files, SizeIs(2));
}

TEST_F(MirrorProgram, FailsWithAKeyThatCannotSign) {
    WriteFile(m_folder / "bad", "no key");
    EXPECT_EQ(Run("--from source --key bad mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: bad: the file holds no secret key\n");
    EXPECT_EQ(Run("--from source --key none mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: none: No such file or directory\n");
    EXPECT_FALSE(Exists(m_folder / "mirror"));
}

TEST_F(MirrorProgram, FailsOnAFullDiskAndLeavesTheMirrorAsItWas) {
    fs::create_directory(m_folder / "mirror");
    const TinyDisk disk(m_folder / "mirror", "64k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "nothing may be mounted here";
    }
    ASSERT_EQ(Make(), 0);
    const std::string before = ReadFile(m_folder / "mirror/index.json");
    WriteFile(m_folder / "source/own.hdb", std::string(100'000, 'x'));
    EXPECT_EQ(Make(), 1);
    EXPECT_THAT(Err(), HasSubstr("No space left on device"));
    EXPECT_EQ(ReadFile(m_folder / "mirror/index.json"), before);
    EXPECT_THAT(Accepted().files, SizeIs(2));
}

TEST_F(MirrorProgram, FailsWhenStandardOutputIsFull) {
    const std::string command =
        std::string("'") + MIRROR_PROGRAM + "' --help >/dev/full 2>" + (m_folder / "err");
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_EQ(Err(), "corvane-mirror: standard output: No space left on device\n");
}

TEST_F(MirrorProgram, RefusesWrongArguments) {
    for (const char* arguments :
         {"", "a b", "--days 0 a", "--days 366 a", "--days x a", "--days 5x a", "--days -1 a",
          "--key", "--no-such-option a", "-x a", "''"}) {
        EXPECT_EQ(Run(arguments), 2) << arguments;
        EXPECT_THAT(Err(), StartsWith("corvane-mirror: ")) << arguments;
        EXPECT_THAT(Err(), HasSubstr("Try \"corvane-mirror --help\".\n")) << arguments;
    }
}

TEST_F(MirrorProgram, TellsItsUsageAndVersion) {
    EXPECT_EQ(Run("--help"), 0);
    EXPECT_THAT(Out(), StartsWith("Usage: corvane-mirror "));
    EXPECT_EQ(Run("--version"), 0);
    EXPECT_EQ(Out(), "corvane-mirror " CORVANE_VERSION "\n");
}

TEST_F(MirrorProgram, EveryOptionStandsInTheManual) {
    std::string manual = ReadFile(CORVANE_SOURCE "/product/mirror/corvane-mirror.1");
    std::erase(manual, '\\');
    for (const char* option : {"--from", "--key", "--days", "--help", "--version"}) {
        EXPECT_THAT(manual, HasSubstr(option));
        EXPECT_THAT(ReadFile(CORVANE_SOURCE "/product/mirror/options.cpp"), HasSubstr(option));
    }
}

}  // namespace
