#include "reports/report_text.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <initializer_list>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <vector>

#include "tests/support/scratch.h"

// The bytes of a report as the lines that are shown.

namespace {

using Lines = std::vector<std::string>;

std::string Joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) {
        text += part;
    }
    return text;
}

Lines LinesOf(const ReportText& report) {
    Lines lines;
    ReportText::Line line = report.LineAt(0);
    while (true) {
        lines.push_back(report.Bytes().substr(line.begin, line.end - line.begin));
        // Every offset in it leads back to its start.
        for (std::size_t at = line.begin; at <= line.end; at += 1 + (line.end - line.begin) / 97) {
            if (at < line.next) {
                EXPECT_EQ(report.LineStart(at), line.begin) << at;
            }
        }
        if (line.isLast) {
            EXPECT_EQ(line.end, report.Size());
            return lines;
        }
        EXPECT_GT(line.next, line.begin);
        line = report.LineAt(line.next);
    }
}

TEST(ReportText, EndsLinesAtNewlinesAndReturns) {
    EXPECT_EQ(LinesOf(ReportText("")), Lines{""});
    EXPECT_EQ(LinesOf(ReportText("a")), Lines{"a"});
    EXPECT_EQ(LinesOf(ReportText("a\n")), (Lines{"a", ""}));
    EXPECT_EQ(LinesOf(ReportText("\n\nb")), (Lines{"", "", "b"}));
    EXPECT_EQ(LinesOf(ReportText("a\rb\nc\r")), (Lines{"a", "b", "c", ""}));
}

TEST(ReportText, CutsLinesBehind64KiB) {
    const std::string full(65536, 'x');
    EXPECT_EQ(LinesOf(ReportText(full + "\nb")), (Lines{full, "b"}));
    EXPECT_EQ(LinesOf(ReportText(full)), Lines{full});
    EXPECT_EQ(LinesOf(ReportText("a\n" + full + full + "y\nb")),
              (Lines{"a", full, full, "y", "b"}));
    EXPECT_EQ(LinesOf(ReportText(full + full + "\n")), (Lines{full, full, ""}));
    EXPECT_EQ(LinesOf(ReportText(full + "y\rb")), (Lines{full, "y", "b"}));
}

TEST(ReportText, CutsNoCharacterInTwo) {
    for (const std::string character : {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        for (std::size_t inside = 1; inside < character.size(); ++inside) {
            const std::string before(65536 - inside, 'x');
            const std::string after(65536 - character.size() + inside, 'y');
            EXPECT_EQ(LinesOf(ReportText(Joined({before, character, after, "z"}))),
                      (Lines{before, Joined({character, after}), "z"}));
        }
    }
    // Of bytes that are no characters the cut is where it is.
    const std::string rubbish(65536 + 10, '\x80');
    EXPECT_EQ(LinesOf(ReportText(rubbish)), (Lines{rubbish.substr(10), rubbish.substr(0, 10)}));
}

// Whatever ends the lines around it, a long line is found from each of its pieces.
TEST(ReportText, CutsLongLinesAmongOthers) {
    const std::string full(65536, 'x');
    const Lines pieces{"a", full, full, "y", "b", "", full, "c", full, full, "z"};
    for (const std::string_view first : {"\n", "\r"}) {
        for (const std::string_view second : {"\n", "\r"}) {
            EXPECT_EQ(
                LinesOf(ReportText(Joined({"a", first, full, full, "y", second, "b", first, second,
                                           full, second, "c", first, full, full, "z"}))),
                pieces);
        }
    }
}

// A report of one long line, or of no long line but ends of one kind only, must not be looked at
// from its start on for each line. What lies far from the line cannot be read here at all.
TEST(ReportText, LooksNoFurtherThanTwoLines) {
    constexpr std::size_t kSize = 40 * ReportText::kMaxLine;
    constexpr std::size_t kNear = 2 * ReportText::kMaxLine;
    constexpr std::size_t kPage = 4096;
    std::string shortLines;
    while (shortLines.size() < kSize) {
        shortLines.append(99, 'x').push_back('\r');
    }
    for (const std::string& bytes :
         {"\r" + std::string(kSize, 'x'), std::string(kSize, 'x'), "\n" + std::string(kSize, 'x'),
          shortLines, std::string(kSize, '\r'), std::string(kSize, '\n')}) {
        const ReportText report(bytes);
        for (const std::size_t at : {kSize / 2, kSize - ReportText::kMaxLine, kSize - 1}) {
            EXPECT_EQ(InChild([&] {
                          const auto start =
                              reinterpret_cast<std::uintptr_t>(report.Bytes().data());
                          const auto begin = (start + kPage - 1) / kPage * kPage;
                          const auto end = (start + at - kNear) / kPage * kPage;
                          // NOLINTNEXTLINE(performance-no-int-to-ptr)
                          if (::mprotect(reinterpret_cast<void*>(begin), end - begin, PROT_NONE)) {
                              return 1;
                          }
                          const std::size_t line = report.LineStart(at);
                          const ReportText::Line found = report.LineAt(line);
                          return line <= at && found.next > at ? 0 : 2;
                      }),
                      0)
                << at << " behind " << static_cast<int>(bytes.front());
        }
    }
}

TEST(ReportText, ShowsWhatIsNoTextAsReplacements) {
    EXPECT_EQ(ShownText("a\xC3\xA9\xF0\x9F\x98\x80z"),
              QString::fromUtf8("a\xC3\xA9\xF0\x9F\x98\x80z"));
    for (const std::string broken :
         {"\xE9", "\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82",
          "\xF8\x88\x80\x80\x80", "\x80"}) {
        EXPECT_EQ(ShownText("a" + broken + "b"),
                  "a" + QString(static_cast<qsizetype>(broken.size()), QChar(0xFFFD)) + "b");
    }
    // One character each, that the toolkit would end a paragraph or a frame at.
    EXPECT_EQ(ShownText("\xE2\x80\xA9|\xEF\xB7\x90|\xEF\xB7\x91"),
              QString::fromUtf8("\xEF\xBF\xBD|\xEF\xBF\xBD|\xEF\xBF\xBD"));
    EXPECT_EQ(ShownText("\xEF\xBB\xBFx").size(), 2) << "a byte order mark is not passed over";
    EXPECT_EQ(ShownText(std::string("a\0b", 3)).size(), 3);
}

TEST(ReportText, TellsUnitsAndBytesApart) {
    const std::string text = "a\xC3\xA9\xE9\xF0\x9F\x98\x80z";
    EXPECT_EQ(ShownUnits(text), 6);
    const std::size_t bytes[] = {0, 1, 3, 4, 8, 8, 9, 9};
    for (int units = 0; units < 8; ++units) {
        EXPECT_EQ(BytesOfUnits(text, units), bytes[units]) << units;
    }
}

}  // namespace
