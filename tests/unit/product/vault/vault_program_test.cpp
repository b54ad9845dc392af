// corvane-vault as people call it.

#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/xattr.h>

#include "tests/unit/product/vault/vault_fixture.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

constexpr char kContents[] = "bad contents";
constexpr char kSha256[] = "807790cb9bb33e1893775cf3d35f33c174f264396123dc18229048c791d80007";

class VaultProgram : public VaultTest {
protected:
    int Run(const std::string& arguments, const std::string& input = "",
            const std::string& output = "out") {
        WriteFile(m_files / "in", input);
        const std::string command = "cd " + m_files.Path() + " && '" + VAULT_PROGRAM + "' " +
                                    arguments + " <in 2>err >" + output;
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    [[nodiscard]] std::string Out() const { return ReadFile(m_files / "out"); }
    [[nodiscard]] std::string Err() const { return ReadFile(m_files / "err"); }

    // Makes the file, keeps it and deletes it: the item's name.
    std::string KeepAndDelete(const std::string& path, mode_t mode = 0640,
                              const std::string& contents = kContents) {
        fs::create_directories(fs::path(path).parent_path());
        WriteFile(path, contents);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        const timespec times[2] = {{1'000'000'000, 0}, {1'100'000'000, 123'000}};
        EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        std::string name = Keep(path);
        EXPECT_NE(name, "") << m_why;
        fs::remove(path);
        return name;
    }
    std::string m_bad = m_files / "d/bad.com";
};

TEST_F(VaultProgram, SaysThatNothingIsKept) {
    EXPECT_EQ(Run("list"), 0);
    EXPECT_EQ(Out(), "Nothing is kept.\n");
    EXPECT_EQ(Err(), "");
    EXPECT_EQ(Run("empty"), 0);
    EXPECT_EQ(Out(), "Nothing is kept.\n");
    EXPECT_FALSE(Exists(m_vault)) << "looking makes nothing";
}

TEST_F(VaultProgram, ListsTheOldestFirst) {
    const std::string second = KeepAndDelete(m_bad);
    const std::string first = "20010203-040506-00000000";
    fs::copy(Folder() + second, Folder() + first);
    ASSERT_EQ(Run("list"), 0) << Err();
    const std::string user = "[^ ]+ *";
    EXPECT_THAT(Out(),
                MatchesRegex("ITEM                      KEPT                 OWNER *  "
                             "SIZE  VIRUS       PATH\n" +
                             first + "  2001-02-03 04:05:06  " + user + "    12  Test.Virus  " +
                             m_bad + "\n" + second + "  20[-0-9]{8} [:0-9]{8}  " + user +
                             "    12  Test.Virus  " + m_bad + "\n"));
}

TEST_F(VaultProgram, ShowsHostileNamesAsEscapes) {
    const std::string name = KeepAndDelete(m_files / "d/\x1B[2J\nevil\xE2\x80\xAE\xFF.com");
    const std::string shown = m_files / R"(d/\u{001b}[2J\u{000a}evil\u{202e}\xff.com)";
    ASSERT_EQ(Run("list"), 0);
    EXPECT_THAT(Out(), HasSubstr("Test.Virus  " + shown + "\n"));
    ASSERT_EQ(Run("show " + name), 0);
    EXPECT_THAT(Out(), HasSubstr("Path:      " + shown + "\n"));
    ASSERT_EQ(Run("restore " + name), 0) << Err();
    EXPECT_EQ(Out(), shown + "\n");
}

TEST_F(VaultProgram, ListsForProgramsAnObjectALine) {
    EXPECT_EQ(Run("list --json"), 0);
    EXPECT_EQ(Out(), "");
    const std::string second = KeepAndDelete(m_files / "d/a\"b\nc\xFF.com");
    const std::string first = "20010203-040506-00000000";
    WriteFile(Folder() + first, "damaged");
    fs::permissions(Folder() + first, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(Run("list --json"), 1);
    EXPECT_THAT(Err(), HasSubstr("1 item cannot be read"));
    const std::string path = m_files / R"(d/a\"b\\u{000a}c\\xff.com)";
    EXPECT_THAT(
        Out(),
        MatchesRegex(
            R"(\{"item":")" + first + R"(","kept":981173106,"owner":"[^"]+","problem":"[^"]+"\})" +
            "\n" + R"(\{"item":")" + second +
            R"(","kept":[0-9]{10},"owner":"[^"]+","size":12,"virus":"Test.Virus","path":".*"\})" +
            "\n"));
    EXPECT_THAT(Out(), HasSubstr("\"path\":\"" + path + "\"}\n"));
}

TEST_F(VaultProgram, ShowsAllThatIsKnown) {
    fs::create_directory(m_files / "d");
    WriteFile(m_bad, kContents);
    const bool hasAttributes = setxattr(m_bad.c_str(), "user.note", "abc", 3, 0) == 0;
    const std::string name = KeepAndDelete(m_bad, 04750);
    ASSERT_EQ(Run("show " + name), 0) << Err();
    EXPECT_THAT(Out(), StartsWith("Item:      " + name + "\nPath:      " + m_bad +
                                  "\nVirus:     Test.Virus\nDatabase:  275.12\nKept:      20"));
    EXPECT_THAT(Out(),
                HasSubstr("\nSize:      12\nSHA-256:   " + std::string(kSha256) + "\nOwner:     "));
    EXPECT_THAT(Out(), HasSubstr("\nMode:      4750\nModified:  2004-11-09 11:33:20\n"
                                 "Accessed:  2001-09-09 01:46:40\n"));
    if (hasAttributes) {
        EXPECT_THAT(Out(), HasSubstr("Attribute: user.note, 3 bytes\n"));
    }
}

TEST_F(VaultProgram, BringsAFileBackAsItWas) {
    fs::create_directory(m_files / "d");
    WriteFile(m_bad, kContents);
    const bool hasAttributes = setxattr(m_bad.c_str(), "user.note", "abc", 3, 0) == 0;
    const std::string name = KeepAndDelete(m_bad, 0751);
    ASSERT_EQ(Run("restore " + name), 0) << Err();
    EXPECT_EQ(Out(), m_bad + "\n");
    EXPECT_EQ(Err(), "");
    EXPECT_EQ(ReadFile(m_bad), kContents);
    struct stat status {};
    ASSERT_EQ(stat(m_bad.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0751U);
    EXPECT_EQ(status.st_mtim.tv_sec, 1'100'000'000);
    EXPECT_EQ(status.st_mtim.tv_nsec, 123'000);
    if (hasAttributes) {
        char value[8] = {};
        EXPECT_EQ(getxattr(m_bad.c_str(), "user.note", value, sizeof(value)), 3);
        EXPECT_STREQ(value, "abc");
    }
    EXPECT_THAT(NamesInFolder(), IsEmpty()) << "it is in one place only";
    EXPECT_EQ(std::distance(fs::directory_iterator(m_files / "d"), {}), 1);
}

TEST_F(VaultProgram, GivesNobodyMoreRightsThanAnOrdinaryFile) {
    fs::create_directory(m_files / "d");
    WriteFile(m_bad, kContents);
    // Lets the program that has it bind any port: a capability, kept as an attribute.
    const unsigned char capability[20] = {1, 0, 0, 2, 0, 4};
    const bool hasCapability =
        setxattr(m_bad.c_str(), "security.capability", capability, sizeof(capability), 0) == 0;
    ASSERT_EQ(chmod(m_bad.c_str(), 07755), 0);
    const std::string name = Keep(m_bad);
    fs::remove(m_bad);
    ASSERT_EQ(Run("show " + name), 0);
    EXPECT_THAT(Out(), HasSubstr("Mode:      7755\n"));
    EXPECT_EQ(Out().find("security.capability") != std::string::npos, hasCapability);
    ASSERT_EQ(Run("restore " + name), 0) << Err();
    EXPECT_EQ(ModeOf(m_bad), 0755U);
    EXPECT_LT(getxattr(m_bad.c_str(), "security.capability", nullptr, 0), 0);
}

TEST_F(VaultProgram, NeverRestoresOverAFile) {
    const std::string name = KeepAndDelete(m_bad);
    WriteFile(m_bad, "precious");
    EXPECT_EQ(Run("restore " + name), 1);
    EXPECT_EQ(Err(), "corvane-vault: " + name + ": " + m_bad + ": File exists\n");
    EXPECT_EQ(ReadFile(m_bad), "precious");
    fs::remove(m_bad);
    fs::create_symlink("nowhere", m_bad);
    EXPECT_EQ(Run("restore " + name), 1);
    EXPECT_FALSE(Exists(m_files / "d/nowhere"));
    EXPECT_THAT(NamesInFolder(), ElementsAre(name)) << "it stays in the vault";
    EXPECT_EQ(std::distance(fs::directory_iterator(m_files / "d"), {}), 1);
}

TEST_F(VaultProgram, NeverRestoresThroughALink) {
    const std::string name = KeepAndDelete(m_bad);
    fs::rename(m_files / "d", m_files / "real");
    fs::create_directory_symlink("real", m_files / "d");
    EXPECT_EQ(Run("restore " + name), 1);
    EXPECT_THAT(Err(), HasSubstr("Too many levels of symbolic links"));
    EXPECT_EQ(std::distance(fs::directory_iterator(m_files / "real"), {}), 0);
    EXPECT_EQ(Run("restore --to " + (m_files / "d") + " " + name), 1);
    EXPECT_EQ(Run("restore --to real " + name), 0) << Err();
    EXPECT_EQ(ReadFile(m_files / "real/bad.com"), kContents);
}

TEST_F(VaultProgram, RestoresIntoAnotherFolder) {
    const std::string name = KeepAndDelete(m_bad);
    fs::remove(m_files / "d");
    EXPECT_EQ(Run("restore " + name), 1);
    EXPECT_EQ(Err(),
              "corvane-vault: " + name + ": " + (m_files / "d") + ": No such file or directory\n");
    fs::create_directory(m_files / "other");
    EXPECT_EQ(Run("restore --to " + (m_files / "other/") + " " + name), 0) << Err();
    EXPECT_EQ(Out(), (m_files / "other/bad.com") + "\n");
    EXPECT_EQ(ReadFile(m_files / "other/bad.com"), kContents);
}

TEST_F(VaultProgram, RestoresSeveralAndTellsOfThoseItCannot) {
    const std::string one = KeepAndDelete(m_bad);
    const std::string two = KeepAndDelete(m_files / "d/two.com");
    EXPECT_EQ(Run("restore 20010203-040506-00000000 " + one + " " + two), 1);
    EXPECT_EQ(Err(), "corvane-vault: 20010203-040506-00000000: it is not in the vault\n");
    EXPECT_EQ(ReadFile(m_bad), kContents);
    EXPECT_EQ(ReadFile(m_files / "d/two.com"), kContents);
}

TEST_F(VaultProgram, RootRestoresWithTheRightsOfTheOwner) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to act for another user";
    }
    fs::permissions(m_files.Path(), fs::perms(0755));
    fs::create_directory(m_files / "d");
    WriteFile(m_bad, kContents);
    ASSERT_EQ(chown((m_files / "d").c_str(), 4711, 4712), 0);
    ASSERT_EQ(chown(m_bad.c_str(), 4711, 4712), 0);
    const std::string name = Keep(m_bad);
    fs::remove(m_bad);
    // Whoever owns the file could have had it laid where root alone may write.
    ASSERT_EQ(chown((m_files / "d").c_str(), 0, 0), 0);
    EXPECT_EQ(Run("restore " + name), 1);
    EXPECT_EQ(Err(), "corvane-vault: " + name + ": " + (m_files / "d") + ": Permission denied\n");
    EXPECT_EQ(Run("restore --to / " + name), 1);
    EXPECT_FALSE(Exists("/bad.com"));
    ASSERT_EQ(chown((m_files / "d").c_str(), 4711, 4712), 0);
    EXPECT_EQ(Run("restore " + name), 0) << Err();
    EXPECT_EQ(Err(), "");
    struct stat status {};
    ASSERT_EQ(stat(m_bad.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 4711U);
    EXPECT_EQ(status.st_gid, 4712U);
    EXPECT_EQ(ReadFile(m_bad), kContents);
}

TEST_F(VaultProgram, AGroupThatTheOwnerIsNotInIsToldAndNotGiven) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to act for another user";
    }
    fs::permissions(m_files.Path(), fs::perms(0755));
    fs::create_directory(m_files / "d");
    WriteFile(m_bad, kContents);
    // A user that the system knows, of whom it says that this is not their group.
    ASSERT_EQ(chown((m_files / "d").c_str(), 65534, 65534), 0);
    ASSERT_EQ(chown(m_bad.c_str(), 65534, 4712), 0);
    const std::string name = Keep(m_bad);
    fs::remove(m_bad);
    EXPECT_EQ(Run("restore " + name), 0);
    EXPECT_EQ(Err(), "corvane-vault: " + name + ": not restored: its group\n");
    struct stat status {};
    ASSERT_EQ(stat(m_bad.c_str(), &status), 0);
    EXPECT_EQ(status.st_uid, 65534U);
    EXPECT_NE(status.st_gid, 4712U);
}

TEST_F(VaultProgram, ExportsForTheCallerAlone) {
    const std::string name = KeepAndDelete(m_bad, 0777);
    ASSERT_EQ(Run("export " + name + " sample"), 0) << Err();
    EXPECT_EQ(ReadFile(m_files / "sample"), kContents);
    EXPECT_EQ(ModeOf(m_files / "sample"), 0600U);
    EXPECT_THAT(NamesInFolder(), ElementsAre(name)) << "a copy is no way out";
    EXPECT_EQ(Run("export " + name + " sample"), 1);
    EXPECT_EQ(Err(), "corvane-vault: " + name + ": sample: File exists\n");
    EXPECT_EQ(Run("export " + name + " missing/sample"), 1);
    EXPECT_EQ(Run("export " + name + " d/"), 1);
    EXPECT_EQ(Err(), "corvane-vault: " + name + ": d/: that is no name of a file\n");
}

TEST_F(VaultProgram, EmptiesOnlyWhenItIsSure) {
    const std::string one = KeepAndDelete(m_bad);
    const std::string two = KeepAndDelete(m_bad);
    for (const char* answer : {"", "n\n", "\n", "yessir\n", "y"}) {
        EXPECT_EQ(Run("empty", answer), 0);
        EXPECT_THAT(Out(), StartsWith("Remove 2 items for good? [y/N] "));
        EXPECT_THAT(Out(), HasSubstr("Nothing was removed.\n"));
        EXPECT_EQ(NamesInFolder().size(), 2U);
    }
    EXPECT_EQ(Run("empty " + one, "y\n"), 0);
    EXPECT_THAT(Out(), StartsWith("Remove 1 item for good? [y/N] "));
    EXPECT_THAT(NamesInFolder(), ElementsAre(two));
    const std::string three = KeepAndDelete(m_bad);
    WriteFile(Folder() + ".unfinished", "half");
    EXPECT_EQ(Run("empty --yes"), 0);
    EXPECT_EQ(Out(), "");
    EXPECT_THAT(NamesInFolder(), IsEmpty());
    EXPECT_EQ(Run("empty --yes " + three), 1);
    EXPECT_EQ(Err(), "corvane-vault: " + three + ": it is not in the vault\n");
}

TEST_F(VaultProgram, TellsOfADamagedItemAndRemovesIt) {
    const std::string good = KeepAndDelete(m_bad);
    const std::string bad = "20010203-040506-00000000";
    WriteFile(Folder() + bad, ReadFile(Folder() + good).substr(0, 200));
    EXPECT_EQ(Run("list"), 1);
    EXPECT_THAT(Out(), HasSubstr(bad + "  2001-02-03 04:05:06  "));
    EXPECT_THAT(Out(), HasSubstr("?  ?           (it is damaged)\n" + good));
    EXPECT_EQ(Err(), "corvane-vault: 1 item cannot be read\n");
    for (const char* command : {"show ", "restore ", "export "}) {
        EXPECT_EQ(Run(command + bad + (*command == 'e' ? " file" : "")), 1);
        EXPECT_EQ(Err(), "corvane-vault: " + bad + ": it is damaged\n");
    }
    EXPECT_EQ(Run("empty --yes " + bad), 0) << Err();
    EXPECT_THAT(NamesInFolder(), ElementsAre(good));
}

TEST_F(VaultProgram, DamagedContentsAreNotRestored) {
    const std::string name = KeepAndDelete(m_bad);
    std::string bytes = ReadFile(Folder() + name);
    bytes.back() = static_cast<char>(bytes.back() ^ 1);
    WriteFile(Folder() + name, bytes);
    for (const std::string& command : {"restore " + name, "export " + name + " d/file"}) {
        EXPECT_EQ(Run(command), 1);
        EXPECT_THAT(Err(), HasSubstr("it is damaged"));
        EXPECT_EQ(std::distance(fs::directory_iterator(m_files / "d"), {}), 0);
    }
    EXPECT_THAT(NamesInFolder(), ElementsAre(name));
}

TEST_F(VaultProgram, OfAnotherUserIsNotOpened) {
    (void)KeepAndDelete(m_bad);
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to give a folder away";
    }
    ASSERT_EQ(chown(m_vault.c_str(), 65534, 65534), 0);
    EXPECT_EQ(Run("list"), 1);
    EXPECT_EQ(Err(), "corvane-vault: /var/lib/corvane/vault: it belongs to another user\n");
    ASSERT_EQ(chown(m_vault.c_str(), 0, 0), 0);
}

TEST_F(VaultProgram, TellsWhatItTakes) {
    EXPECT_EQ(Run("--version"), 0);
    EXPECT_EQ(Out(), "corvane-vault " CORVANE_VERSION "\n");
    EXPECT_EQ(Run("--help"), 0);
    EXPECT_THAT(Out(), StartsWith("Usage: corvane-vault list [--json]\n"));
    const std::string item = "20010203-040506-00000000";
    const std::pair<std::string, std::string> wrong[] = {
        {"", "a command is needed"},
        {"steal", "\"steal\" is no command"},
        {"list " + item, "list takes no item"},
        {"show", "an item is needed"},
        {"restore", "an item is needed"},
        {"restore ../x", "\"../x\" is no name of an item"},
        {"empty x$(printf '\\033')", R"("x\u{001b}" is no name of an item)"},
        {"export " + item, "export needs an item and a file"},
        {"export " + item + " ''", "export needs an item and a file"},
        {"export " + item + " a b", "export needs an item and a file"},
        {"list --yes", "--to FOLDER is for restore, --yes for empty, --json for list"},
        {"empty --to /", "--to FOLDER is for restore, --yes for empty, --json for list"},
        {"restore --to '' " + item, "--to FOLDER is for restore, --yes for empty, --json for list"},
        {"show --json " + item, "--to FOLDER is for restore, --yes for empty, --json for list"},
        {"restore --to", "unknown option, or one that lacks its argument"},
        {"list --all", "unknown option, or one that lacks its argument"},
    };
    for (const auto& [arguments, problem] : wrong) {
        EXPECT_EQ(Run(arguments), 2) << arguments;
        EXPECT_EQ(Err(), "corvane-vault: " + problem + "\nTry \"corvane-vault --help\".\n");
    }
}

TEST_F(VaultProgram, SaysWhenItsOutputCannotBeWritten) {
    (void)KeepAndDelete(m_bad);
    EXPECT_EQ(Run("list", "", "/dev/full"), 1);
    EXPECT_THAT(Err(), HasSubstr("standard output: No space left on device"));
}

TEST_F(VaultProgram, ItsManualTellsOfEveryCommandAndOption) {
    const std::string manual = ReadFile(VAULT_MANUAL);
    for (const char* word : {"list", "show", "restore", "export", "empty", "\\-\\-to", "\\-\\-yes",
                             "\\-\\-json", "\\-\\-help", "\\-\\-version", "purge",
                             "/var/lib/corvane/vault", "XDG_DATA_HOME", "EXIT STATUS"}) {
        EXPECT_THAT(manual, HasSubstr(word));
    }
}

}  // namespace
