#include "product/scanning/detection_kind.h"

#include <gtest/gtest.h>

namespace {

using namespace scanning;

TEST(DetectionKindTest, TheClassTellsTheKindOfFind) {
    EXPECT_EQ(KindOf("Win.Trojan.Agent-1").detectionClass, 1);
    EXPECT_EQ(KindOf("PUA.Win.Adware.Agent-1").detectionClass, 2);
    EXPECT_EQ(KindOf("Heuristics.Phishing.Email.SpoofedDomain").detectionClass, 3);
    EXPECT_EQ(KindOf("Eicar-Test-Signature.UNOFFICIAL").detectionClass, 5);
    EXPECT_EQ(KindOf("Win.Test.EICAR_HDB-1").detectionClass, 5);
}

TEST(DetectionKindTest, NoFindFallsIntoADoubtfulClass) {
    for (int i = 0; i < 100000; ++i) {
        const auto kind = KindOf("Family." + std::to_string(i));
        ASSERT_NE(kind.detectionClass, 4);
        ASSERT_NE(kind.detectionClass, 6);
    }
}

TEST(DetectionKindTest, OneNameIsOneKindAndTwoNamesAreTwo) {
    EXPECT_EQ(KindOf("Win.Trojan.A").subClass, KindOf("Win.Trojan.A").subClass);
    EXPECT_NE(KindOf("Win.Trojan.A").subClass, KindOf("Win.Trojan.B").subClass);
}

TEST(DetectionKindTest, NamesGoThroughAsTheyAre) {
    EXPECT_EQ(NameForProgram("Win.Trojan.Agent-1", "/a/b.exe"), "Win.Trojan.Agent-1");
    EXPECT_EQ(NameForProgram("W97M.Ethan", "/a/b.doc"), "W97M.Ethan");
    EXPECT_EQ(NameForProgram("WM.Concept", "/a/b.wiz"), "WM.Concept");
    EXPECT_EQ(NameForProgram("Unknown", "/a/b"), "Unknown");
}

TEST(DetectionKindTest, NamesThatTheProgramWouldDismissAreWrittenOtherwise) {
    EXPECT_EQ(NameForProgram("Unknown Macro Unknown x", "/a/b"), "Unknown_Macro Unknown_x");
    EXPECT_EQ(NameForProgram("W97M.Ethan", "/a/letter.WiZ"), "W97M/Ethan");
    EXPECT_EQ(NameForProgram("W97M.W97M.A", "/a/my.wizard.doc"), "W97M/W97M/A");
}

TEST(DetectionKindTest, WhatTheLibraryCouldNotReadIsNoVirus) {
    EXPECT_TRUE(MeansNotWholeScanned("Heuristics.Limits.Exceeded.MaxFileSize"));
    EXPECT_TRUE(MeansNotWholeScanned("Heuristics.Limits.Exceeded"));
    EXPECT_TRUE(MeansNotWholeScanned("Heuristics.Encrypted.Zip"));
    EXPECT_FALSE(MeansNotWholeScanned("Heuristics.Phishing.Email"));
    EXPECT_FALSE(MeansNotWholeScanned("Win.Trojan.Heuristics.Encrypted.1"));
}

}  // namespace
