#include "reports/report_search.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "reports/report_text.h"

// Finding a text in the bytes of a report, piece by piece.

namespace {

using Places = std::vector<std::pair<std::size_t, std::size_t>>;

ReportSearch Searched(const ReportText& report, const char* wanted) {
    ReportSearch search(report, QString::fromUtf8(wanted));
    while (!search.IsWhole()) {
        const std::size_t before = search.Searched();
        search.CountSome();
        EXPECT_GT(search.Searched(), before);
    }
    return search;
}

Places PlacesOf(const std::string& text, const char* wanted) {
    const ReportText report(text);
    const ReportSearch search = Searched(report, wanted);
    Places places;
    for (std::size_t i = 0; i < search.Count(); ++i) {
        places.emplace_back(search.At(i).begin, search.At(i).end);
        EXPECT_EQ(search.FirstFrom(search.At(i).begin), i);
        EXPECT_EQ(search.FirstFrom(search.At(i).begin + 1), i + 1);
    }
    return places;
}

TEST(ReportSearch, FindsBothCasesAndNothingTwice) {
    EXPECT_EQ(PlacesOf("aaa", "aa"), (Places{{0, 2}}));
    EXPECT_EQ(PlacesOf("abc\nABC", "bC"), (Places{{1, 3}, {5, 7}}));
    EXPECT_EQ(PlacesOf("abc", "x"), Places{});
    EXPECT_EQ(PlacesOf("", "x"), Places{});
}

TEST(ReportSearch, TellsPlacesInBytes) {
    EXPECT_EQ(PlacesOf("\xE9\xF0\x9F\x98\x80 \xC3\x89t\xC3\xA9", "\xC3\xA9t\xC3\xA9"),
              (Places{{6, 11}}));
    EXPECT_EQ(PlacesOf("\xE9|\xE9", "|"), (Places{{1, 2}}));
}

TEST(ReportSearch, LosesNothingBetweenPieces) {
    // A line without an end is cut into pieces anywhere; "needle" lies at every place around.
    for (std::size_t at = 262144 - 8; at < 262144 + 3; ++at) {
        const std::string text =
            std::string(at, 'x') + "needle" + std::string(400'000, 'x') + "needle";
        EXPECT_EQ(PlacesOf(text, "NEEDLE"), (Places{{at, at + 6}, {text.size() - 6, text.size()}}));
    }
    // 700,000 of one letter hold 100,000 of seven, wherever the pieces end.
    const ReportText same(std::string(700'000, 'x'));
    EXPECT_EQ(Searched(same, "xxxxxxx").Count(), 100'000U);
}

TEST(ReportSearch, LooksAtSoMuchAtOnce) {
    for (const std::string& text : {std::string(2'000'000, 'x'), std::string(2'000'000, '\n')}) {
        const ReportText report(text);
        ReportSearch search(report, "needle");
        int calls = 0;
        for (; !search.IsWhole(); ++calls) {
            const std::size_t before = search.Searched();
            search.CountSome();
            EXPECT_LE(search.Searched() - before, ReportSearch::kMostAtOnce);
        }
        EXPECT_GE(calls, 7);
    }
}

TEST(ReportSearch, ANewOneIsWholeAndEmpty) {
    ReportSearch search;
    EXPECT_TRUE(search.IsWhole());
    search.CountSome();
    EXPECT_EQ(search.Count(), 0U);
}

}  // namespace
