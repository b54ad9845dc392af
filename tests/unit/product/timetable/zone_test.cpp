#include "product/timetable/zone.h"

#include <gtest/gtest.h>

#include "tests/unit/product/timetable/system_zone.h"

// A zone's file is read as the C library reads it.

namespace {

using namespace std::chrono_literals;
using timetable::Zone;

constexpr const char* kZones[] = {
    "Europe/Berlin",      "America/New_York", "America/St_Johns",  "America/Sao_Paulo",
    "Asia/Kolkata",       "Asia/Kathmandu",   "Pacific/Apia",      "Australia/Lord_Howe",
    "Pacific/Kiritimati", "Europe/Dublin",    "Africa/Casablanca", "Asia/Tehran",
    "America/Nuuk",       "Antarctica/Troll", "Etc/UTC",           "Etc/GMT+12",
};

TEST(ZoneTest, LocalTimeIsThatOfTheCLibraryUpTo2150) {
    for (const char* name : kZones) {
        const Zone zone = ZoneNamed(name);
        const LibraryZone library(name);
        // Steps of no round number, so that no moment of a day is left out for long.
        const auto end = Utc("2150-01-01 00:00:00");
        int different = 0;
        for (auto moment = Utc("1910-01-01 00:00:00"); moment < end; moment += 13h + 7min + 5s) {
            const auto seconds = moment.time_since_epoch().count();
            different +=
                zone.LocalOf(moment).time_since_epoch().count() != LibraryZone::LocalOf(seconds);
        }
        EXPECT_EQ(different, 0) << name;
    }
}

TEST(ZoneTest, EachChangeIsAtTheSecondOfTheCLibrary) {
    for (const char* name : kZones) {
        const Zone zone = ZoneNamed(name);
        const LibraryZone library(name);
        const auto end = Utc("2100-01-01 00:00:00");
        for (auto moment = Utc("1920-01-01 00:00:00"); moment < end;) {
            const Zone::Piece piece = zone.PieceAt(moment);
            EXPECT_LE(piece.begin, moment) << name;
            ASSERT_GT(piece.end, moment) << name;
            if (piece.end >= end) {
                break;
            }
            for (const auto each : {piece.end - 1s, piece.end}) {
                const auto seconds = each.time_since_epoch().count();
                EXPECT_EQ(zone.LocalOf(each).time_since_epoch().count(),
                          LibraryZone::LocalOf(seconds))
                    << name << " " << seconds;
            }
            moment = piece.end;
        }
    }
}

TEST(ZoneTest, ATimeThatTheClocksShowTwiceIsTheFirst) {
    const Zone berlin = ZoneNamed("Europe/Berlin");
    EXPECT_EQ(berlin.FirstMomentOf(Local("2011-10-30 02:30:00")), Utc("2011-10-30 00:30:00"));
    EXPECT_EQ(berlin.FirstMomentOf(Local("2011-10-30 03:00:00")), Utc("2011-10-30 02:00:00"));
    EXPECT_EQ(berlin.FirstMomentOf(Local("2051-10-29 02:30:00")), Utc("2051-10-29 00:30:00"));
}

TEST(ZoneTest, ATimeThatTheClocksJumpOverIsTheJump) {
    const Zone berlin = ZoneNamed("Europe/Berlin");
    EXPECT_EQ(berlin.FirstMomentOf(Local("2011-03-27 01:59:59")), Utc("2011-03-27 00:59:59"));
    EXPECT_EQ(berlin.FirstMomentOf(Local("2011-03-27 02:00:00")), Utc("2011-03-27 01:00:00"));
    EXPECT_EQ(berlin.FirstMomentOf(Local("2011-03-27 02:59:59")), Utc("2011-03-27 01:00:00"));
    EXPECT_EQ(berlin.FirstMomentOf(Local("2011-03-27 03:00:01")), Utc("2011-03-27 01:00:01"));
    // The whole day.
    const Zone apia = ZoneNamed("Pacific/Apia");
    EXPECT_EQ(apia.FirstMomentOf(Local("2011-12-30 12:00:00")), Utc("2011-12-30 10:00:00"));
    EXPECT_EQ(apia.LocalOf(Utc("2011-12-30 10:00:00")), Local("2011-12-31 00:00:00"));
    EXPECT_EQ(apia.LocalOf(Utc("2011-12-30 09:59:59")), Local("2011-12-29 23:59:59"));
}

TEST(ZoneTest, WithoutAFileItIsUtc) {
    EXPECT_EQ(Zone().LocalOf(Utc("2011-03-27 12:00:00")), Local("2011-03-27 12:00:00"));
    EXPECT_EQ(Zone().FirstMomentOf(Local("2011-03-27 12:00:00")), Utc("2011-03-27 12:00:00"));
}

TEST(ZoneTest, AFileThatIsCutIsNone) {
    const std::string bytes = ZoneBytes("Europe/Berlin");
    ASSERT_TRUE(Zone::FromFile(bytes));
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        ASSERT_FALSE(Zone::FromFile(bytes.substr(0, length))) << length;
    }
    EXPECT_FALSE(Zone::FromFile(bytes + "x"));
}

std::string Number(std::uint32_t number) {
    std::string bytes;
    for (unsigned shift = 32; shift > 0; shift -= 8) {
        bytes += static_cast<char>((number >> (shift - 8U)) & 0xFFU);
    }
    return bytes;
}

// A file of version 1 with two types and two changes.
std::string OldFile(std::uint32_t first, std::uint32_t second, char type, std::uint32_t offset) {
    const std::string type0 = Number(0) + std::string("\0\0", 2);
    const std::string type1 = Number(offset) + std::string("\1\0", 2);
    return "TZif" + std::string(16, '\0') + Number(0) + Number(0) + Number(0) + Number(2) +
           Number(2) + Number(4) + Number(first) + Number(second) + type + std::string(1, '\0') +
           type0 + type1 + std::string("AAA\0", 4);
}

TEST(ZoneTest, AFileOfTheFirstVersionIsReadToo) {
    const auto zone = Zone::FromFile(OldFile(1000, 2000, 1, 3600));
    ASSERT_TRUE(zone);
    const auto offsetAt = [&](std::int64_t moment) {
        return zone->PieceAt(std::chrono::sys_seconds(std::chrono::seconds(moment))).offset;
    };
    EXPECT_EQ(offsetAt(999), 0s);
    EXPECT_EQ(offsetAt(1000), 3600s);
    EXPECT_EQ(offsetAt(1999), 3600s);
    EXPECT_EQ(offsetAt(2000), 0s);
    EXPECT_EQ(offsetAt(99999999), 0s);
}

TEST(ZoneTest, AFileThatDoesNotFitIsNone) {
    EXPECT_TRUE(Zone::FromFile(OldFile(1000, 2000, 1, 26 * 3600)));
    EXPECT_FALSE(Zone::FromFile(OldFile(1000, 2000, 1, 26 * 3600 + 1)));
    EXPECT_TRUE(Zone::FromFile(OldFile(1000, 2000, 1, static_cast<std::uint32_t>(-25 * 3600))));
    EXPECT_FALSE(
        Zone::FromFile(OldFile(1000, 2000, 1, static_cast<std::uint32_t>(-25 * 3600 - 1))));
    EXPECT_FALSE(Zone::FromFile(OldFile(1000, 2000, 2, 3600)));
    EXPECT_FALSE(Zone::FromFile(OldFile(2000, 2000, 1, 3600)));
    EXPECT_FALSE(Zone::FromFile(OldFile(2000, 1000, 1, 3600)));
    EXPECT_FALSE(Zone::FromFile("TZiF" + OldFile(1000, 2000, 1, 3600).substr(4)));
    std::string bytes = OldFile(1000, 2000, 1, 3600);
    bytes.replace(32, 4, Number(0xFFFFFFFFU));  // more moments than there are bytes
    EXPECT_FALSE(Zone::FromFile(bytes));
    bytes.replace(32, 4, Number(0)).replace(36, 4, Number(0));  // nothing that could be local time
    EXPECT_FALSE(Zone::FromFile(bytes));
}

}  // namespace
