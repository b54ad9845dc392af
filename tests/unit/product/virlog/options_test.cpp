#include "product/virlog/options.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/support/parsed_options.h"
#include "tests/support/scratch.h"

namespace {

using Parsed = ParsedOptions<Options>;

Parsed Parse(std::vector<std::string> arguments) {
    return ParseArguments<Options>("corvane-virlog", std::move(arguments));
}

TEST(Options, WithoutAnyTheWholeLogIsShownAsATable) {
    const Parsed parsed = Parse({});
    EXPECT_TRUE(parsed.isGood);
    EXPECT_EQ(parsed.options.command, Command::kList);
    EXPECT_EQ(parsed.options.format, Format::kTable);
    EXPECT_FALSE(parsed.options.filter.since);
    EXPECT_FALSE(parsed.options.filter.until);
    EXPECT_TRUE(parsed.options.filter.texts.empty());
}

TEST(Options, ReadsTheFormat) {
    EXPECT_EQ(Parse({"--format", "table"}).options.format, Format::kTable);
    EXPECT_EQ(Parse({"--format", "csv"}).options.format, Format::kCsv);
    EXPECT_EQ(Parse({"--format=json"}).options.format, Format::kJson);
    EXPECT_EQ(Parse({"--format=csv", "--format=json"}).options.format, Format::kJson);
}

TEST(Options, ReadsDates) {
    const Parsed parsed = Parse({"--since", "2026-03-05", "--until=2026-03-06 07:04"});
    ASSERT_TRUE(parsed.isGood);
    ASSERT_TRUE(parsed.options.filter.since);
    ASSERT_TRUE(parsed.options.filter.until);
    EXPECT_EQ(parsed.options.filter.since->fields[2], 5);
    EXPECT_EQ(parsed.options.filter.since->count, 3U);
    EXPECT_EQ(parsed.options.filter.until->fields[2], 6);
    EXPECT_EQ(parsed.options.filter.until->count, 5U);
    EXPECT_EQ(
        Parse({"--since", "2026-03-05", "--since=2026-03-07"}).options.filter.since->fields[2], 7);
}

TEST(Options, GathersTexts) {
    EXPECT_EQ(
        Parse({"--text", "a", "--text=b=c", "--text", "--help", "--text="}).options.filter.texts,
        (std::vector<std::string>{"a", "b=c", "--help", ""}));
}

TEST(Options, ReadsTheOtherCommands) {
    EXPECT_EQ(Parse({"--unlock"}).options.command, Command::kUnlock);
    EXPECT_EQ(Parse({"--help"}).options.command, Command::kHelp);
    EXPECT_EQ(Parse({"--version"}).options.command, Command::kVersion);
    EXPECT_EQ(Parse({"--format=csv", "--help", "nonsense"}).options.command, Command::kHelp);
    EXPECT_EQ(Parse({"--unlock", "--version"}).options.command, Command::kVersion);
    EXPECT_EQ(Parse({"--unlock", "--unlock"}).options.command, Command::kUnlock);
}

TEST(Options, ReadsHowManyRecordsStay) {
    for (const auto& [text, number] : {std::pair{"0", 0U}, std::pair{"7", 7U}, std::pair{"007", 7U},
                                       std::pair{"4294967295", 4'294'967'295U}}) {
        const Parsed parsed = Parse({"--keep", text});
        EXPECT_TRUE(parsed.isGood) << parsed.problem;
        EXPECT_EQ(parsed.options.command, Command::kKeep);
        EXPECT_EQ(parsed.options.keep, number);
    }
    EXPECT_EQ(Parse({"--keep=3", "--keep", "5"}).options.keep, 5U);
}

TEST(Options, NamesMayBeShortenedAsLongAsTheyAreClear) {
    EXPECT_EQ(Parse({"--form", "csv"}).options.format, Format::kCsv);
    EXPECT_EQ(Parse({"--f=json"}).options.format, Format::kJson);
    EXPECT_EQ(Parse({"--k", "2"}).options.keep, 2U);
    EXPECT_EQ(Parse({"--unl"}).options.command, Command::kUnlock);
    EXPECT_EQ(Parse({"--h"}).options.command, Command::kHelp);
    EXPECT_EQ(Parse({"--v"}).options.command, Command::kVersion);
}

TEST(Options, TwoDashesEndThem) {
    EXPECT_TRUE(Parse({"--"}).isGood);
    EXPECT_EQ(Parse({"--format=csv", "--"}).options.format, Format::kCsv);
    EXPECT_EQ(Parse({"--text", "--"}).options.filter.texts, std::vector<std::string>{"--"});
    const Parsed parsed = Parse({"--", "--help"});
    EXPECT_FALSE(parsed.isGood);
    EXPECT_EQ(parsed.problem, R"(unexpected argument: "--help")");
}

TEST(Options, OneReadingDoesNotDisturbTheNext) {
    EXPECT_FALSE(Parse({"--format", "csv", "-xyz", "--keep"}).isGood);
    EXPECT_EQ(Parse({"--format", "json"}).options.format, Format::kJson);
    EXPECT_EQ(Parse({"--help", "--format", "csv"}).options.command, Command::kHelp);
    EXPECT_TRUE(Parse({}).isGood);
}

TEST(Options, WithoutEvenAProgramNameThereAreNone) {
    Options options;
    std::string problem;
    EXPECT_TRUE(ParseOptions({}, options, problem));
    EXPECT_EQ(options.command, Command::kList);
}

TEST(Options, SaysWhatIsWrong) {
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--format"}, "--format needs a value"},
        {{"--since"}, "--since needs a value"},
        {{"--until"}, "--until needs a value"},
        {{"--text"}, "--text needs a value"},
        {{"--format", "xml"}, R"(no such format: "xml")"},
        {{"--format="}, R"(no such format: "")"},
        {{"--format", "CSV"}, R"(no such format: "CSV")"},
        {{"--since", "2026-02-30"}, R"(no such date: "2026-02-30")"},
        {{"--until", "tomorrow"}, R"(no such date: "tomorrow")"},
        {{"--until="}, R"(no such date: "")"},
        {{"--since", "2026-03-05", "--since", "x"}, R"(no such date: "x")"},
        {{"--unlock=yes"}, "--unlock takes no value"},
        {{"--help="}, "--help takes no value"},
        {{"--version=1"}, "--version takes no value"},
        {{"--wide"}, R"(unknown option: "--wide")"},
        {{"--wide=1"}, R"(unknown option: "--wide")"},
        {{"--formats", "csv"}, R"(unknown option: "--formats")"},
        {{"--Format", "csv"}, R"(unknown option: "--Format")"},
        {{"--un"}, R"(ambiguous option: "--un" may be --until or --unlock)"},
        {{"--u=1"}, R"(ambiguous option: "--u" may be --until or --unlock)"},
        {{"--format=csv", "--un", "x"}, R"(ambiguous option: "--un" may be --until or --unlock)"},
        {{"--=1"}, R"(unknown option: "--")"},
        {{"-f"}, R"(unknown option: "-f")"},
        {{"-fx"}, R"(unknown option: "-fx")"},
        {{"-:"}, R"(unknown option: "-:")"},
        {{"-"}, R"(unexpected argument: "-")"},
        {{"--unl=yes"}, "--unlock takes no value"},
        {{"--form"}, "--format needs a value"},
        {{"--keep"}, "--keep needs a value"},
        {{"--keep="}, R"(no such number: "")"},
        {{"--keep", "-1"}, R"(no such number: "-1")"},
        {{"--keep", "+1"}, R"(no such number: "+1")"},
        {{"--keep", " 1"}, R"(no such number: " 1")"},
        {{"--keep", "1k"}, R"(no such number: "1k")"},
        {{"--keep", "0x10"}, R"(no such number: "0x10")"},
        {{"--keep", "4294967296"}, R"(no such number: "4294967296")"},
        {{"--keep", "3", "--format", "csv"}, "--keep stands alone"},
        {{"--text=a", "--keep", "3"}, "--keep stands alone"},
        {{"--keep", "3", "--unlock"}, "--keep stands alone"},
        {{"--unlock", "--keep", "3"}, "--unlock stands alone"},
        {{"--keep", "3", "4"}, R"(unexpected argument: "4")"},
        {{"--\x1B[2J"}, R"(unknown option: "--\u{001b}[2J")"},
        {{"log"}, R"(unexpected argument: "log")"},
        {{"a=b"}, R"(unexpected argument: "a=b")"},
        {{""}, R"(unexpected argument: "")"},
        {{"--format", "csv", "json"}, R"(unexpected argument: "json")"},
        {{"--unlock", "--format", "csv"}, "--unlock stands alone"},
        {{"--text=a", "--unlock"}, "--unlock stands alone"},
        // What is shown again must not command the terminal.
        {{"\x1B[2J"}, R"(unexpected argument: "\u{001b}[2J")"},
        {{"--since", "\xFF"}, R"(no such date: "\xff")"},
    };
    for (const auto& [arguments, problem] : cases) {
        const Parsed parsed = Parse(arguments);
        EXPECT_FALSE(parsed.isGood) << problem;
        EXPECT_EQ(parsed.problem, problem);
    }
}

TEST(Options, UsageAndManualNameEveryOption) {
    const std::string manual = ReadFile(VIRLOG_MANUAL);
    const std::string usage = kUsage;
    for (const std::string option :
         {"format", "since", "until", "text", "keep", "unlock", "help", "version"}) {
        EXPECT_NE(usage.find("--" + option), std::string::npos) << option;
        EXPECT_NE(manual.find("\\-\\-" + option), std::string::npos) << option;
    }
    for (const char* text : {"RFC 4180", "RFC 8259", "10011", "10022",
                             "/usr/lib/Corvane/Corvane/reports/VirRcONE.dat", "EXIT STATUS"}) {
        EXPECT_NE(manual.find(text), std::string::npos) << text;
    }
}

}  // namespace
