#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <utility>
#include <vector>

#include "product/libdbmod/password_hash.h"
#include "tests/unit/product/libdbmod/corvane_admin_fixture.h"
#include "tests/unit/product/libdbmod/database_support.h"

// The commands of corvane-admin: what each takes, says and does to the password.

namespace fs = std::filesystem;

namespace dbmod {
namespace {

TEST_F(CorvaneAdminTest, SetsChangesAndClearsThePassword) {
    Outcome run = RunAdmin({"set-password"}, "first secret\n");
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings password has been set.\n");
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(CheckPassword("first secret", Stored().hash), PasswordCheck::kMatches);
    EXPECT_LT(std::llabs(Stored().changedAt - std::time(nullptr)), 60);

    run = RunAdmin({"set-password"}, "second secret\n");
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings password has been changed.\n");
    EXPECT_EQ(CheckPassword("second secret", Stored().hash), PasswordCheck::kMatches);
    EXPECT_EQ(CheckPassword("first secret", Stored().hash), PasswordCheck::kDiffers);

    run = RunAdmin({"clear-password"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "The settings password has been cleared.\n");
    EXPECT_FALSE(Stored().IsSet());
}

TEST_F(CorvaneAdminTest, ShowsWhetherAPasswordIsSet) {
    EXPECT_EQ(RunAdmin({"status"}).output, "No settings password is set.\n");
    SetCheapPassword();
    const Outcome run = RunAdmin({"status"});
    EXPECT_EQ(run.exitStatus, 0);
    EXPECT_EQ(run.output, "A settings password is set (last changed 2023-11-14 22:13:20 +0000).\n");
}

TEST_F(CorvaneAdminTest, ReadsOneLineOfStandardInput) {
    for (const char* input : {"secret\n", "secret", "secret\nsecond line\n"}) {
        EXPECT_EQ(RunAdmin({"set-password", "--stdin"}, input).exitStatus, 0);
        EXPECT_EQ(CheckPassword("secret", Stored().hash), PasswordCheck::kMatches) << input;
    }
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--stdin", "set-password"}, {"set-password", "--stdin", "--"}}) {
        SetCheapPassword();
        EXPECT_EQ(RunAdmin(arguments, "secret\n").exitStatus, 0);
        EXPECT_EQ(CheckPassword("secret", Stored().hash), PasswordCheck::kMatches);
    }
    EXPECT_EQ(RunAdmin({"set-password"}, " blanks kept \t\r\n").exitStatus, 0);
    EXPECT_EQ(CheckPassword(" blanks kept \t\r", Stored().hash), PasswordCheck::kMatches);
}

TEST_F(CorvaneAdminTest, TheEnvironmentDoesNotSayWhereOptionsStand) {
    ASSERT_EQ(setenv("POSIXLY_CORRECT", "1", 1), 0);
    const std::vector<std::string> right[] = {{"set-password", "--stdin"},
                                              {"--stdin", "set-password"},
                                              {"set-password", "--stdin", "--"},
                                              {"--stdin", "--", "set-password"}};
    for (const auto& arguments : right) {
        SetCheapPassword();
        EXPECT_EQ(RunAdmin(arguments, "secret\n").exitStatus, 0);
        EXPECT_EQ(CheckPassword("secret", Stored().hash), PasswordCheck::kMatches);
    }
    EXPECT_EQ(RunAdmin({"status", "--stdin"}).exitStatus, 2);
    EXPECT_EQ(RunAdmin({"status", "--help"}).exitStatus, 2);
    EXPECT_EQ(RunAdmin({"status", "status"}).exitStatus, 2);
    unsetenv("POSIXLY_CORRECT");
}

TEST_F(CorvaneAdminTest, TakesPasswordsUpTo511Bytes) {
    const std::string longest(511, 'x');
    EXPECT_EQ(RunAdmin({"set-password"}, longest + "\n").exitStatus, 0);
    EXPECT_EQ(CheckPassword(longest.c_str(), Stored().hash), PasswordCheck::kMatches);
}

TEST_F(CorvaneAdminTest, RefusesWhatIsNoPassword) {
    SetCheapPassword();
    const std::pair<std::string, std::string> cases[] = {
        {"", "corvane-admin: no password was given\n"},
        {"\n",
         "corvane-admin: the password is empty; to remove it use \"corvane-admin "
         "clear-password\"\n"},
        {std::string(512, 'x') + "\n", "corvane-admin: the password is longer than 511 bytes\n"},
        {std::string(60'000, 'x'), "corvane-admin: the password is longer than 511 bytes\n"},
        {std::string("ab\0cd\n", 6), "corvane-admin: the password holds a zero byte\n"},
    };
    for (const auto& [input, message] : cases) {
        const Outcome run = RunAdmin({"set-password"}, input);
        EXPECT_EQ(run.exitStatus, 1);
        EXPECT_EQ(run.errors, message);
        EXPECT_EQ(Stored().hash, kCheapHash);
    }
}

TEST_F(CorvaneAdminTest, TakesNoPasswordFromItsArgumentsAndRepeatsNone) {
    SetCheapPassword();
    const std::vector<std::string> wrong[] = {
        {"set-password", "hunter2"},
        {"set-password", "--stdin", "hunter2"},
        {"set-password", "--stdin=hunter2"},
        {"set-password", "--", "hunter2"},
        {"set-password", "-hunter2"},
        {"set-password", "clear-password"},
        {"status", "--stdin"},
        {"--stdin"},
        {"--help", "--version"},
        {"--help", "--stdin"},
        {"--version", "status"},
        {"set-password", "--password=hunter2"},
        {"clear-password", "hunter2"},
        {"status", "hunter2"},
        {"init", "hunter2"},
        {"hunter2"},
        {"--help", "hunter2"},
        {},
    };
    for (const auto& arguments : wrong) {
        const Outcome run = RunAdmin(arguments, "other\n");
        EXPECT_EQ(run.exitStatus, 2);
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.errors.substr(0, 27), "Usage: corvane-admin set-pa");
        EXPECT_EQ(run.errors.find("hunter2"), std::string::npos);
        EXPECT_EQ(Stored().hash, kCheapHash);
    }
}

TEST_F(CorvaneAdminTest, OnlyRootMayUseIt) {
    SetCheapPassword();
    const std::string program = std::string(kProduct) + "/corvane-admin-copy";
    fs::copy_file(ADMIN_PROGRAM, program, fs::copy_options::overwrite_existing);
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    for (const char* command : {"set-password", "clear-password", "status", "init"}) {
        EXPECT_EQ(RunAsNobody([&] {
                      const Outcome run = RunAdmin({command}, "secret\n", program);
                      return run.exitStatus == 1 && run.output.empty() &&
                                     run.errors ==
                                         "corvane-admin: only root can manage the settings "
                                         "password\n"
                                 ? 0
                                 : 1;
                  }),
                  0)
            << command;
    }
    EXPECT_EQ(Stored().hash, kCheapHash);
    fs::remove(program);
}

TEST_F(CorvaneAdminTest, HelpAndVersionNameTheCommands) {
    const Outcome help = RunAdmin({"--help"});
    EXPECT_EQ(help.exitStatus, 0);
    for (const char* command :
         {"set-password [--stdin]", "clear-password", "status", "init", "--help | --version"}) {
        EXPECT_NE(help.output.find(command), std::string::npos) << command;
    }
    EXPECT_EQ(RunAdmin({"--version"}).output.substr(0, 14), "corvane-admin ");
}

TEST_F(CorvaneAdminTest, ManualDescribesEveryCommand) {
    const std::string manual = ReadFile(ADMIN_MANUAL);
    for (const char* text : {"set-password", "clear-password", "status", "init", "stdin",
                             "/usr/lib/Corvane/Corvane/settings.db", "yescrypt"}) {
        EXPECT_NE(manual.find(text), std::string::npos) << text;
    }
}

}  // namespace
}  // namespace dbmod
