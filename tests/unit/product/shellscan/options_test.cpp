#include "product/shellscan/options.h"

#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "tests/support/parsed_options.h"

namespace {

using shellscan::Command;
using shellscan::Format;
using ::testing::ElementsAre;

using Parsed = ParsedOptions<shellscan::Options>;

Parsed Parse(std::vector<std::string> arguments) {
    return ParseArguments<shellscan::Options>("corvane-scan", std::move(arguments));
}

TEST(ScanOptions, ReportWhatIsFoundWithTheUsualSettings) {
    const Parsed parsed = Parse({"/home"});
    ASSERT_TRUE(parsed.isGood);
    EXPECT_EQ(parsed.options.command, Command::kScan);
    EXPECT_EQ(parsed.options.settings.action, 3);
    EXPECT_EQ(parsed.options.settings.flags, 1 | 2 | 8);  // archives, adware, packed
    EXPECT_EQ(parsed.options.format, Format::kText);
    EXPECT_FALSE(parsed.options.isQuiet);
    EXPECT_FALSE(parsed.options.showsProgress);
    EXPECT_FALSE(parsed.options.notifies);
    EXPECT_FALSE(parsed.options.filesFrom);
    EXPECT_FALSE(parsed.options.reportDescriptor);
    EXPECT_FALSE(parsed.options.resultDescriptor);
    EXPECT_THAT(parsed.options.paths, ElementsAre("/home"));
}

TEST(ScanOptions, Actions) {
    const auto action = [](const char* name) {
        return Parse({"--action", name, "/"}).options.settings.action;
    };
    EXPECT_EQ(action("repair"), 0);
    EXPECT_EQ(action("repair-or-delete"), 1);
    EXPECT_EQ(action("delete"), 2);
    EXPECT_EQ(action("report"), 3);
    EXPECT_EQ(Parse({"--action=prompt", "/"}).problem, "no such action: \"prompt\"");
    EXPECT_EQ(Parse({"--action=", "/"}).problem, "no such action: \"\"");
    EXPECT_EQ(Parse({"--action"}).problem, "--action needs a value");
}

TEST(ScanOptions, WhatIsLookedInto) {
    EXPECT_EQ(Parse({"--no-archives", "/"}).options.settings.flags, 2 | 8);
    EXPECT_EQ(Parse({"--no-adware", "/"}).options.settings.flags, 1 | 8);
    EXPECT_EQ(Parse({"--no-packed", "/"}).options.settings.flags, 1 | 2);
    EXPECT_EQ(Parse({"--dumb", "/"}).options.settings.flags, 1 | 2 | 4 | 8);
}

TEST(ScanOptions, StandAnywhereAndMayBeShortened) {
    const Parsed parsed = Parse({"/a", "--qui", "/b", "--form=json", "--prog", "--noti"});
    ASSERT_TRUE(parsed.isGood) << parsed.problem;
    EXPECT_TRUE(parsed.options.isQuiet);
    EXPECT_TRUE(parsed.options.showsProgress);
    EXPECT_TRUE(parsed.options.notifies);
    EXPECT_EQ(parsed.options.format, Format::kJson);
    EXPECT_THAT(parsed.options.paths, ElementsAre("/a", "/b"));
    EXPECT_THAT(Parse({"--", "--quiet"}).options.paths, ElementsAre("--quiet"));
    EXPECT_EQ(Parse({"--no-a", "/"}).problem,
              "ambiguous option: \"--no-a\" may be --no-archives or --no-adware");
}

TEST(ScanOptions, ListsAndGlobs) {
    const Parsed parsed = Parse({"--exclude=*.iso", "--exclude", "/proc", "--files-from", "-"});
    ASSERT_TRUE(parsed.isGood);
    EXPECT_THAT(parsed.options.excluded, ElementsAre("*.iso", "/proc"));
    EXPECT_EQ(parsed.options.filesFrom, "-");
}

TEST(ScanOptions, Descriptors) {
    const Parsed parsed =
        Parse({"--report-descriptor=3", "--result-descriptor=4", "--report-note=late", "/"});
    ASSERT_TRUE(parsed.isGood);
    EXPECT_EQ(parsed.options.reportDescriptor, 3);
    EXPECT_EQ(parsed.options.resultDescriptor, 4);
    EXPECT_EQ(parsed.options.reportNote, "late");
    for (const char* bad : {"", "2", "-3", "x", "3x", "99999999999"}) {
        EXPECT_EQ(Parse({"--report-descriptor", bad, "/"}).problem,
                  "no such descriptor: \"" + std::string(bad) + "\"");
    }
    EXPECT_EQ(Parse({"--report-descriptor=3", "--result-descriptor=3", "/"}).problem,
              "report and result cannot go to one descriptor");
}

TEST(ScanOptions, WhatIsWrongIsSaid) {
    EXPECT_EQ(Parse({}).problem, "nothing to scan: give at least one PATH");
    EXPECT_EQ(Parse({"/a", "--bogus", "/b"}).problem, "unknown option: \"--bogus\"");
    EXPECT_EQ(Parse({"/a", "-xy", "/b"}).problem, "unknown option: \"-x\"");
    EXPECT_EQ(Parse({"--quiet=1", "/a"}).problem, "--quiet takes no value");
    EXPECT_EQ(Parse({"--format=xml", "/a"}).problem, "no such format: \"xml\"");
}

TEST(ScanOptions, HelpAndVersionHoldAtOnce) {
    EXPECT_EQ(Parse({"--help", "--bogus"}).options.command, Command::kHelp);
    EXPECT_EQ(Parse({"--version"}).options.command, Command::kVersion);
}

}  // namespace
