#include <gtest/gtest.h>
#include <string>

#include "common/profile.h"
#include "tests/support/scratch.h"

// What the writers make of a file's bytes. What they do to the file itself, and when they cannot,
// is in profile_replacement_test.cpp.

namespace {

using namespace std::string_literals;

constexpr std::uint32_t kUntouchedCode = 77;

class ProfileWriter : public testing::Test {
protected:
    // The file that `before` becomes; a failure shows in the result too.
    std::string After(const std::string& before, const std::string& section, const std::string& key,
                      const std::string& value,
                      decltype(&WritePrivateProfileString) write = WritePrivateProfileString) {
        WriteFile(m_path, before);
        m_code = kUntouchedCode;
        m_result = write(section.c_str(), key.c_str(), value.c_str(), m_path.c_str(), &m_code);
        EXPECT_EQ(m_result, m_code == 0 ? 0 : -1);
        EXPECT_FALSE(Exists(m_path + ".tmp"));
        return ReadFile(m_path);
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "section.ini";
    int m_result = 1;
    std::uint32_t m_code = kUntouchedCode;
};

TEST_F(ProfileWriter, ReplacesAValueInItsPlace) {
    EXPECT_EQ(After("[A]\nKey=1\n[B]\nKey=2\nOther=3\n", "B", "Key", "new"),
              "[A]\nKey=1\n[B]\nKey=new\nOther=3\n");
    EXPECT_EQ(m_code, 0U);
}

TEST_F(ProfileWriter, SpellsTheKeyAsTheCallerDoesAndKeepsTheHeader) {
    EXPECT_EQ(After("[ Scan ] junk\n  kEY  =  1\n", "SCAN", " KeY\t", "\t n e w \n"),
              "[ Scan ] junk\nKeY=n e w\n");
}

TEST_F(ProfileWriter, TrimsWhatStandsBeforeTheChangedLine) {
    EXPECT_EQ(After(" \t; comment \r\n\r\n  out = 0 \r\n \t[A] \r\n x = 1 \v\f\r\n#c \n\n"
                    "[S]\r\n  a = 1\t\r\nKey=old\r\n",
                    "S", "Key", "new"),
              "; comment\n\nout = 0\n[A]\nx = 1\n#c\n\n[S]\na = 1\nKey=new\n");
}

TEST_F(ProfileWriter, KeepsEveryByteAfterTheChangedLine) {
    EXPECT_EQ(
        After("[S]\r\nKey=old\r\n b = 2 \r\n\t[T] \r\n\r\nKey = 3\r\n\xff last", "S", "Key", "new"),
        "[S]\nKey=new\n b = 2 \r\n\t[T] \r\n\r\nKey = 3\r\n\xff last");
}

TEST_F(ProfileWriter, PutsANewKeyOfAMiddleSectionRightBeforeTheNextHeader) {
    EXPECT_EQ(After("[S]\n a = 1 \n\n ; end \n\n  [T] x \r\n  b = 2 \r\n", "S", "Key", "new"),
              "[S]\na = 1\n\n; end\n\nKey=new\n[T] x\n  b = 2 \r\n");
}

TEST_F(ProfileWriter, PutsANewKeyOfTheLastSectionAtTheEnd) {
    EXPECT_EQ(After("[S]\na=1\n\n; end\n\n", "S", "Key", "new"), "[S]\na=1\n\n; end\n\nKey=new\n");
    EXPECT_EQ(After("[S]\na=1", "S", "Key", "new"), "[S]\na=1\nKey=new\n");
    EXPECT_EQ(After("[S]", "S", "Key", "new"), "[S]\nKey=new\n");
}

TEST_F(ProfileWriter, AppendsAMissingSection) {
    EXPECT_EQ(After(" [A] \r\n x = 1 \r\n", " S ", "Key", "new"), "[A]\nx = 1\n[S]\nKey=new\n");
    EXPECT_EQ(After("[A]\nx=1", "S", "Key", "new"), "[A]\nx=1\n[S]\nKey=new\n");
    EXPECT_EQ(After("Key=0\n;[S]\n", "S", "Key", "new"), "Key=0\n;[S]\n[S]\nKey=new\n");
}

TEST_F(ProfileWriter, FillsAnEmptyFile) {
    EXPECT_EQ(After("", "S", "Key", "new"), "[S]\nKey=new\n");
}

TEST_F(ProfileWriter, EndsALastLineThatItReplaces) {
    EXPECT_EQ(After("[S]\nKey=old", "S", "Key", "new"), "[S]\nKey=new\n");
}

TEST_F(ProfileWriter, GivesALineWithoutAValueOne) {
    EXPECT_EQ(After("[S]\nKey\nKey=1\n", "S", "Key", "new"), "[S]\nKey=new\nKey=1\n");
}

TEST_F(ProfileWriter, LeavesCommentsAndSimilarKeysAlone) {
    EXPECT_EQ(After("[S]\n;Key=1\n#Key=2\nKey2=3\nKe=4\n=5\n", "S", "Key", "new"),
              "[S]\n;Key=1\n#Key=2\nKey2=3\nKe=4\n=5\nKey=new\n");
}

TEST_F(ProfileWriter, TakesNoCommentAndNoHeaderForAnEntry) {
    EXPECT_EQ(After("[S]\n;Key=1\n", "S", ";Key", "new"), "[S]\n;Key=1\n;Key=new\n");
    EXPECT_EQ(After("[S]\n#Key=1\n", "S", "#Key", "new"), "[S]\n#Key=1\n#Key=new\n");
    EXPECT_EQ(After("[S]\n[Key=1\n", "S", "[Key", "new"), "[S]\n[Key=new\n[Key=1\n");
}

TEST_F(ProfileWriter, ChangesTheFirstOfItsNameOnly) {
    EXPECT_EQ(After("[S]\nKey=1\nKey=2\n[S]\nKey=3\n", "s", "Key", "new"),
              "[S]\nKey=new\nKey=2\n[S]\nKey=3\n");
    EXPECT_EQ(After("[S]\na=1\n[S]\nKey=3\n", "S", "Key", "new"),
              "[S]\na=1\nKey=new\n[S]\nKey=3\n");
}

TEST_F(ProfileWriter, AHeaderWithoutItsBracketEndsASection) {
    EXPECT_EQ(After("[S\nKey=0\n[S]\na=1\n [broken \nKey=2\n", "S", "Key", "new"),
              "[S\nKey=0\n[S]\na=1\nKey=new\n[broken\nKey=2\n");
}

TEST_F(ProfileWriter, AnEmptyValueIsTheExtendedWritersOnly) {
    EXPECT_EQ(After("[S]\nKey=1\n", "S", "Key", ""), "[S]\nKey=1\n");
    EXPECT_EQ(m_code, 206U);
    EXPECT_EQ(After("[S]\nKey=1\n", "S", "Key", " \t\r\n\v\f"), "[S]\nKey=1\n");
    EXPECT_EQ(m_code, 206U);
    EXPECT_EQ(After("[S]\nKey=1\n", "S", "Key", " \t", WritePrivateProfileStringEx), "[S]\nKey=\n");
    EXPECT_EQ(m_code, 0U);
    EXPECT_EQ(After("[S]\nKey=1\n", "S", "Key", "", WritePrivateProfileStringEx), "[S]\nKey=\n");
}

TEST_F(ProfileWriter, TheExtendedWriterIsTheSameOtherwise) {
    EXPECT_EQ(After("[S]\r\n Key = 1\r\nb = 2\r\n", "s", "KEY", "new", WritePrivateProfileStringEx),
              "[S]\nKEY=new\nb = 2\r\n");
    EXPECT_EQ(After("[S]\n", "", "Key", "v", WritePrivateProfileStringEx), "[S]\n");
    EXPECT_EQ(m_code, 205U);
    EXPECT_EQ(After("[S]\n", "S", "", "v", WritePrivateProfileStringEx), "[S]\n");
    EXPECT_EQ(m_code, 203U);
}

TEST_F(ProfileWriter, RefusesEmptyNamesBeforeAnythingElse) {
    EXPECT_EQ(After(" [S] \n", " \t", "", ""), " [S] \n");
    EXPECT_EQ(m_code, 205U);
    EXPECT_EQ(After(" [S] \n", "S", " ", ""), " [S] \n");
    EXPECT_EQ(m_code, 203U);
    std::uint32_t code = kUntouchedCode;
    EXPECT_EQ(WritePrivateProfileString("S", "Key", "", "/nonexistent/x", &code), -1);
    EXPECT_EQ(code, 206U);
}

TEST_F(ProfileWriter, CutsArgumentsTo256BytesBeforeTrimming) {
    const std::string section(256, 's');
    const std::string key(256, 'k');
    const std::string value(256, 'v');
    EXPECT_EQ(
        After("[" + section + "]\n" + key + "=1\n", section + "more", key + "more", value + "more"),
        "[" + section + "]\n" + key + "=" + value + "\n");
    EXPECT_EQ(After("", section + "more", "Key", "  " + value),
              "[" + section + "]\nKey=" + value.substr(2) + "\n");
    EXPECT_EQ(After("[S]\n", "S", std::string(300, 'k'), "v"), "[S]\n" + key + "=v\n");
    EXPECT_EQ(After("[S]\n", "S", "Key", std::string(256, ' ') + "v"), "[S]\n");
    EXPECT_EQ(m_code, 206U);
}

TEST_F(ProfileWriter, CopiesALongLineBeforeTheChangeInPieces) {
    EXPECT_EQ(After("[S]\n" + std::string(1500, 'x') + "\nKey=1\n", "S", "Key", "new"),
              "[S]\n" + std::string(1023, 'x') + "\n" + std::string(477, 'x') + "\nKey=new\n");
}

TEST_F(ProfileWriter, KeepsALongLineAfterTheChange) {
    const std::string rest = std::string(5000, ' ') + "x\r\n" + std::string(9000, '\0') + "=";
    EXPECT_EQ(After("[S]\nKey=1\n" + rest, "S", "Key", "new"), "[S]\nKey=new\n" + rest);
    EXPECT_EQ(After("[S]\n[T]\n" + rest, "S", "Key", "new"), "[S]\nKey=new\n[T]\n" + rest);
}

TEST_F(ProfileWriter, OfAChangedLongLineTheFirstPieceIsReplaced) {
    EXPECT_EQ(After("[S]\nKey=" + std::string(1019, 'v') + " tail \nb=1\n", "S", "Key", "new"),
              "[S]\nKey=new\n tail \nb=1\n");
}

TEST_F(ProfileWriter, AZeroByteEndsALineBeforeTheChangeAndIsKeptAfterIt) {
    EXPECT_EQ(After("a\0b\n\0c\n[S]\0]\nKey\0=1\n\0rest\0\n"s, "S", "Key", "new"),
              "a\n\n[S]\nKey=new\n\0rest\0\n"s);
}

TEST_F(ProfileWriter, WhatIsWrittenIsReadBack) {
    (void)After("[S]\na=1\n[T]\nb=2\n", "s", "New Key", "\"a;b\" = #c");
    std::string buffer(64, '\0');
    std::uint32_t code = kUntouchedCode;
    EXPECT_EQ(
        GetPrivateProfileString("S", "new key", "d", buffer.data(), 64, m_path.c_str(), &code), 0);
    EXPECT_STREQ(buffer.c_str(), "\"a;b\" = #c");
}

TEST_F(ProfileWriter, WritingTheSameAgainChangesNothing) {
    const std::string once = After(" [S] \n a = 1\n\n[T]\nb = 2\n", "S", "Key", "new");
    EXPECT_EQ(After(once, "S", "Key", "new"), once);
}

TEST_F(ProfileWriter, ANullPointerFailsAndLeavesTheCodeAlone) {
    WriteFile(m_path, " [S] \n");
    const char* const path = m_path.c_str();
    for (const auto write : {WritePrivateProfileString, WritePrivateProfileStringEx}) {
        std::uint32_t code = kUntouchedCode;
        EXPECT_EQ(write(nullptr, "Key", "v", path, &code), -1);
        EXPECT_EQ(write("S", nullptr, "v", path, &code), -1);
        EXPECT_EQ(write("S", "Key", nullptr, path, &code), -1);
        EXPECT_EQ(write("S", "Key", "v", nullptr, &code), -1);
        EXPECT_EQ(write("S", "Key", "v", path, nullptr), -1);
        EXPECT_EQ(code, kUntouchedCode);
    }
    EXPECT_EQ(ReadFile(m_path), " [S] \n");
}

}  // namespace
