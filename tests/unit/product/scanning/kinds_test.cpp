// The table of product/scanapi/README.md, row by row: what is done for each kind of container.

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/unit/product/scanning/packed_samples.h"
#include "tests/unit/product/scanning/sample_scanner.h"

namespace {

using Names = std::vector<std::string>;

struct Row {
    std::string readBy;
    std::string whenCut;
};

std::string Trimmed(std::string text) {
    text.erase(0, text.find_first_not_of(' '));
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

std::map<std::string, Row> ReadTable() {
    std::ifstream manual(SCANAPI_MANUAL);
    std::map<std::string, Row> table;
    bool inTable = false;
    for (std::string line; std::getline(manual, line);) {
        if (line == "| Kind | Contents read by | Cut short |") {
            inTable = true;
            std::getline(manual, line);
            continue;
        }
        inTable = inTable && line.starts_with('|');
        if (inTable) {
            std::istringstream cells(line.substr(1));
            std::string kind;
            std::string readBy;
            std::string whenCut;
            std::getline(cells, kind, '|');
            std::getline(cells, readBy, '|');
            std::getline(cells, whenCut, '|');
            table[Trimmed(kind)] = {Trimmed(readBy), Trimmed(whenCut)};
        }
    }
    return table;
}

// Without the reason.
std::string Verdict(const scanning::ScanOutcome& outcome) {
    const std::string text = VerdictOf(outcome);
    return text.substr(0, text.find(':'));
}

class KindsTest : public testing::TestWithParam<std::pair<const std::string, std::string>> {
protected:
    static void SetUpTestSuite() {
        s_scanner =
            std::make_unique<SampleScanner>(std::vector<std::pair<std::string, std::string>>{
                {"sample.hdb", "aa15bcf478d165efd2065190eb473bcb:544:ClamAV-Test-File\n"}});
        s_table = ReadTable();
    }
    static void TearDownTestSuite() { s_scanner.reset(); }

    void SetUp() override {
        ASSERT_TRUE(s_table.contains(Kind())) << Kind() << " is not in the table";
    }
    [[nodiscard]] static const std::string& Kind() { return GetParam().first; }
    [[nodiscard]] static const Row& Expected() { return s_table.at(Kind()); }
    [[nodiscard]] static bool IsGiven() {
        return GetParam().second.find("clamav-testfiles") != std::string::npos;
    }

    static inline std::unique_ptr<SampleScanner> s_scanner;
    static inline std::map<std::string, Row> s_table;
};

TEST(KindsTableTest, EveryRowHasASample) {
    Names rows;
    for (const auto& [kind, row] : ReadTable()) {
        rows.push_back(kind);
        EXPECT_TRUE(Packers().contains(kind)) << kind;
        EXPECT_TRUE(row.readBy == "libclamav" || row.readBy == "libarchive" ||
                    row.readBy == "nobody")
            << kind;
        EXPECT_TRUE(row.whenCut == "1005" || row.whenCut == "no check") << kind;
    }
    EXPECT_EQ(rows.size(), Packers().size());
}

TEST_P(KindsTest, WhatIsInItIsFoundOrItIsUnread) {
    const std::string bytes = MakeSample(Kind(), true);
    const auto result = s_scanner->Scan(bytes);
    const bool isRead = Expected().readBy != "nobody";
    EXPECT_EQ(Verdict(result.outcome), isRead ? "infected" : "unread") << result.outcome.reason;
    EXPECT_EQ(result.outcome.reason.empty(), isRead);
    // Who reads it is no matter of opinion.
    EXPECT_EQ(s_scanner->FindsByItself(bytes, SampleScanner::kAll),
              Expected().readBy == "libclamav");
}

TEST_P(KindsTest, WithNothingBadInItItIsClean) {
    if (IsGiven()) {
        return;
    }
    const auto result = s_scanner->Scan(MakeSample(Kind(), false));
    EXPECT_EQ(Verdict(result.outcome), Expected().readBy == "nobody" ? "unread" : "clean")
        << result.outcome.reason;
}

TEST_P(KindsTest, CutShortItIsNotCalledClean) {
    if (IsGiven() || Expected().whenCut != "1005") {
        return;
    }
    const std::string bytes = MakeSample(Kind(), false);
    for (const int percent : {70, 75}) {
        const auto size = bytes.size() * static_cast<std::size_t>(percent) / 100;
        const auto result = s_scanner->Scan(bytes.substr(0, size));
        EXPECT_EQ(Verdict(result.outcome), "unread") << percent;
        EXPECT_NE(result.outcome.reason, "") << percent;
    }
}

// More is fine; fewer never.
TEST_P(KindsTest, WhatLibclamavFindsByItselfIsFound) {
    const std::string bytes = MakeSample(Kind(), true);
    for (unsigned bits = 0; bits < 16; ++bits) {
        const scanning::ScanProfile profile{.archives = (bits & 1U) != 0,
                                            .packed = (bits & 2U) != 0,
                                            .unknownTypes = (bits & 4U) != 0,
                                            .unwanted = (bits & 8U) != 0};
        if (s_scanner->FindsByItself(bytes, profile)) {
            EXPECT_EQ(Verdict(s_scanner->Scan(bytes, profile).outcome), "infected") << bits;
        }
    }
}

std::string NameOfCase(const testing::TestParamInfo<KindsTest::ParamType>& sample) {
    std::string name;
    for (const char byte : sample.param.first) {
        name += std::isalnum(static_cast<unsigned char>(byte)) != 0 ? std::string(1, byte) : "";
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(All, KindsTest, testing::ValuesIn(Packers()), NameOfCase);

}  // namespace
