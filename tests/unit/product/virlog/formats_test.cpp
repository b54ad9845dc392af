#include "product/virlog/formats.h"

#include <algorithm>
#include <clocale>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include "product/virlog/text_width.h"
#include "tests/unit/product/virlog/entries.h"

namespace {

std::string Written(Format format, const std::vector<virus_log::VirusLogEntry>& entries) {
    std::string out;
    const auto writer = MakeWriter(format, entries);
    writer->Begin(out);
    for (const virus_log::VirusLogEntry& entry : entries) {
        writer->Record(out, entry);
    }
    writer->End(out);
    return out;
}

constexpr char kCsvHeading[] = "time,component,virus,action,user,path,domain\r\n";

std::string CsvLine(const virus_log::VirusLogEntry& entry) {
    const std::string csv = Written(Format::kCsv, {entry});
    EXPECT_TRUE(csv.starts_with(kCsvHeading));
    return csv.substr(sizeof kCsvHeading - 1);
}

// One text of every kind that asks for care.
std::vector<virus_log::VirusLogEntry> HostileEntries() {
    std::vector<virus_log::VirusLogEntry> entries;
    for (const std::string path : {"/tmp/plain",
                                   "/tmp/two\nlines",
                                   "/tmp/\x1B[2J",
                                   "/tmp/\x7F",
                                   "/tmp/\xC2\x9B",
                                   "/tmp/\xFF\xC3",
                                   "/tmp/\xE2\x80\xAEgpj.exe",
                                   "/tmp/\xE2\x80\xA8",
                                   "/tmp/back\\slash",
                                   "/tmp/\"quoted\"",
                                   "/tmp/a,b;c\td",
                                   "/tmp/<b>&",
                                   "/tmp/\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x98\x80",
                                   "=1+1",
                                   "",
                                   "/tmp/\r\n",
                                   "/tmp/\xED\xA0\x80",
                                   "/tmp/\xEF\xBF\xBF",
                                   "/tmp/\xEF\xBB\xBF",
                                   "/tmp/\\x41\\u{0041}"}) {
        entries.push_back(Entry(path));
    }
    entries.back().virusName = "V\xFFrus\"\\\n";
    entries.back().action = "done, \xE2\x80\xA9";
    entries.back().userName = "@alice";
    entries.back().domainName =
        "+dom\x01"
        "ain";
    entries.back().component = 4294967295;
    return entries;
}

TEST(Formats, AreNamed) {
    EXPECT_EQ(FormatOfName("table"), Format::kTable);
    EXPECT_EQ(FormatOfName("csv"), Format::kCsv);
    EXPECT_EQ(FormatOfName("json"), Format::kJson);
    EXPECT_FALSE(FormatOfName(""));
    EXPECT_FALSE(FormatOfName("Table"));
    EXPECT_FALSE(FormatOfName("csvx"));
}

TEST(Formats, AnEmptyLogIsAHeadingOrAnEmptyArray) {
    EXPECT_EQ(Written(Format::kTable, {}), "TIME                 VIRUS  ACTION  USER  PATH\n");
    EXPECT_EQ(Written(Format::kCsv, {}), kCsvHeading);
    EXPECT_EQ(Written(Format::kJson, {}), "[]\n");
}

TEST(Formats, TimesThatDoNotExistKeepTheirNumbers) {
    std::string out;
    AppendTime(out, Time(0, 0, 0, 0, 0, 0), ' ');
    AppendTime(out, Time(65535, 13, 99, 100, 60, 61), 'T');
    EXPECT_EQ(out, "0000-00-00 00:00:0065535-13-99T100:60:61");
}

TEST(TableFormat, AlignsItsColumns) {
    std::vector<virus_log::VirusLogEntry> entries = {Entry("/tmp/a"), Entry("/tmp/b c")};
    entries[1].virusName = "X";
    entries[1].action = "File is Deleted now";
    entries[1].userName = "bob";
    EXPECT_EQ(Written(Format::kTable, entries),
              "TIME                 VIRUS            ACTION               USER   PATH\n"
              "2026-03-05 07:04:09  Eicar-Signature  File is skipped      alice  /tmp/a\n"
              "2026-03-05 07:04:09  X                File is Deleted now  bob    /tmp/b c\n");
}

TEST(TableFormat, CountsTheColumnsOfATerminal) {
    std::vector<virus_log::VirusLogEntry> entries(4, Entry("/tmp/a"));
    entries[0].userName = "\xE4\xB8\xAD\xE6\x96\x87\xE5\xAD\x97";  // three characters, six columns
    entries[1].userName =
        "e\xCC\x81"
        "e\xCC\x81";                                   // two columns
    entries[2].userName = "\xC3\xBC\xC3\xBC\xC3\xBC";  // three columns
    entries[3].userName = "\xFF";                      // four columns, escaped
    for (virus_log::VirusLogEntry& entry : entries) {
        entry.virusName = "V";
        entry.action = "A";
    }
    EXPECT_EQ(Written(Format::kTable, entries),
              "TIME                 VIRUS  ACTION  USER    PATH\n"
              "2026-03-05 07:04:09  V      A       \xE4\xB8\xAD\xE6\x96\x87\xE5\xAD\x97  /tmp/a\n"
              "2026-03-05 07:04:09  V      A       e\xCC\x81"
              "e\xCC\x81      /tmp/a\n"
              "2026-03-05 07:04:09  V      A       \xC3\xBC\xC3\xBC\xC3\xBC     /tmp/a\n"
              "2026-03-05 07:04:09  V      A       \\xff    /tmp/a\n");
}

TEST(TableFormat, CountsAlikeInEveryLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* locale : {"C", "C.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_ALL, locale), nullptr);
        const TextWidth width;
        EXPECT_EQ(width.Of(""), 0U);
        EXPECT_EQ(width.Of("abc"), 3U);
        EXPECT_EQ(width.Of("\xE4\xB8\xAD"), 2U) << locale;
        EXPECT_EQ(width.Of("\xF0\x9F\x98\x80"), 2U) << locale;
        EXPECT_EQ(width.Of("a\xCC\x81"), 1U) << locale;
        EXPECT_EQ(width.Of("\xC3\xBC"), 1U) << locale;
        EXPECT_EQ(width.Of("\xEF\xBC\xA1"), 2U) << "full width, " << locale;
        EXPECT_EQ(width.Of("\xCD\xB8"), 1U) << "unassigned, " << locale;
        EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), locale);
    }
    std::setlocale(LC_ALL, before.c_str());
}

TEST(TableFormat, NeverCutsAPath) {
    const std::string path = "/" + std::string(4000, 'x');
    EXPECT_NE(Written(Format::kTable, {Entry(path)}).find("  " + path + "\n"), std::string::npos);
}

TEST(TableFormat, EveryRecordIsOneLineOfPrintableText) {
    const std::vector<virus_log::VirusLogEntry> entries = HostileEntries();
    const std::string table = Written(Format::kTable, entries);
    EXPECT_EQ(static_cast<std::size_t>(std::count(table.begin(), table.end(), '\n')),
              entries.size() + 1);
    for (const char c : table) {
        EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << static_cast<int>(c);
    }
    EXPECT_NE(table.find(R"(  /tmp/two\u{000a}lines)"), std::string::npos);
    EXPECT_NE(table.find(R"(  /tmp/\u{202e}gpj.exe)"), std::string::npos);
    EXPECT_NE(table.find(R"(  /tmp/\xff\xc3)"), std::string::npos);
    EXPECT_NE(table.find(R"(  V\xffrus"\\\u{000a}  done, \u{2029})"), std::string::npos);
}

TEST(CsvFormat, WritesAllFields) {
    virus_log::VirusLogEntry entry = Entry("/tmp/a b");
    entry.component = 4294967295;
    EXPECT_EQ(CsvLine(entry),
              "2026-03-05 07:04:09,4294967295,Eicar-Signature,File is skipped,alice,/tmp/a "
              "b,(none)\r\n");
}

TEST(CsvFormat, QuotesWhatNeedsIt) {
    virus_log::VirusLogEntry entry = Entry("/tmp/\"a\",b");
    entry.virusName = "a,b";
    entry.action = "\"";
    entry.userName = "";
    entry.domainName = ",";
    EXPECT_EQ(CsvLine(entry),
              "2026-03-05 07:04:09,8000,\"a,b\",\"\"\"\",,\"/tmp/\"\"a\"\",b\",\",\"\r\n");
}

TEST(CsvFormat, StartsNoFormula) {
    const std::pair<std::string, std::string> cases[] = {
        {"=1+1", R"(\u{003d}1+1)"},
        {"+1", R"(\u{002b}1)"},
        {"-1", R"(\u{002d}1)"},
        {"@SUM(A1)", R"(\u{0040}SUM(A1))"},
        {"\xEF\xBC\x9D"
         "1",
         R"(\u{ff1d}1)"},
        {"\xEF\xBC\x8B"
         "1",
         R"(\u{ff0b}1)"},
        {"\xEF\xBC\x8D"
         "1",
         R"(\u{ff0d}1)"},
        {"\xEF\xBC\xA0"
         "1",
         R"(\u{ff20}1)"},
        {"\t=1", R"(\u{0009}=1)"},
        {"\r=1", R"(\u{000d}=1)"},
        {"==", R"(\u{003d}=)"},
        {"=", R"(\u{003d})"},
        {"=a,b", R"("\u{003d}a,b")"},
        {"a=b", "a=b"},
        {" =b", " =b"},
    };
    for (const auto& [name, shown] : cases) {
        virus_log::VirusLogEntry entry = Entry("/tmp/a");
        entry.virusName = name;
        EXPECT_EQ(CsvLine(entry),
                  "2026-03-05 07:04:09,8000," + shown + ",File is skipped,alice,/tmp/a,(none)\r\n");
    }
    virus_log::VirusLogEntry entry = Entry("-p");
    entry.action = "-a";
    entry.userName = "-u";
    entry.domainName = "-d";
    EXPECT_EQ(CsvLine(entry),
              "2026-03-05 07:04:09,8000,Eicar-Signature,\\u{002d}a,\\u{002d}u,\\u{002d}p,"
              "\\u{002d}d\r\n");
}

TEST(CsvFormat, BreaksLinesBetweenRecordsOnly) {
    const std::vector<virus_log::VirusLogEntry> entries = HostileEntries();
    const std::string csv = Written(Format::kCsv, entries);
    EXPECT_EQ(static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\n')),
              entries.size() + 1);
    EXPECT_EQ(static_cast<std::size_t>(std::count(csv.begin(), csv.end(), '\r')),
              entries.size() + 1);
    EXPECT_NE(csv.find(R"(,/tmp/two\u{000a}lines,)"), std::string::npos);
    EXPECT_NE(csv.find(R"(,/tmp/\u{000d}\u{000a},)"), std::string::npos);
    EXPECT_NE(csv.find(R"(,/tmp/back\\slash,)"), std::string::npos);
}

TEST(JsonFormat, WritesOneObjectALine) {
    std::vector<virus_log::VirusLogEntry> entries = {Entry("/tmp/a"), Entry("/tmp/b")};
    entries[1].component = 7;
    EXPECT_EQ(Written(Format::kJson, entries),
              "[\n"
              R"-({"time":"2026-03-05T07:04:09","component":8000,"virus":"Eicar-Signature",)-"
              R"-("action":"File is skipped","user":"alice","path":"/tmp/a","domain":"(none)"},)-"
              "\n"
              R"-({"time":"2026-03-05T07:04:09","component":7,"virus":"Eicar-Signature",)-"
              R"-("action":"File is skipped","user":"alice","path":"/tmp/b","domain":"(none)"})-"
              "\n]\n");
}

TEST(JsonFormat, EscapesByTheRuleAndThenAsJsonRequires) {
    const std::string json = Written(Format::kJson, {Entry("/a\"b\\c\nd\xFF")});
    EXPECT_NE(json.find(R"("path":"/a\"b\\\\c\\u{000a}d\\xff")"), std::string::npos) << json;
}

TEST(JsonFormat, AnotherParserReadsWhatTheTableShows) {
    const std::vector<virus_log::VirusLogEntry> entries = HostileEntries();
    const std::string json = Written(Format::kJson, entries);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(
        QByteArray(json.data(), static_cast<qsizetype>(json.size())), &error);
    ASSERT_EQ(error.error, QJsonParseError::NoError) << error.errorString().toStdString();
    ASSERT_TRUE(document.isArray());
    const QJsonArray array = document.array();
    ASSERT_EQ(static_cast<std::size_t>(array.size()), entries.size());
    const auto text = [&array](qsizetype index, const char* name) {
        return array.at(index).toObject().value(QLatin1String(name)).toString().toStdString();
    };
    const char* const kPaths[] = {R"(/tmp/plain)",
                                  R"(/tmp/two\u{000a}lines)",
                                  R"(/tmp/\u{001b}[2J)",
                                  R"(/tmp/\u{007f})",
                                  R"(/tmp/\u{009b})",
                                  R"(/tmp/\xff\xc3)",
                                  R"(/tmp/\u{202e}gpj.exe)",
                                  R"(/tmp/\u{2028})",
                                  R"(/tmp/back\\slash)",
                                  R"(/tmp/"quoted")",
                                  R"(/tmp/a,b;c\u{0009}d)",
                                  R"(/tmp/<b>&)",
                                  "/tmp/\xC3\xBC\xE4\xB8\xAD\xF0\x9F\x98\x80",
                                  R"(=1+1)",
                                  "",
                                  R"(/tmp/\u{000d}\u{000a})",
                                  R"(/tmp/\xed\xa0\x80)",
                                  R"(/tmp/\u{ffff})",
                                  R"(/tmp/\u{feff})",
                                  R"(/tmp/\\x41\\u{0041})"};
    ASSERT_EQ(std::size(kPaths), entries.size());
    for (std::size_t i = 0; i < std::size(kPaths); ++i) {
        EXPECT_EQ(text(static_cast<qsizetype>(i), "path"), kPaths[i]);
    }
    const auto last = static_cast<qsizetype>(entries.size() - 1);
    EXPECT_EQ(text(last, "time"), "2026-03-05T07:04:09");
    EXPECT_EQ(text(last, "virus"), R"(V\xffrus"\\\u{000a})");
    EXPECT_EQ(text(last, "action"), R"(done, \u{2029})");
    EXPECT_EQ(text(last, "user"), "@alice");
    EXPECT_EQ(text(last, "domain"), R"(+dom\u{0001}ain)");
    EXPECT_EQ(array.at(last).toObject().value(QLatin1String("component")).toInteger(), 4294967295);
}

}  // namespace
