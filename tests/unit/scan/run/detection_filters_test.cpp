#include "scan/run/detection_filters.h"

#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>

#include "common/run_state.h"
#include "common/text_field.h"

namespace {

tagZQFILEINFO Detection(const std::string& virus, const std::string& file = "/tmp/a.doc") {
    tagZQFILEINFO info{};
    info.code = kMsgVirusFound;
    common::CopyToUnterminatedField(info.virusName, virus);
    common::CopyToUnterminatedField(info.fileName, file);
    return info;
}

tagZQFILEINFO Kind(std::uint16_t detectionClass, std::uint16_t subClass) {
    tagZQFILEINFO info{};
    info.detectionClass = detectionClass;
    info.detectionSubClass = subClass;
    return info;
}

class DetectionFilters : public ::testing::Test {
protected:
    void SetUp() override {
        g_iCleanFileSeqCnt = 0;
        g_iCntLabViruses = 0;
        g_LabScanData = {};
    }
    void TearDown() override { SetUp(); }

    tagSCANAPI_OPTIONS m_options{};
};

// --- ReportUnknownMacroVirus -------------------------------------------------------------------

TEST_F(DetectionFilters, OrdinaryNamesAreReported) {
    for (const char* virus : {"Eicar-Test-Signature", "", "Win32.Something", "Unknown", "unknown x",
                              "W97M", "w97m.Melissa", "WM", "W97N.x"}) {
        const tagZQFILEINFO info = Detection(virus, "/home/a/letter.wiz");
        EXPECT_EQ(ReportUnknownMacroVirus(&info, &m_options), 1) << virus;
    }
}

TEST_F(DetectionFilters, UnknownWithTheBlankIsDismissed) {
    for (const char* virus : {"Unknown Macro", "Unknown ", "Heur.Unknown x", "W97M.Unknown x"}) {
        const tagZQFILEINFO info = Detection(virus);
        EXPECT_EQ(ReportUnknownMacroVirus(&info, &m_options), 0) << virus;
    }
}

TEST_F(DetectionFilters, WmIsLookedForBeforeUnknown) {
    for (const char* virus : {"WM.Unknown x", "Unknown WM.x", "WM.", "a WM.b Unknown W97M.c"}) {
        const tagZQFILEINFO info = Detection(virus, "/a/b.wiz");
        EXPECT_EQ(ReportUnknownMacroVirus(&info, &m_options), 1) << virus;
    }
}

TEST_F(DetectionFilters, W97mInAWizardTemplateIsDismissedInAnyCase) {
    for (const char* file : {"/a/letter.wiz", "/a/LETTER.WIZ", "/a/letter.WiZ", "/a/b.wizard/c.doc",
                             ".wiz", "/a/\xFF\xFE.wIz"}) {
        const tagZQFILEINFO info = Detection("W97M.Melissa.A", file);
        EXPECT_EQ(ReportUnknownMacroVirus(&info, &m_options), 0) << file;
    }
}

TEST_F(DetectionFilters, W97mInAnotherFileIsReported) {
    for (const char* file : {"/a/letter.doc", "/a/wiz", "/a/letter.wi", "/a/letter.w.iz", ""}) {
        const tagZQFILEINFO info = Detection("W97M.Melissa.A", file);
        EXPECT_EQ(ReportUnknownMacroVirus(&info, &m_options), 1) << file;
    }
}

TEST_F(DetectionFilters, TheLabScanFlagReportsEverything) {
    m_options.extraFlags = 0x8000;
    const tagZQFILEINFO unknown = Detection("Unknown Macro");
    const tagZQFILEINFO wizard = Detection("W97M.Melissa.A", "/a/letter.wiz");
    EXPECT_EQ(ReportUnknownMacroVirus(&unknown, &m_options), 1);
    EXPECT_EQ(ReportUnknownMacroVirus(&wizard, &m_options), 1);
}

TEST_F(DetectionFilters, OtherExtraFlagsReportNothingMore) {
    m_options.extraFlags = 0x7FFF;
    const tagZQFILEINFO unknown = Detection("Unknown Macro");
    EXPECT_EQ(ReportUnknownMacroVirus(&unknown, &m_options), 0);
}

TEST_F(DetectionFilters, AnUnterminatedVirusNameIsNotReadPastItsEnd) {
    tagZQFILEINFO info = Detection("Unknown " + std::string(42, 'x'));
    info.detectionClass = 'W' | 'M' << 8;  // would complete "WM." behind the name
    info.detectionSubClass = '.';
    EXPECT_EQ(ReportUnknownMacroVirus(&info, &m_options), 0);
}

TEST_F(DetectionFilters, AnUnterminatedFileNameIsNotReadPastItsEnd) {
    tagZQFILEINFO info = Detection("W97M.Melissa.A", std::string(1024, 'a'));
    std::memcpy(info.reserved1, ".WIZ", 4);
    EXPECT_EQ(ReportUnknownMacroVirus(&info, &m_options), 1);
}

TEST_F(DetectionFilters, OneThousandAndTwentyThreeCharactersOfTheFileNameAreSearched) {
    const tagZQFILEINFO within = Detection("W97M.x", std::string(1019, 'a') + ".wiz");
    const tagZQFILEINFO beyond = Detection("W97M.x", std::string(1020, 'a') + ".wiz");
    EXPECT_EQ(ReportUnknownMacroVirus(&within, &m_options), 0);
    EXPECT_EQ(ReportUnknownMacroVirus(&beyond, &m_options), 1);
}

TEST_F(DetectionFilters, NullArgumentsFail) {
    const tagZQFILEINFO info = Detection("Eicar");
    EXPECT_EQ(ReportUnknownMacroVirus(nullptr, &m_options), 0);
    EXPECT_EQ(ReportUnknownMacroVirus(&info, nullptr), 0);
    EXPECT_EQ(ReportWeakPolyVirus(nullptr), 0);
    DecideLabScanFlag(nullptr, &m_options);
    EXPECT_EQ(g_iCntLabViruses, 0);
}

// --- ReportWeakPolyVirus -----------------------------------------------------------------------

using KindSet = std::set<std::pair<int, int>>;

/// Every (class, sub-class) of a sweep that is dismissed.
KindSet DismissedKinds() {
    KindSet dismissed;
    for (std::uint16_t detectionClass = 0; detectionClass < 256; ++detectionClass) {
        for (std::uint16_t subClass = 0; subClass < 256; ++subClass) {
            const tagZQFILEINFO info = Kind(detectionClass, subClass);
            if (ReportWeakPolyVirus(&info) == 0) {
                dismissed.emplace(detectionClass, subClass);
            }
        }
    }
    return dismissed;
}

TEST_F(DetectionFilters, ExactlyTheWeakKindsAreDismissedAfterSixteenCleanFiles) {
    const KindSet weak{{4, 39}, {4, 45}, {4, 49}, {4, 51}, {4, 55}, {4, 58},
                       {4, 59}, {4, 60}, {4, 61}, {4, 64}, {4, 69}, {4, 71},
                       {4, 72}, {4, 73}, {4, 76}, {6, 2},  {6, 44}, {6, 49}};
    for (const int clean : {16, 17, 1000, 2147483647}) {
        g_iCleanFileSeqCnt = clean;
        EXPECT_EQ(DismissedKinds(), weak) << clean;
    }
}

TEST_F(DetectionFilters, EveryKindIsReportedEarlyInARunAndAfterADetection) {
    for (const int clean : {-1, 0, 1, 15}) {
        g_iCleanFileSeqCnt = clean;
        EXPECT_EQ(DismissedKinds(), KindSet{}) << clean;
    }
}

TEST_F(DetectionFilters, ClassesAreComparedWhole) {
    g_iCleanFileSeqCnt = 16;
    for (const auto& [detectionClass, subClass] :
         {std::pair{0x0104, 39}, {4, 0x0127}, {0x0106, 2}, {6, 0x0102}}) {
        const tagZQFILEINFO info =
            Kind(static_cast<std::uint16_t>(detectionClass), static_cast<std::uint16_t>(subClass));
        EXPECT_EQ(ReportWeakPolyVirus(&info), 1) << detectionClass << ' ' << subClass;
    }
}

// --- DecideLabScanFlag -------------------------------------------------------------------------

TEST_F(DetectionFilters, AKindIsRecordedSubClassFirst) {
    const tagZQFILEINFO info = Kind(4, 39);
    DecideLabScanFlag(&info, &m_options);
    EXPECT_EQ(g_iCntLabViruses, 1);
    std::uint16_t pair[2];
    static_assert(sizeof(g_LabScanData) == 40);
    std::memcpy(pair, &g_LabScanData[0], sizeof(pair));
    EXPECT_EQ(pair[0], 39);
    EXPECT_EQ(pair[1], 4);
}

TEST_F(DetectionFilters, AKnownKindIsNotCountedAgain) {
    for (const auto& info : {Kind(4, 39), Kind(4, 40), Kind(4, 39), Kind(39, 4), Kind(4, 40)}) {
        DecideLabScanFlag(&info, &m_options);
    }
    EXPECT_EQ(g_iCntLabViruses, 3);
}

TEST_F(DetectionFilters, TheZeroKindIsAKindLikeEveryOther) {
    const tagZQFILEINFO info = Kind(0, 0);
    DecideLabScanFlag(&info, &m_options);
    DecideLabScanFlag(&info, &m_options);
    EXPECT_EQ(g_iCntLabViruses, 1);
}

TEST_F(DetectionFilters, TheEleventhKindIsNotRecorded) {
    for (std::uint16_t i = 1; i <= 11; ++i) {
        const tagZQFILEINFO info = Kind(100, i);
        DecideLabScanFlag(&info, &m_options);
    }
    EXPECT_EQ(g_iCntLabViruses, 10);
    for (std::uint16_t i = 0; i < 10; ++i) {
        EXPECT_EQ(g_LabScanData[i].subClass, i + 1);
        EXPECT_EQ(g_LabScanData[i].detectionClass, 100);
    }
}

TEST_F(DetectionFilters, RecordingLeavesTheOptionsAlone) {
    for (std::uint16_t i = 1; i <= 11; ++i) {
        const tagZQFILEINFO info = Kind(100, i);
        DecideLabScanFlag(&info, &m_options);
    }
    EXPECT_EQ(m_options.extraFlags, 0);
}

TEST_F(DetectionFilters, ARunThatStartsAfreshForgetsTheKinds) {
    const tagZQFILEINFO info = Kind(4, 39);
    DecideLabScanFlag(&info, &m_options);
    g_iCntLabViruses = 0;
    DecideLabScanFlag(&info, &m_options);
    EXPECT_EQ(g_iCntLabViruses, 1);
}

}  // namespace
