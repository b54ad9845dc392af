#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>
#include <unistd.h>

#include "tests/unit/product/shellscan/run_scan.h"

// A scan from the shell: what it does, what it prints and what it ends with.

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr char kRule[] = "------------------------------------------------------------------\n";

// The report of a scan of `subject`.
std::string Report(const std::string& action, const std::string& subject, const std::string& lines,
                   const std::string& counters, const std::string& verdict = "Complete") {
    return "-----" + std::string(kRule) +
           "\nScan Report For - DATE\n\n"
           "Corvane Endpoint Protection Version 1.00\n"
           "Copyright (C) 2026 the Corvane developers.\n"
           "This program comes without any warranty.\n\n"
           "Virus Database: 01 January, 2026\n\n" +
           kRule +
           "\nScanner Settings for this Scan were as follows\n\n"
           "- Scan Packed: On\n"
           "- Scan Archive: On\n"
           "- Scan Adware/Spyware: On\n"
           "- Dumb Scan: Off\n\n"
           "Action on Virus found\n- " +
           action + "\n\n" + kRule + "\nScanning: " + subject + lines + "\n" + kRule + "\nScan " +
           verdict + ".\n\n" + kRule + "\nScan Summary\n\n" + counters +
           "\nStart Time : HH:MM:SS\r\nEnd Time :  HH:MM:SS\r\nTotal Time: HH:MM:SS\r\n\r\n" +
           kRule + "\n** Report End **\r\n";
}

std::string Counters(int scanned, int found, int repaired, int deleted, int skipped, int errors) {
    return "Total Files Scanned   = " + std::to_string(scanned) +
           "\nTotal Virus Found     = " + std::to_string(found) +
           "\nTotal Files Repaired  = " + std::to_string(repaired) +
           "\nTotal Files Deleted   = " + std::to_string(deleted) +
           "\nTotal Files Skipped   = " + std::to_string(skipped) +
           "\nTotal I/O Errors      = " + std::to_string(errors) + "\n";
}

// The flag words of an options record as the fake notes it: archives, packed, dumb, adware.
std::string FlagWords(const std::string& call) {
    const std::string hex = call.substr(call.find(' ') + 1);
    return hex.substr(12, 4) + " " + hex.substr(16, 4) + " " + hex.substr(1044, 4) + " " +
           hex.substr(1048, 4);
}

TEST_F(ShellScanProgram, ReportsACleanFolder) {
    WriteFile(Tree("/a"), "x");
    const Result result = Run({Tree()});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(WithoutTimes(result.output),
              Report("Report only", Tree(), "", Counters(1, 0, 0, 0, 0, 0)));
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(Opened(), ElementsAre(Tree("/a")));
    EXPECT_THAT(m_engine.Calls("ZqDeinitScan"), ElementsAre("ZqDeinitScan"));
}

TEST_F(ShellScanProgram, ReportsWhatItFindsAndLeavesIt) {
    WriteFile(Tree("/bad"), "x");
    m_engine.SetScript("say 1001 0 0 Some.Virus *bad\nafter 1001 2003 3004\n");
    const Result result = Run({Tree()});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(WithoutTimes(result.output),
              Report("Report only", Tree(),
                     "\n\nScanning: " + Tree("/bad") + "\nInfected: Some.Virus\n[Skipped]",
                     Counters(1, 1, 0, 0, 1, 0)));
    EXPECT_EQ(result.errors, "");
}

TEST_F(ShellScanProgram, DoesWhatTheActionSays) {
    WriteFile(Tree("/bad"), "x");
    struct Row {
        std::string action;
        std::string heading;
        std::string script;
        std::string line;
        std::string counters;
    };
    // Only the reply that belongs to the action leads on.
    for (const Row& row : {
             Row{"delete", "Delete", "after 1001 2002 3003\n", "\n[Deleted]",
                 Counters(1, 1, 0, 1, 0, 0)},
             Row{"repair", "Repair only", "after 1001 2001 3001\n", "\n[Repaired]",
                 Counters(1, 1, 1, 0, 0, 0)},
             Row{"repair", "Repair only", "after 1001 2001 3002\n", "\n[Skipped]",
                 Counters(1, 1, 0, 0, 1, 0)},
             Row{"repair-or-delete", "Repair, delete if unrepairable",
                 "after 1001 2001 3002\nafter 3002 2002 3003\n", "\n[Deleted]",
                 Counters(1, 1, 0, 1, 0, 0)},
             Row{"report", "Report only", "after 1001 2003 3004\n", "\n[Skipped]",
                 Counters(1, 1, 0, 0, 1, 0)},
         }) {
        m_engine.SetScript("say 1001 0 0 V *\n" + row.script);
        const Result result = Run({"--action", row.action, Tree()});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(
            WithoutTimes(result.output),
            Report(row.heading, Tree(),
                   "\n\nScanning: " + Tree("/bad") + "\nInfected: V" + row.line, row.counters))
            << row.action;
    }
}

TEST_F(ShellScanProgram, TheEngineIsToldTheOptions) {
    WriteFile(Tree("/a"), "x");
    const auto last = [this] { return FlagWords(m_engine.Calls("ZqSetOptions ").back()); };
    ASSERT_EQ(Run({Tree()}).status, 0);
    EXPECT_EQ(last(), "0100 0100 0000 0700");
    ASSERT_EQ(Run({"--no-archives", Tree()}).status, 0);
    EXPECT_EQ(last(), "0000 0100 0000 0700");
    ASSERT_EQ(Run({"--no-packed", Tree()}).status, 0);
    EXPECT_EQ(last(), "0100 0000 0000 0700");
    ASSERT_EQ(Run({"--no-adware", "--dumb", Tree()}).status, 0);
    EXPECT_EQ(last(), "0100 0100 0100 0300");
    const std::string output =
        Run({"--no-archives", "--no-packed", "--no-adware", "--dumb", Tree()}).output;
    EXPECT_THAT(output, HasSubstr("- Scan Packed: Off\n- Scan Archive: Off\n"
                                  "- Scan Adware/Spyware: Off\n- Dumb Scan: On\n\n"));
}

TEST_F(ShellScanProgram, NeverReadsTheSettingsOfTheWindow) {
    // Everything off, and delete what is found.
    WriteFile(m_application / "zqscn.opt", std::string("\2\0\0", 3));
    WriteFile(Tree("/a"), "x");
    EXPECT_THAT(Run({Tree()}).output, HasSubstr("- Scan Archive: On\n"));
}

TEST_F(ShellScanProgram, WritesNoReportOfItsOwn) {
    WriteFile(Tree("/a"), "x");
    const std::string index = ReadFile(m_application / "main.rpt");
    ASSERT_EQ(Run({Tree()}).status, 0);
    EXPECT_EQ(ReadFile(m_application / "main.rpt"), index);
    EXPECT_TRUE(std::filesystem::is_empty(m_application / "reports"));
}

TEST_F(ShellScanProgram, WhatIsDoneIsInTheVirusLog) {
    WriteFile(Tree("/bad"), "x");
    m_engine.SetScript("say 1001 0 0 V *\nafter 1001 2002 3003\n");
    ASSERT_EQ(Run({"--action=delete", "--quiet", Tree()}).status, 1);
    const std::string log = ReadFile(m_application / "reports/VirRcONE.dat");
    std::string wide;
    for (const char c : std::string("File is Deleted")) {
        wide += std::string{c, '\0'};
    }
    EXPECT_THAT(log, HasSubstr(wide));
}

TEST_F(ShellScanProgram, FilesAndFoldersInTheirOrder) {
    std::filesystem::create_directory(Tree("/d"));
    WriteFile(Tree("/d/in"), "x");
    WriteFile(Tree("/one"), "x");
    WriteFile(Tree("/two"), "x");
    const Result result =
        Run({.arguments = {"two", "--quiet", "./d/", "../tree//one"}, .folder = Tree()});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(Opened(), ElementsAre(Tree("/two"), Tree("/d/in"), Tree("/../tree/one")));
    EXPECT_EQ(result.output, "");
}

TEST_F(ShellScanProgram, APathThatLooksLikeAnOption) {
    WriteFile(Tree("/--quiet"), "x");
    EXPECT_EQ(Run({.arguments = {"--", "--quiet"}, .folder = Tree()}).status, 0);
    EXPECT_THAT(Opened(), ElementsAre(Tree("/--quiet")));
}

TEST_F(ShellScanProgram, FoundComesBeforeUnread) {
    WriteFile(Tree("/bad"), "x");
    WriteFile(Tree("/locked"), "x");
    m_engine.SetScript("say 1001 0 0 V *bad\nsay 1005 0 0 encrypted *locked\n");
    const Result both = Run({Tree()});
    EXPECT_EQ(both.status, 1);
    EXPECT_EQ(both.errors, "corvane-scan: not read: " + Tree("/locked") + ": encrypted\n");
    const Result unread = Run({Tree("/locked")});
    EXPECT_EQ(unread.status, 2);
    EXPECT_EQ(WithoutTimes(unread.output), Report("Report only", Tree("/locked"),
                                                  "\n[Access denied]", Counters(1, 0, 0, 0, 0, 1)));
}

TEST_F(ShellScanProgram, WhatIsNotThereIsUnread) {
    WriteFile(Tree("/a"), "x");
    const Result result = Run({Tree("/none"), Tree("/a"), ""});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "corvane-scan: not read: " + Tree("/none") +
                                 ": No such file or directory\n"
                                 "corvane-scan: not read: : No such file or directory\n");
    EXPECT_THAT(Opened(), ElementsAre(Tree("/a")));
}

TEST_F(ShellScanProgram, WhatTheEngineRefusesIsUnread) {
    WriteFile(Tree("/a"), "x");
    m_engine.SetScript("open 4001 auto *\n");
    const Result result = Run({Tree()});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors, "corvane-scan: not read: " + Tree("/a") + ": it cannot be opened\n");
}

TEST_F(ShellScanProgram, AFolderWithoutRightsIsUnread) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "another user is needed";
    }
    std::filesystem::create_directory(Tree("/closed"));
    ASSERT_EQ(::chmod(Tree("/closed").c_str(), 0700), 0);
    WriteFile(Tree("/a"), "x");
    const Result result = Run({.arguments = {"--format=json", Tree()}, .user = 65534});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.errors,
              "corvane-scan: not read: " + Tree("/closed") + ": Permission denied\n");
    EXPECT_THAT(result.output, HasSubstr("{\"event\":\"unread\",\"path\":\"" + Tree("/closed") +
                                         "\",\"reason\":\"Permission denied\"}\n"));
    EXPECT_THAT(result.output, HasSubstr("\"unread\":1,"));
}

TEST_F(ShellScanProgram, LinksInATreeAreNotFollowedAndThoseGivenAre) {
    WriteFile(m_scratch / "outside", "x");
    std::filesystem::create_symlink(m_scratch / "outside", Tree("/link"));
    std::filesystem::create_symlink("..", Tree("/loop"));
    ASSERT_EQ(Run({Tree()}).status, 0);
    EXPECT_THAT(Opened(), IsEmpty());
    ASSERT_EQ(Run({Tree("/link")}).status, 0);
    EXPECT_THAT(Opened(), ElementsAre(Tree("/link")));
}

TEST_F(ShellScanProgram, JsonIsOneObjectALine) {
    WriteFile(Tree("/bad"), "x");
    m_engine.SetScript("say 1001 0 0 V%22 *\nafter 1001 2002 3003\n");
    const Result result = Run({"--format", "json", "--action", "delete", "--dumb", Tree()});
    EXPECT_EQ(result.status, 1);
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < result.output.size();) {
        const std::size_t end = result.output.find('\n', at);
        lines.push_back(result.output.substr(at, end - at));
        at = end + 1;
    }
    ASSERT_EQ(lines.size(), 4U) << result.output;
    auto begin = nlohmann::ordered_json::parse(lines[0]);
    EXPECT_THAT(begin["time"].get<std::string>(),
                testing::MatchesRegex("20[0-9][0-9]-[0-9][0-9]-[0-9][0-9]T[0-9:]{8}"));
    begin.erase("time");
    EXPECT_EQ(begin.dump(),
              "{\"event\":\"begin\",\"version\":\"1.00\",\"database\":\"2026-01-01\","
              "\"action\":\"delete\",\"archives\":true,\"packed\":true,\"adware\":true,"
              "\"dumb\":true}");
    EXPECT_EQ(lines[1],
              "{\"event\":\"infected\",\"path\":\"" + Tree("/bad") + "\",\"virus\":\"V\\\"\"}");
    EXPECT_EQ(lines[2],
              "{\"event\":\"deleted\",\"path\":\"" + Tree("/bad") + "\",\"virus\":\"V\\\"\"}");
    auto end = nlohmann::ordered_json::parse(lines[3]);
    end.erase("time");
    end.erase("seconds");
    EXPECT_EQ(end.dump(),
              "{\"event\":\"end\",\"interrupted\":false,\"scanned\":1,\"infected\":1,"
              "\"repaired\":0,\"deleted\":1,\"skipped\":0,\"unread\":0}");
}

TEST_F(ShellScanProgram, QuietSaysNothing) {
    WriteFile(Tree("/bad"), "x");
    m_engine.SetScript("say 1001 0 0 V *\n");
    const Result result = Run({"--quiet", Tree(), Tree("/none")});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "");
}

TEST_F(ShellScanProgram, ShowsHelpAndVersion) {
    EXPECT_EQ(Run({"--version"}).output, "corvane-scan " CORVANE_VERSION "\n");
    const Result help = Run({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, testing::StartsWith("Usage: corvane-scan [OPTIONS] PATH...\n"));
    EXPECT_THAT(m_engine.Calls(), IsEmpty());
}

TEST_F(ShellScanProgram, WrongArgumentsAreSaid) {
    const Result result = Run({"--bogus"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors,
              "corvane-scan: unknown option: \"--bogus\"\nTry \"corvane-scan --help\".\n");
    EXPECT_EQ(Run(ScanStart{}).status, 3);
}

}  // namespace
