#include "product/signed_index/index.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <string_view>

#include "tests/unit/product/signed_index/signed_index_samples.h"

namespace {

using signed_index::Index;
using signed_index::ParseIndex;
using signed_index::Refusal;

Refusal Parse(std::string_view text) {
    Index index;
    return ParseIndex(text, index);
}

// The sound index with its first `what` replaced.
std::string With(std::string_view what, std::string_view by) {
    std::string text = kGoodIndex;
    const std::size_t at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    return text.replace(at, what.size(), by);
}

Refusal ParseWith(std::string_view what, std::string_view by) {
    return Parse(With(what, by));
}

Refusal ParseWithName(std::string_view name) {
    return ParseWith("daily.cvd", name);
}

TEST(ParseIndex, ReadsEveryField) {
    Index index;
    ASSERT_EQ(ParseIndex(kGoodIndex, index), Refusal::kNone);
    EXPECT_EQ(index.serial, 7U);
    EXPECT_EQ(index.made, kGoodMade);
    EXPECT_EQ(index.expires, kGoodExpires);
    ASSERT_EQ(index.files.size(), 2U);
    EXPECT_EQ(index.files[0].name, "daily.cvd");
    EXPECT_EQ(index.files[0].size, 512U);
    EXPECT_EQ(index.files[0].sha256, kDigestA);
    EXPECT_EQ(index.files[0].version, 27000U);
    EXPECT_EQ(index.files[1].name, "own.hdb");
    EXPECT_EQ(index.files[1].size, 9U);
    EXPECT_EQ(index.files[1].sha256, kDigestB);
    EXPECT_EQ(index.files[1].version, 0U);
}

TEST(ParseIndex, PassesOverFieldsItDoesNotKnowWhateverIsInThem) {
    EXPECT_EQ(ParseWith("\"serial\"", R"("later": {"files": [1, {"name": null}]}, "serial")"),
              Refusal::kNone);
    EXPECT_EQ(ParseWith("\"size\"", R"("hint": [[], {}, "x", 1.5, true], "size")"), Refusal::kNone);
    EXPECT_EQ(ParseWith("\"serial\"", R"("a": 1, "b": null, "c": "x", "serial")"), Refusal::kNone);
}

TEST(ParseIndex, DeepNestingInUnknownFieldsCostsNoStack) {
    const std::string deep(200'000, '[');
    const std::string back(200'000, ']');
    EXPECT_EQ(ParseWith("\"serial\"", "\"x\": " + deep + back + ", \"serial\""), Refusal::kNone);
    EXPECT_EQ(Parse(deep), Refusal::kNotJson);
}

TEST(ParseIndex, RefusesMoreThanOneMebibyte) {
    std::string text = kGoodIndex;
    text.append((std::size_t{1} << 20U) - text.size(), ' ');
    EXPECT_EQ(Parse(text), Refusal::kNone);
    EXPECT_EQ(Parse(text + " "), Refusal::kIndexTooLarge);
}

TEST(ParseIndex, RefusesWhatIsNoJsonObject) {
    for (const std::string& text :
         {std::string(), std::string("{"), std::string("[]"), std::string("1"),
          std::string("\"x\""), std::string("null"), kGoodIndex + "x", kGoodIndex + kGoodIndex,
          "\xEF\xBB\xBF" + kGoodIndex, kGoodIndex + '\0', With("27000", "027000"),
          With("daily.cvd", "d\xFF.cvd"), With("\"serial\"", "/* */\"serial\""),
          With("7", "1e999")}) {
        EXPECT_EQ(Parse(text), Refusal::kNotJson) << text;
    }
}

TEST(ParseIndex, RefusesEveryCutOffIndex) {
    for (std::size_t size = 0; size < kGoodIndex.size(); ++size) {
        EXPECT_EQ(Parse(std::string_view(kGoodIndex).substr(0, size)), Refusal::kNotJson) << size;
    }
}

TEST(ParseIndex, RefusesAFieldThatStandsTwice) {
    EXPECT_EQ(ParseWith("\"made\"", R"("serial": 8, "made")"), Refusal::kRepeatedField);
    EXPECT_EQ(ParseWith("\"size\"", R"("name": "main.cvd", "size")"), Refusal::kRepeatedField);
    EXPECT_EQ(ParseWith("\"files\"", R"("files": [{}], "files")"), Refusal::kMissingField);
}

TEST(ParseIndex, RefusesAnIndexThatLacksAField) {
    for (const char* field : {"\"format\"", "\"serial\"", "\"made\"", "\"expires\"", "\"files\"",
                              "\"name\"", "\"size\"", "\"sha256\"", "\"version\""}) {
        EXPECT_EQ(ParseWith(field, "\"other\""), Refusal::kMissingField) << field;
    }
    EXPECT_EQ(Parse("{}"), Refusal::kMissingField);
}

TEST(ParseIndex, RefusesFieldsOfAWrongKind) {
    EXPECT_EQ(ParseWith("\"format\": 1", R"("format": "1")"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"serial\": 7", R"("serial": "7")"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"serial\": 7", R"("serial": null)"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"serial\": 7", R"("serial": true)"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"serial\": 7", R"("serial": [7])"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"serial\": 7", R"("serial": {})"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"2026-11-22T03:00:00Z\"", "5"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"2026-12-22T03:00:00Z\"", "null"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"daily.cvd\"", "5"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("\"" + kDigestA + "\"", "5"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("512", "\"512\""), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("27000", "\"27000\""), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("[{", "[5, {"), Refusal::kWrongFieldType);
    EXPECT_EQ(ParseWith("[{", "[[], {"), Refusal::kWrongFieldType);
    EXPECT_EQ(Parse(R"({"files": 5})"), Refusal::kWrongFieldType);
    EXPECT_EQ(Parse(R"({"files": {}})"), Refusal::kWrongFieldType);
}

TEST(ParseIndex, RefusesOtherFormats) {
    for (const char* format : {"0", "2", "-1", "1.0", "18446744073709551616"}) {
        EXPECT_EQ(ParseWith("\"format\": 1", "\"format\": " + std::string(format)),
                  Refusal::kUnknownFormat)
            << format;
    }
}

TEST(ParseIndex, TakesSerialsFromOneToTheLargestOfSixtyFourBits) {
    Index index;
    EXPECT_EQ(ParseIndex(With("\"serial\": 7", "\"serial\": 1"), index), Refusal::kNone);
    EXPECT_EQ(ParseIndex(With("\"serial\": 7", "\"serial\": 18446744073709551615"), index),
              Refusal::kNone);
    EXPECT_EQ(index.serial, 18446744073709551615U);
    for (const char* serial : {"0", "-1", "7.0", "7e0", "18446744073709551616"}) {
        EXPECT_EQ(ParseWith("\"serial\": 7", "\"serial\": " + std::string(serial)),
                  Refusal::kBadSerial)
            << serial;
    }
}

TEST(ParseIndex, RefusesDatesThatAreNoneOrInTheWrongOrder) {
    EXPECT_EQ(ParseWith("2026-11-22T03:00:00Z", "2026-11-31T03:00:00Z"), Refusal::kBadDate);
    EXPECT_EQ(ParseWith("2026-12-22T03:00:00Z", "tomorrow"), Refusal::kBadDate);
    EXPECT_EQ(ParseWith("2026-12-22T03:00:00Z", "2026-11-22T03:00:00Z"), Refusal::kBadDate);
    EXPECT_EQ(ParseWith("2026-12-22T03:00:00Z", "2026-11-22T03:00:01Z"), Refusal::kNone);
}

TEST(ParseIndex, RefusesNoFilesAndTooMany) {
    const std::string head =
        R"({"format":1,"serial":7,"made":"2026-11-22T03:00:00Z","expires":"2026-12-22T03:00:00Z",)"
        R"("files":[)";
    EXPECT_EQ(Parse(head + "]}"), Refusal::kNoFiles);
    std::string files;
    const auto add = [&files](int number) {
        files += std::string(files.empty() ? "" : ",") + R"({"name":"f)" + std::to_string(number) +
                 R"(.cvd","size":1,"sha256":")" + kDigestA + R"(","version":0})";
    };
    for (int number = 0; number < 1000; ++number) {
        add(number);
    }
    EXPECT_EQ(Parse(head + files + "]}"), Refusal::kNone);
    add(1000);
    EXPECT_EQ(Parse(head + files + "]}"), Refusal::kTooManyFiles);
}

TEST(ParseIndex, RefusesNamesThatLeaveTheFolderOrHide) {
    for (const char* name :
         {"", ".", "..", "../daily.cvd", "/etc/daily.cvd", "a/daily.cvd", "a\\\\daily.cvd", ".cvd",
          ".daily.cvd", "daily cvd.cvd", "daily\\n.cvd", "daily\\u0000.cvd", "d\\u00e4ily.cvd",
          "%2e%2e%2fdaily.cvd", "daily.cvd?", "~daily.cvd", "$HOME.cvd", "-;.cvd"}) {
        EXPECT_EQ(ParseWithName(name), Refusal::kBadFileName) << name;
    }
    const std::string longest = std::string(60, 'x') + ".cvd";
    EXPECT_EQ(ParseWithName(longest), Refusal::kNone);
    EXPECT_EQ(ParseWithName("x" + longest), Refusal::kBadFileName);
}

TEST(ParseIndex, RefusesNamesThatNoDatabaseHas) {
    for (const char* name : {"daily", "daily.", "cvd", "index.json", "index.json.minisig",
                             "scanver.cnf", "daily.cvd.sh", "daily.CVD", "mirrors.dat"}) {
        EXPECT_EQ(ParseWithName(name), Refusal::kNotADatabaseName) << name;
    }
}

TEST(ParseIndex, TakesTheNamesOfAllDatabasesThatTheEngineLoads) {
    for (const char* ending :
         {"cat", "cbc", "cdb", "cfg", "cld", "crb", "cud",  "cvd", "db",  "fp",  "ftm",  "gdb",
          "hdb", "hdu", "hsb", "hsu", "idb", "ign", "ign2", "imp", "ioc", "ldb", "ldu",  "mdb",
          "mdu", "msb", "msu", "ndb", "ndu", "pdb", "pwdb", "sfp", "wdb", "yar", "yara", "zmd"}) {
        EXPECT_EQ(ParseWithName("A-z_0.9." + std::string(ending)), Refusal::kNone) << ending;
    }
}

TEST(ParseIndex, RefusesTwoFilesOfOneName) {
    EXPECT_EQ(ParseWith("own.hdb", "daily.cvd"), Refusal::kRepeatedFileName);
}

TEST(ParseIndex, TakesSizesFromOneByteToTwoGibibytesAndFourInAll) {
    EXPECT_EQ(ParseWith("512", "1"), Refusal::kNone);
    EXPECT_EQ(ParseWith("512", "2147483648"), Refusal::kNone);
    for (const char* size : {"0", "-1", "2147483649", "1.5", "18446744073709551616"}) {
        EXPECT_EQ(ParseWith("512", size), Refusal::kBadFileSize) << size;
    }
    const std::string third =
        R"(, {"name": "c.cvd", "version": 1, "sha256": ")" + kDigestA + R"(", "size": )";
    std::string text = With("512", "2147483648");
    text.replace(text.find("\"size\": 9"), 9, "\"size\": 2147483648");
    EXPECT_EQ(Parse(text), Refusal::kNone);
    text.insert(text.size() - 2, third + "1}");
    EXPECT_EQ(Parse(text), Refusal::kTooLargeInAll);
}

TEST(ParseIndex, RefusesDigestsThatAreNone) {
    for (const std::string& digest :
         {std::string(), std::string(63, 'a'), std::string(65, 'a'), std::string(64, 'A'),
          std::string(64, 'g'), std::string(63, 'a') + "/", "../" + std::string(61, 'a')}) {
        EXPECT_EQ(ParseWith(kDigestA, digest), Refusal::kBadFileDigest) << digest;
    }
}

TEST(ParseIndex, TakesVersionsOfThirtyTwoBits) {
    Index index;
    EXPECT_EQ(ParseIndex(With("27000", "4294967295"), index), Refusal::kNone);
    EXPECT_EQ(index.files[0].version, 4294967295U);
    for (const char* version : {"-1", "4294967296", "1.5"}) {
        EXPECT_EQ(ParseWith("27000", version), Refusal::kBadFileVersion) << version;
    }
}

TEST(FormatIndex, WritesWhatIsReadAgain) {
    Index index;
    index.serial = 18446744073709551615U;
    index.made = kGoodMade;
    index.expires = kGoodExpires;
    index.files = {{"daily.cvd", 512, kDigestA, 27000}, {"own.hdb", 9, kDigestB, 0}};
    const std::string text = signed_index::FormatIndex(index);
    EXPECT_EQ(text, R"({
 "format": 1,
 "serial": 18446744073709551615,
 "made": "2026-11-22T03:00:00Z",
 "expires": "2026-12-22T03:00:00Z",
 "files": [
  {
   "name": "daily.cvd",
   "size": 512,
   "sha256": "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",
   "version": 27000
  },
  {
   "name": "own.hdb",
   "size": 9,
   "sha256": "bbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbbb",
   "version": 0
  }
 ]
}
)");
    Index again;
    ASSERT_EQ(ParseIndex(text, again), Refusal::kNone);
    EXPECT_EQ(again.serial, index.serial);
    EXPECT_EQ(again.files[1].name, "own.hdb");
}

TEST(FormatIndex, ANameOfAnyBytesIsWrittenAndRefusedByTheReader) {
    Index index{1, kGoodMade, kGoodExpires, {{"\xFF\"\n.cvd", 1, kDigestA, 1}}};
    EXPECT_EQ(Parse(signed_index::FormatIndex(index)), Refusal::kBadFileName);
}

TEST(WordsFor, EveryReasonHasWordsOfItsOwn) {
    std::set<std::string> words;
    constexpr int kReasons = static_cast<int>(Refusal::kSecretKeyDamaged) + 1;
    for (int reason = 0; reason < kReasons; ++reason) {
        words.insert(signed_index::WordsFor(static_cast<Refusal>(reason)));
    }
    EXPECT_EQ(words.size(), static_cast<std::size_t>(kReasons));
    EXPECT_FALSE(words.contains("an unknown reason"));
}

}  // namespace
