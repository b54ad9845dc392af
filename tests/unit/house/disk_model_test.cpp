#include "tests/support/disk_model.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <set>
#include <sys/stat.h>

#include "tests/support/recorded_calls.h"
#include "tests/support/scratch.h"

// The disk on which the tests of durability cut the power.

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

class DiskModelTest : public testing::Test {
protected:
    DiskModelTest() { ::umask(022); }

    // What may be left after these calls, as strace would have written them: each state as
    // "NAME=CONTENT" of all that is there.
    std::set<std::string> Left(const std::string& recording) const {
        WriteFile(m_trace, recording);
        const auto calls = ReadRecording(m_trace);
        EXPECT_TRUE(calls);
        std::set<std::string> states;
        for (const Tree& tree : CutPowerDuring(m_root, *calls).atTheEnd) {
            std::string state;
            for (const auto& [path, entry] : tree) {
                state += path + "=" + entry.content + " ";
            }
            states.insert(state);
        }
        return states;
    }

    // Opens the folder as descriptor 3.
    [[nodiscard]] std::string OpenFolder() const {
        return "openat(AT_FDCWD, \"" + Escaped(m_root) + "\", O_RDONLY|O_DIRECTORY) = 3\n";
    }
    static std::string Escaped(const std::string& text) {
        constexpr char kDigits[] = "0123456789abcdef";
        std::string escaped;
        for (const char letter : text) {
            const auto byte = static_cast<unsigned char>(letter);
            escaped += std::string("\\x") + kDigits[byte >> 4U] + kDigits[byte & 15U];
        }
        return escaped;
    }

    ScratchFolder m_scratch;
    std::string m_root = m_scratch / "disk";
    std::string m_trace = m_scratch / "recording";

    void SetUp() override { std::filesystem::create_directory(m_root); }
};

// Makes "a" with "abcd" in it, as descriptor 4.
constexpr char kMake[] =
    "openat(3, \"\\x61\", O_WRONLY|O_CREAT|O_EXCL, 0644) = 4\n"
    "write(4, \"\\x61\\x62\\x63\\x64\", 4)   = 4\n";

TEST_F(DiskModelTest, OfAFileThatWasNotSyncedAnyPartMayBeLeft) {
    const std::string zeros(4, '\0');
    EXPECT_THAT(Left(OpenFolder() + kMake),
                UnorderedElementsAre("", "a= ", "a=ab ", "a=" + zeros + " ", "a=abcd "));
}

// As who trusts no link goes down to a folder.
TEST_F(DiskModelTest, TheFolderIsKnownByWhicheverWayItIsOpened) {
    const std::string above = "openat(AT_FDCWD, \"" + Escaped("/") + "\", O_RDONLY) = 6\n" +
                              "openat(6, \"" + Escaped(m_root.substr(1, m_root.rfind('/') - 1)) +
                              "\", O_RDONLY) = 5\nclose(6) = 0\n";
    EXPECT_THAT(Left(above + "openat(5, \"" + Escaped("disk") + "\", O_RDONLY) = 3\n" + kMake +
                     "fsync(4) = 0\nfsync(3) = 0\n"),
                ElementsAre("a=abcd "));
    EXPECT_THAT(Left(above + "close(5) = 0\nopenat(5, \"" + Escaped("disk") +
                     "\", O_RDONLY) = 3\n" + kMake + "fsync(4) = 0\nfsync(3) = 0\n"),
                ElementsAre(""));
}

TEST_F(DiskModelTest, ASyncOfTheFileKeepsItsBytesAndNotItsName) {
    EXPECT_THAT(Left(OpenFolder() + kMake + "fsync(4) = 0\n"), UnorderedElementsAre("", "a=abcd "));
}

TEST_F(DiskModelTest, ASyncOfTheFolderKeepsTheNameAndNotTheBytes) {
    const std::string zeros(4, '\0');
    EXPECT_THAT(Left(OpenFolder() + kMake + "fsync(3) = 0\n"),
                UnorderedElementsAre("a= ", "a=ab ", "a=" + zeros + " ", "a=abcd "));
    EXPECT_THAT(Left(OpenFolder() + kMake + "fsync(4) = 0\nfsync(3) = 0\n"),
                ElementsAre("a=abcd "));
}

TEST_F(DiskModelTest, ASyncThatFailedKeepsNothing) {
    EXPECT_EQ(Left(OpenFolder() + kMake + "fsync(4) = -1 EIO (Input/output error)\n"),
              Left(OpenFolder() + kMake));
}

TEST_F(DiskModelTest, ARenameIsOneChangeAndMayOvertakeTheBytes) {
    WriteFile(m_root + "/b", "old");
    const std::string rename = "renameat(3, \"\\x61\", 3, \"\\x62\") = 0\n";
    EXPECT_THAT(Left(OpenFolder() + kMake + "fsync(4) = 0\n" + rename + "fsync(3) = 0\n"),
                ElementsAre("b=abcd "));
    // Of the two changes of names each may have happened.
    EXPECT_THAT(Left(OpenFolder() + kMake + "fsync(4) = 0\n" + rename),
                UnorderedElementsAre("b=old ", "a=abcd b=old ", "b=abcd "));
    EXPECT_THAT(Left(OpenFolder() + kMake + rename + "fsync(3) = 0\n"), testing::Contains("b= "));
}

TEST_F(DiskModelTest, AModeIsKeptLikeTheBytes) {
    const std::string chmod = "fchmod(4, 0666) = 0\n";
    const auto modes = [&](const std::string& recording) {
        WriteFile(m_trace, recording);
        std::set<unsigned int> found;
        for (const Tree& tree : CutPowerDuring(m_root, *ReadRecording(m_trace)).atTheEnd) {
            found.insert(tree.at("a").mode);
        }
        return found;
    };
    EXPECT_THAT(modes(OpenFolder() + kMake + "fsync(3) = 0\nfsync(4) = 0\n" + chmod),
                ElementsAre(0644U, 0666U));
    EXPECT_THAT(modes(OpenFolder() + kMake + chmod + "fsync(3) = 0\nfsync(4) = 0\n"),
                ElementsAre(0666U));
}

TEST_F(DiskModelTest, ARecordingThatIsCutIsNotUnderstood) {
    WriteFile(m_trace, "write(4, \"\\x61\"..., 4) = 4\n");
    EXPECT_FALSE(ReadRecording(m_trace));
    WriteFile(m_trace, "write(4, \"\\x61\", 1 <unfinished ...>\n");
    EXPECT_FALSE(ReadRecording(m_trace));
}

}  // namespace
