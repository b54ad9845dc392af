#include "product/virlog/filter.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/unit/product/virlog/entries.h"

namespace {

bool IsWithin(const char* since, const char* until, const tagSYSTEMTIME& time) {
    RecordFilter filter;
    if (since != nullptr) {
        filter.since = ParseTimeBound(since);
        EXPECT_TRUE(filter.since) << since;
    }
    if (until != nullptr) {
        filter.until = ParseTimeBound(until);
        EXPECT_TRUE(filter.until) << until;
    }
    virus_log::VirusLogEntry entry = Entry("/tmp/a");
    entry.time = time;
    return Matches(filter, entry);
}

bool HasTexts(std::vector<std::string> texts) {
    const virus_log::VirusLogEntry entry{8000,
                                         "Eicar-Signature",
                                         "File is skipped",
                                         Time(2026, 3, 5, 7, 4, 9),
                                         "alice",
                                         "/home/alice/Downloads/\xC3\x9C.zip",
                                         "office.example"};
    return Matches({std::nullopt, std::nullopt, std::move(texts)}, entry);
}

TEST(TimeBound, ReadsDatesAndTimes) {
    for (const auto& [text, count] :
         {std::pair{"2026-03-05", 3U}, std::pair{"2026-03-05 07:04", 5U},
          std::pair{"2026-03-05T07:04", 5U}, std::pair{"2026-03-05 07:04:09", 6U},
          std::pair{"2026-03-05T07:04:09", 6U}}) {
        const auto bound = ParseTimeBound(text);
        ASSERT_TRUE(bound) << text;
        EXPECT_EQ(bound->count, count) << text;
        constexpr std::uint16_t kFields[] = {2026, 3, 5, 7, 4, 9};
        for (std::size_t i = 0; i < 6; ++i) {
            EXPECT_EQ(bound->fields[i], i < count ? kFields[i] : 0) << text;
        }
    }
}

TEST(TimeBound, TakesEveryDayThatExists) {
    for (const char* text : {"2024-02-29", "2000-02-29", "2026-12-31", "2026-01-01", "0001-01-01",
                             "9999-12-31", "2026-03-05 00:00", "2026-03-05 23:59:59"}) {
        EXPECT_TRUE(ParseTimeBound(text)) << text;
    }
}

TEST(TimeBound, RefusesEverythingElse) {
    for (const char* text :
         {"", " ", "today", "2026", "2026-03", "2026-3-5", "26-03-05", "2026/03/05", "05-03-2026",
          "2026-03-05 ", " 2026-03-05", "2026-03-05 07", "2026-03-05 07:", "2026-03-05 7:04",
          "2026-03-05 07:4", "2026-03-05 07:04:", "2026-03-05 07:04:9", "2026-03-05 07:04:09 ",
          "2026-03-05 07:04:09.5", "2026-03-05 07:04:09Z", "2026-03-05t07:04", "2026-03-05  07:04",
          "2026-03-05_07:04", "-026-03-05", "+026-03-05", "2026--3-05", "2026-03-0x", "20260305",
          // No such day or time of day.
          "2026-02-29", "1900-02-29", "2026-04-31", "2026-13-01", "2026-00-01", "2026-01-00",
          "2026-01-32", "2026-03-05 24:00", "2026-03-05 07:60", "2026-03-05 07:04:60"}) {
        EXPECT_FALSE(ParseTimeBound(text)) << text;
    }
}

TEST(Filter, TakesEverythingByDefault) {
    EXPECT_TRUE(IsWithin(nullptr, nullptr, Time(2026, 3, 5, 7, 4, 9)));
    EXPECT_TRUE(IsWithin(nullptr, nullptr, Time(0, 0, 0, 0, 0, 0)));
}

TEST(Filter, ADateIncludesItsWholeDayAtBothEnds) {
    EXPECT_TRUE(IsWithin("2026-03-05", "2026-03-05", Time(2026, 3, 5, 0, 0, 0)));
    EXPECT_TRUE(IsWithin("2026-03-05", "2026-03-05", Time(2026, 3, 5, 23, 59, 59)));
    // A leap second is recorded as it was.
    EXPECT_TRUE(IsWithin("2026-03-05", "2026-03-05", Time(2026, 3, 5, 23, 59, 60)));
    EXPECT_FALSE(IsWithin("2026-03-05", nullptr, Time(2026, 3, 4, 23, 59, 59)));
    EXPECT_FALSE(IsWithin(nullptr, "2026-03-05", Time(2026, 3, 6, 0, 0, 0)));
}

TEST(Filter, AMinuteIsWholeAndASecondExact) {
    EXPECT_TRUE(IsWithin("2026-03-05 07:04", "2026-03-05 07:04", Time(2026, 3, 5, 7, 4, 0)));
    EXPECT_TRUE(IsWithin("2026-03-05 07:04", "2026-03-05 07:04", Time(2026, 3, 5, 7, 4, 59)));
    EXPECT_FALSE(IsWithin("2026-03-05 07:04", nullptr, Time(2026, 3, 5, 7, 3, 59)));
    EXPECT_FALSE(IsWithin(nullptr, "2026-03-05 07:04", Time(2026, 3, 5, 7, 5, 0)));
    EXPECT_TRUE(IsWithin("2026-03-05 07:04:09", "2026-03-05 07:04:09", Time(2026, 3, 5, 7, 4, 9)));
    EXPECT_FALSE(IsWithin("2026-03-05 07:04:10", nullptr, Time(2026, 3, 5, 7, 4, 9)));
    EXPECT_FALSE(IsWithin(nullptr, "2026-03-05 07:04:08", Time(2026, 3, 5, 7, 4, 9)));
}

TEST(Filter, LargerFieldsGoFirst) {
    EXPECT_TRUE(IsWithin("2025-12-31", "2026-01-01", Time(2026, 1, 1, 0, 0, 0)));
    EXPECT_FALSE(IsWithin("2026-02-01", nullptr, Time(2026, 1, 31, 23, 0, 0)));
    EXPECT_FALSE(IsWithin(nullptr, "2026-01-31", Time(2026, 2, 1, 0, 0, 0)));
    EXPECT_TRUE(IsWithin("2026-01-31", "2027-01-01", Time(2026, 2, 1, 0, 0, 0)));
}

TEST(Filter, NothingLiesBetweenAnEndBeforeItsStart) {
    EXPECT_FALSE(IsWithin("2026-03-06", "2026-03-05", Time(2026, 3, 5, 7, 0, 0)));
    EXPECT_FALSE(IsWithin("2026-03-06", "2026-03-05", Time(2026, 3, 6, 7, 0, 0)));
}

TEST(Filter, FindsTextsInEveryField) {
    for (const char* text :
         {"Eicar-Signature", "skipped", "alice", "/Downloads/", "office.example"}) {
        EXPECT_TRUE(HasTexts({text})) << text;
    }
    EXPECT_FALSE(HasTexts({"8000"}));
    EXPECT_FALSE(HasTexts({"2026"}));
    EXPECT_FALSE(HasTexts({"Signature File"}))
        << "a text does not run from one field into the next";
}

TEST(Filter, OnlyAsciiLettersAreTheSameInCapitals) {
    EXPECT_TRUE(HasTexts({"EICAR-SIGNATURE"}));
    EXPECT_TRUE(HasTexts({"eicar-signature"}));
    EXPECT_TRUE(HasTexts({"\xC3\x9C"}));
    EXPECT_FALSE(HasTexts({"\xC3\xBC"}));
    EXPECT_FALSE(HasTexts({"Eicar\rSignature"})) << "bytes that differ in 0x20 alone";
    EXPECT_FALSE(
        HasTexts({"office\x0E"
                  "example"}));
}

TEST(Filter, AllTextsMustBeThere) {
    EXPECT_TRUE(HasTexts({"alice", "eicar"}));
    EXPECT_FALSE(HasTexts({"alice", "bob"}));
    EXPECT_FALSE(HasTexts({"bob", "alice"}));
    EXPECT_TRUE(HasTexts({""}));
}

TEST(Filter, DatesAndTextsMustBothFit) {
    const RecordFilter filter{ParseTimeBound("2026-03-05"), ParseTimeBound("2026-03-05"), {"/tmp"}};
    virus_log::VirusLogEntry entry = Entry("/tmp/a");
    entry.time = Time(2026, 3, 5, 1, 2, 3);
    EXPECT_TRUE(Matches(filter, entry));
    entry.time.day = 6;
    EXPECT_FALSE(Matches(filter, entry));
    entry.time.day = 5;
    entry.filePath = "/home/a";
    EXPECT_FALSE(Matches(filter, entry));
}

}  // namespace
