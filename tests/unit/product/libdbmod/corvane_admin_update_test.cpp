#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>

#include "abi/system_time.h"
#include "common/times.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/libdbmod/corvane_admin_fixture.h"

// The commands of corvane-admin about updates: sets of definitions, and addresses.

namespace fs = std::filesystem;

namespace dbmod {
namespace {

constexpr std::time_t kDay = 86'400;  // seconds

const std::string kDefs = std::string(kProduct) + "/defs/";
const std::string kInternetFile = std::string(kProduct) + "/updlink.dat";
const std::string kServerFile = std::string(kProduct) + "/admnlink.dat";

class CorvaneAdminUpdateTest : public CorvaneAdminTest {
protected:
    void SetUp() override {
        CorvaneAdminTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        fs::create_directories(kDefs);
        PutVersion(std::string(kProduct) + "/scanver.cnf", 2026, 11, 0);
    }
    void TearDown() override {
        fs::remove_all(kDefs);
        for (const std::string& path : {kInternetFile, kServerFile}) {
            fs::remove_all(path);
        }
    }

    // A version record of so many days ago.
    static void PutVersion(const std::string& path, std::uint16_t major, std::uint16_t minor,
                           int days) {
        const std::tm date = common::LocalTm(std::time(nullptr) - days * kDay - 60);
        tagZQVERINFO version{major, minor, {}};
        TmToSystemTime(&date, &version.databaseDate);
        WriteFile(path, {reinterpret_cast<const char*>(&version), sizeof version});
    }

    static void PutSet(int number, std::uint16_t minor, int days) {
        const std::string folder = kDefs + "set-" + std::to_string(number) + "/";
        fs::create_directories(folder);
        PutVersion(folder + "scanver.cnf", 275, minor, days);
    }

    static void Use(int number) {
        fs::remove(kDefs + "current");
        fs::create_symlink("set-" + std::to_string(number), kDefs + "current");
    }

    static std::string DateOf(int days) {
        return common::FormatTime("%Y-%m-%d %H:%M:%S",
                                  common::LocalTm(std::time(nullptr) - days * kDay - 60));
    }
};

TEST_F(CorvaneAdminUpdateTest, WithoutASetThereIsWhatCameWithTheProduct) {
    const Outcome run = RunAdmin({"definitions"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "There are no definitions but those that came with the product.\n");
    const Outcome back = RunAdmin({"definitions", "--rollback"});
    EXPECT_EQ(back.exitStatus, 1);
    EXPECT_EQ(back.errors, "corvane-admin: there is no set to go back to\n");
}

TEST_F(CorvaneAdminUpdateTest, ListsEachSetWithItsVersionDateAgeAndState) {
    PutSet(7, 5, 1);
    PutSet(8, 12, 0);
    Use(8);
    fs::create_directory(kDefs + "set-9");
    fs::create_symlink("set-9", kDefs + "held-back-9");
    const std::string before = DateOf(1);
    const Outcome run = RunAdmin({"definitions"});
    EXPECT_EQ(run.exitStatus, 0);
    if (before == DateOf(1)) {  // the same second still
        EXPECT_EQ(run.output, "set-7    275.05  " + DateOf(1) + "  1 day old  kept\n" +
                                  "set-8    275.12  " + DateOf(0) + "  0 days old  in use\n" +
                                  "set-9    without a version  held back\n");
    }
    EXPECT_NE(run.output.find("  1 day old  kept\n"), std::string::npos) << run.output;
}

TEST_F(CorvaneAdminUpdateTest, GoesBackToTheSetBefore) {
    PutSet(7, 5, 1);
    PutSet(8, 12, 0);
    Use(8);
    const Outcome run = RunAdmin({"definitions", "--rollback"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The definitions before are in use again, until newer ones come.\n");
    EXPECT_EQ(fs::read_symlink(kDefs + "current"), "set-7");
    EXPECT_EQ(fs::read_symlink(kDefs + "held-back-8"), "set-8");
    EXPECT_EQ(RunAdmin({"definitions", "--rollback"}).exitStatus, 1);
}

TEST_F(CorvaneAdminUpdateTest, WhoChangesTheDefinitionsIsTold) {
    PutSet(7, 5, 1);
    PutSet(8, 12, 0);
    Use(8);
    const int lock = ::open((kDefs + "lock").c_str(), O_RDWR | O_CREAT, 0600);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    ASSERT_EQ(::fcntl(lock, F_SETLK, &whole), 0);
    const Outcome run = RunAdmin({"definitions", "--rollback"});
    ::close(lock);
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors, "corvane-admin: another process changes the definitions: process " +
                              std::to_string(::getpid()) + "\n");
    EXPECT_EQ(fs::read_symlink(kDefs + "current"), "set-8");
}

TEST_F(CorvaneAdminUpdateTest, WithoutTheFolderOfDefinitionsItSaysSo) {
    fs::remove_all(kDefs);
    const Outcome run = RunAdmin({"definitions"});
    EXPECT_EQ(run.exitStatus, 1);
    EXPECT_EQ(run.errors,
              "corvane-admin: the folder of the definitions cannot be opened: No such "
              "file or directory\n");
}

TEST_F(CorvaneAdminUpdateTest, WritesAndShowsBothLists) {
    Outcome run = RunAdmin({"sources", "internet", "https://a.example/db", "http://b.example"});
    EXPECT_EQ(run.exitStatus, 0) << run.errors;
    EXPECT_EQ(run.output, "The addresses have been stored.\n");
    run = RunAdmin({"sources", "server", "https://server.example/corvane"});
    EXPECT_EQ(run.exitStatus, 0) << run.errors;
    run = RunAdmin({"sources"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output,
              "Updates from the Internet:\n"
              "  https://a.example/db\n"
              "  http://b.example\n"
              "Updates from a server:\n"
              "  https://server.example/corvane/update/202611\n");
}

// A head of 6 bytes, then a record of 1,036 with each byte rotated left by three bits.
TEST_F(CorvaneAdminUpdateTest, TheListOfTheInternetIsWrittenByteForByte) {
    ASSERT_EQ(RunAdmin({"sources", "internet", "http://a"}).exitStatus, 0);
    const std::string text = "C\xA3\xA3\x83\xD1yy\v";
    EXPECT_EQ(ReadFile(kInternetFile),
              std::string("\0\0\0\0\x01\0\0\0\0\0", 10) + text + std::string(1024, '\0'));
    EXPECT_EQ(ModeOf(kInternetFile), 0644U);
    EXPECT_FALSE(Exists(std::string(kProduct) + "/.updlink.dat.new"));
}

TEST_F(CorvaneAdminUpdateTest, AListIsEmptiedOnPurposeOnly) {
    ASSERT_EQ(RunAdmin({"sources", "internet", "http://a"}).exitStatus, 0);
    ASSERT_EQ(RunAdmin({"sources", "server", "http://a"}).exitStatus, 0);
    for (const char* list : {"internet", "server"}) {
        EXPECT_EQ(RunAdmin({"sources", list}).exitStatus, 2);
        EXPECT_EQ(RunAdmin({"sources", list, "--none", "http://a"}).exitStatus, 2);
        EXPECT_EQ(RunAdmin({"sources", list, "--none"}).exitStatus, 0);
    }
    EXPECT_EQ(RunAdmin({"sources"}).output,
              "Updates from the Internet:\n  (none)\nUpdates from a server:\n  (none)\n");
}

TEST_F(CorvaneAdminUpdateTest, WhatIsNoAddressIsRefusedAndTheListStays) {
    ASSERT_EQ(RunAdmin({"sources", "internet", "http://a"}).exitStatus, 0);
    const std::string before = ReadFile(kInternetFile);
    for (const char* address : {"", "a.example", "ftp://a.example", "https://", "http://a b",
                                "http://a\x1b[2J", "http://\xc3\xa4"}) {
        const Outcome run = RunAdmin({"sources", "internet", "http://fine", address});
        EXPECT_EQ(run.exitStatus, 1) << address;
        EXPECT_EQ(run.errors,
                  "corvane-admin: an address begins with http:// or https:// and holds "
                  "no blanks\n");
    }
    EXPECT_EQ(RunAdmin({"sources", "internet", "http://" + std::string(1017, 'a')}).errors,
              "corvane-admin: an address is longer than 1023 bytes\n");
    EXPECT_EQ(RunAdmin({"sources", "server", "http://" + std::string(233, 'a')}).errors,
              "corvane-admin: an address is longer than 239 bytes\n");
    EXPECT_EQ(ReadFile(kInternetFile), before);
    EXPECT_EQ(RunAdmin({"sources", "internet", "http://" + std::string(1016, 'a')}).exitStatus, 0);
    EXPECT_EQ(RunAdmin({"sources", "server", "http://" + std::string(232, 'a')}).exitStatus, 0);
}

TEST_F(CorvaneAdminUpdateTest, AnAddressThatSteersATerminalIsShownWithoutIt) {
    ASSERT_EQ(RunAdmin({"sources", "server", "--none"}).exitStatus, 0);
    std::string file("\0\0\0\0\x01\0", 6);
    std::string record(1036, '\0');
    const std::string address = "http://a\x1b[2J";
    for (std::size_t i = 0; i < address.size(); ++i) {
        const auto byte = static_cast<unsigned char>(address[i]);
        record[4 + i] = static_cast<char>(byte << 3U | byte >> 5U);
    }
    WriteFile(kInternetFile, file + record);
    EXPECT_EQ(RunAdmin({"sources"}).output,
              "Updates from the Internet:\n  http://a?[2J\nUpdates from a server:\n  (none)\n");
}

TEST_F(CorvaneAdminUpdateTest, AListThatCannotBeReadOrWrittenIsTold) {
    EXPECT_EQ(RunAdmin({"sources"}).errors,
              "corvane-admin: the addresses in the Internet cannot be read\n");
    ASSERT_EQ(RunAdmin({"sources", "internet", "http://a"}).exitStatus, 0);
    EXPECT_EQ(RunAdmin({"sources"}).errors,
              "corvane-admin: the addresses of servers cannot be read\n");
    fs::create_directory(kServerFile);
    const Outcome server = RunAdmin({"sources", "server", "http://a"});
    EXPECT_EQ(server.exitStatus, 1);
    EXPECT_EQ(server.errors, "corvane-admin: the list cannot be written; it is incomplete now\n");
    fs::remove(kInternetFile);
    fs::create_directory(kInternetFile);
    const Outcome internet = RunAdmin({"sources", "internet", "http://a"});
    EXPECT_EQ(internet.exitStatus, 1);
    EXPECT_EQ(internet.errors, "corvane-admin: the list cannot be written: Is a directory\n");
    EXPECT_FALSE(Exists(std::string(kProduct) + "/.updlink.dat.new"));
}

TEST_F(CorvaneAdminUpdateTest, WrongArgumentsShowTheUsage) {
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"definitions", "x"},
                                                      {"sources", "elsewhere", "http://a"},
                                                      {"sources", "--rollback"},
                                                      {"status", "--rollback"},
                                                      {"status", "--none"},
                                                      {"sources", "--none"},
                                                      {"definitions", "--stdin"},
                                                      {"status", "internet", "http://a"}}) {
        const Outcome run = RunAdmin(arguments);
        EXPECT_EQ(run.exitStatus, 2) << arguments.back();
        EXPECT_EQ(run.errors.substr(0, 7), "Usage: ");
    }
}

TEST_F(CorvaneAdminUpdateTest, TheManualTellsOfTheCommands) {
    const std::string manual = ReadFile(ADMIN_MANUAL);
    for (const char* text :
         {"definitions", "rollback", "sources", "internet", "server", "none",
          "/usr/lib/Corvane/Corvane/updlink.dat", "/usr/lib/Corvane/Corvane/admnlink.dat",
          "/usr/lib/Corvane/Corvane/defs/"}) {
        EXPECT_NE(manual.find(text), std::string::npos) << text;
    }
}

}  // namespace
}  // namespace dbmod
