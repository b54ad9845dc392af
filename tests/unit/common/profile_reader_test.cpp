#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "common/profile.h"
#include "tests/support/scratch.h"

namespace {

using namespace std::string_literals;

constexpr std::uint32_t kUntouchedCode = 77;

class Profile : public testing::Test {
protected:
    struct Text {
        int result;
        std::uint32_t code;
        std::string text;
        bool operator==(const Text&) const = default;
    };
    struct Number {
        int value;
        std::uint32_t code;
        bool operator==(const Number&) const = default;
    };

    void Put(std::string_view content) { WriteFile(m_path, content); }

    // As callers do: into a zero-filled buffer.
    Text Read(const std::string& section, const std::string& key,
              const std::string& defaultText = "default") {
        std::string buffer(2048, '\0');
        Text read{1, kUntouchedCode, {}};
        read.result = GetPrivateProfileString(section.c_str(), key.c_str(), defaultText.c_str(),
                                              buffer.data(), 2048, m_path.c_str(), &read.code);
        read.text = buffer.substr(0, buffer.find('\0'));
        return read;
    }

    Number ReadInt(const std::string& section, const std::string& key, int defaultValue = 42) {
        Number read{0, kUntouchedCode};
        read.value = GetPrivateProfileInt(section.c_str(), key.c_str(), defaultValue,
                                          m_path.c_str(), &read.code);
        return read;
    }

    Number ReadIntOf(const std::string& value) {
        Put("[S]\nKey=" + value + "\n");
        return ReadInt("S", "Key");
    }

    std::vector<std::string> ReadSection(const std::string& section) {
        std::vector<std::string> lines;
        EXPECT_EQ(GetPrivateProfileSection(section.c_str(), &lines, m_path.c_str()), 0);
        return lines;
    }

    // The whole buffer of `size` bytes and one beyond it, all "." before the call.
    std::string Buffer(std::uint32_t size, const std::string& key) {
        std::string buffer(size + 1, '.');
        std::uint32_t code = kUntouchedCode;
        (void)GetPrivateProfileString("S", key.c_str(), "fallback", buffer.data(), size,
                                      m_path.c_str(), &code);
        return buffer;
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "section.ini";
};

class ProfileString : public Profile {};
class ProfileInt : public Profile {};
class ProfileSection : public Profile {};

TEST_F(ProfileString, FindsAValueInItsSection) {
    Put("[A]\nKey=1\n[B]\nKey=2\nOther=3\n");
    EXPECT_EQ(Read("A", "Key"), (Text{0, 0, "1"}));
    EXPECT_EQ(Read("B", "Key"), (Text{0, 0, "2"}));
    EXPECT_EQ(Read("B", "Other"), (Text{0, 0, "3"}));
}

TEST_F(ProfileString, TrimsAllSixKindsOfWhiteSpaceAtBothEnds) {
    Put(" \t\r\v\f[ \t\v\fScan\f\r ] \r\n\v\f Key \t=\v\f\r v a l \t\v\f\r\n");
    EXPECT_EQ(Read("SCAN", "Key"), (Text{0, 0, "v a l"}));
    EXPECT_EQ(Read(" \t\n\v\f\rScan\r\f\v\n\t ", "\n\tKey \n"), (Text{0, 0, "v a l"}));
}

TEST_F(ProfileString, KeepsOtherControlBytesAndBytesAbove127) {
    Put("[S]\nKey=\x01\xa0v\x85\x1f\n");
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, "\x01\xa0v\x85\x1f"}));
}

TEST_F(ProfileString, ComparesWithoutRegardToAsciiCaseOnly) {
    Put("[ Scan ]\nKEy\xc4=1\n");
    EXPECT_EQ(Read("SCAN", "keY\xc4"), (Text{0, 0, "1"}));
    EXPECT_EQ(Read("scan", "key\xe4"), (Text{-1, 202, "default"}));
    Put("[@S]\n{=1\n");
    EXPECT_EQ(Read("`s", "{").code, 204U);
    EXPECT_EQ(Read("@s", "[").code, 202U);
}

TEST_F(ProfileString, ComparesWholeNamesOnly) {
    Put("[Scan]\nKey=1\n");
    EXPECT_EQ(Read("Sca", "Key").code, 204U);
    EXPECT_EQ(Read("Scan1", "Key").code, 204U);
    EXPECT_EQ(Read("Scan", "Ke").code, 202U);
    EXPECT_EQ(Read("Scan", "Key1").code, 202U);
}

TEST_F(ProfileString, SkipsCommentsAtTheStartOfALineOnly) {
    Put("[S]\n;Key=1\n  #Key=2\n ; [T]\nKey=a;b # c\n");
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, "a;b # c"}));
    EXPECT_EQ(Read("S", ";Key").code, 202U);
    EXPECT_EQ(Read("S", "#Key").code, 202U);
    EXPECT_EQ(Read("T", "Key").code, 204U);
}

TEST_F(ProfileString, TakesValuesLiterally) {
    Put("[S]\nQuoted= \" v \" \nEscaped=a\\n\\\nnext=1\nEquals=a = b=c\n");
    EXPECT_EQ(Read("S", "Quoted"), (Text{0, 0, "\" v \""}));
    EXPECT_EQ(Read("S", "Escaped"), (Text{0, 0, "a\\n\\"}));
    EXPECT_EQ(Read("S", "next"), (Text{0, 0, "1"}));
    EXPECT_EQ(Read("S", "Equals"), (Text{0, 0, "a = b=c"}));
}

TEST_F(ProfileString, IgnoresWhatFollowsASectionName) {
    Put("[S] junk ] = 1\nKey=1\n[T]]\nKey=2\n");
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, "1"}));
    EXPECT_EQ(Read("T", "Key"), (Text{0, 0, "2"}));
    EXPECT_EQ(Read("T]", "Key").code, 204U);
}

TEST_F(ProfileString, AHeaderWithoutItsBracketNamesNothingYetEndsASection) {
    Put("[S\nKey=1\n[S]\nOther=2\n[broken\nKey=3\n");
    EXPECT_EQ(Read("S", "Key"), (Text{-1, 202, "default"}));
    EXPECT_EQ(Read("S", "Other"), (Text{0, 0, "2"}));
    EXPECT_EQ(Read("broken", "Key"), (Text{-1, 204, "default"}));
}

TEST_F(ProfileString, OnlyTheFirstSectionOfANameCounts) {
    Put("[S]\nA=1\n[s]\nB=2\n");
    EXPECT_EQ(Read("S", "B"), (Text{-1, 202, "default"}));
}

TEST_F(ProfileString, OnlyTheFirstLineOfAKeyCounts) {
    Put("[S]\nKey=1\nkey=2\n");
    EXPECT_EQ(Read("S", "KEY"), (Text{0, 0, "1"}));
}

TEST_F(ProfileString, FindsNothingBeforeTheFirstHeader) {
    Put("Key=1\n[S]\n");
    EXPECT_EQ(Read("S", "Key"), (Text{-1, 202, "default"}));
}

TEST_F(ProfileString, ALineWithoutAValueEndsTheSearch) {
    Put("[S]\nKey\nKey=1\n");
    EXPECT_EQ(Read("S", "Key"), (Text{-1, 201, "default"}));
}

TEST_F(ProfileString, AnEmptyValueIsFound) {
    Put("[S]\nKey= \t\n=5\n");
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, ""}));
}

TEST_F(ProfileString, ALastLineNeedsNoNewline) {
    Put("[S]\nKey=1");
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, "1"}));
}

TEST_F(ProfileString, TellsWhatIsMissing) {
    Put("[S]\nKey=1\n[T]\nOther=2\n");
    EXPECT_EQ(Read("S", "Other"), (Text{-1, 202, "default"}));
    EXPECT_EQ(Read("T", "Key"), (Text{-1, 202, "default"}));
    EXPECT_EQ(Read("U", "Key"), (Text{-1, 204, "default"}));
    Put("");
    EXPECT_EQ(Read("S", "Key"), (Text{-1, 204, "default"}));
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    EXPECT_EQ(Read("S", "Key"), (Text{-1, 102, "default"}));
}

TEST_F(ProfileString, AnEmptyArgumentIsRefusedBeforeTheFileAndLeavesTheBufferAlone) {
    std::string buffer = "before";
    std::uint32_t code = kUntouchedCode;
    const char* missing = "/nonexistent/section.ini";
    EXPECT_EQ(GetPrivateProfileString("", "", "d", buffer.data(), 6, missing, &code), -1);
    EXPECT_EQ(code, 205U);
    EXPECT_EQ(GetPrivateProfileString(" \t\r\n", "K", "d", buffer.data(), 6, missing, &code), -1);
    EXPECT_EQ(code, 205U);
    EXPECT_EQ(GetPrivateProfileString("S", "", "d", buffer.data(), 6, missing, &code), -1);
    EXPECT_EQ(code, 203U);
    EXPECT_EQ(GetPrivateProfileString("S", " \v\f", "d", buffer.data(), 6, missing, &code), -1);
    EXPECT_EQ(code, 203U);
    EXPECT_EQ(buffer, "before");
}

TEST_F(ProfileString, ANullPointerFailsAndLeavesTheCodeAlone) {
    Put("[S]\nKey=1\n");
    std::string buffer = "before";
    char* const to = buffer.data();
    const char* const path = m_path.c_str();
    std::uint32_t code = kUntouchedCode;
    EXPECT_EQ(GetPrivateProfileString(nullptr, "Key", "d", to, 6, path, &code), -1);
    EXPECT_EQ(GetPrivateProfileString("S", nullptr, "d", to, 6, path, &code), -1);
    EXPECT_EQ(GetPrivateProfileString("S", "Key", nullptr, to, 6, path, &code), -1);
    EXPECT_EQ(GetPrivateProfileString("S", "Key", "d", nullptr, 6, path, &code), -1);
    EXPECT_EQ(GetPrivateProfileString("S", "Key", "d", to, 6, nullptr, &code), -1);
    EXPECT_EQ(GetPrivateProfileString("S", "Key", "d", to, 6, path, nullptr), -1);
    EXPECT_EQ(code, kUntouchedCode);
    EXPECT_EQ(buffer, "before");
}

TEST_F(ProfileString, SetsTheCodeToZeroOnSuccess) {
    Put("[S]\nKey=1\n");
    std::string buffer(8, '\0');
    std::uint32_t code = kUntouchedCode;
    EXPECT_EQ(GetPrivateProfileString("S", "Key", "d", buffer.data(), 8, m_path.c_str(), &code), 0);
    EXPECT_EQ(code, 0U);
}

TEST_F(ProfileString, NeverTouchesTheLastByteOfTheBuffer) {
    Put("[S]\nKey=value\n");
    EXPECT_EQ(Buffer(8, "Key"), "value\0\0.."s);
    EXPECT_EQ(Buffer(7, "Key"), "value\0.."s);
    EXPECT_EQ(Buffer(6, "Key"), "value.."s);
    EXPECT_EQ(Buffer(5, "Key"), "valu.."s);
    EXPECT_EQ(Buffer(2, "Key"), "v.."s);
    EXPECT_EQ(Buffer(1, "Key"), ".."s);
    EXPECT_EQ(Buffer(10, "none"), "fallback\0.."s);
    EXPECT_EQ(Buffer(9, "none"), "fallback.."s);
    EXPECT_EQ(Buffer(4, "none"), "fal.."s);
}

TEST_F(ProfileString, ASizeOfZeroTouchesNothing) {
    Put("[S]\nKey=value\n");
    EXPECT_EQ(Buffer(0, "Key"), ".");
}

TEST_F(ProfileString, CutsArgumentsTo256BytesBeforeTrimming) {
    const std::string name(256, 'n');
    Put("[" + name + "]\n" + name + "=1\n");
    EXPECT_EQ(Read(name + "more", name + std::string(44, 'x')), (Text{0, 0, "1"}));
    EXPECT_EQ(Read(name, name.substr(1)).code, 202U);
    EXPECT_EQ(Read(name.substr(1), name).code, 204U);
    // The blanks in front take their part of the 256.
    Put("[" + name.substr(2) + "]\nKey=1\n");
    EXPECT_EQ(Read("  " + name, "Key"), (Text{0, 0, "1"}));
    EXPECT_EQ(Read(std::string(256, ' ') + "S", "Key").code, 205U);
}

TEST_F(ProfileString, ALineOfMoreThan1023BytesIsSeveral) {
    // The second piece begins right behind 1,023 bytes and is a line by itself.
    Put("[S]\n" + std::string(1023, 'x') + "Key=1\n");
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, "1"}));
    Put("[S]\n" + std::string(1022, 'x') + "Key=1\n");
    EXPECT_EQ(Read("S", "Key").code, 202U);
    EXPECT_EQ(Read("S", "ey"), (Text{0, 0, "1"}));
    Put("[S]\nKey=" + std::string(1019, 'v') + "[T]\nIn=1\n");
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, std::string(1019, 'v')}));
    EXPECT_EQ(Read("T", "In"), (Text{0, 0, "1"}));
}

TEST_F(ProfileString, AZeroByteEndsTheTextOfItsLine) {
    Put("[S]\nKey=a\0b\nx\0\nNext=1\n"s);
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, "a"}));
    EXPECT_EQ(Read("S", "Next"), (Text{0, 0, "1"}));
}

TEST_F(ProfileString, OpensNothingButRegularFiles) {
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    EXPECT_EQ(Read("S", "Key"), (Text{-1, 102, "default"}));
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    ASSERT_EQ(::mkdir(m_path.c_str(), 0700), 0);
    EXPECT_EQ(Read("S", "Key"), (Text{-1, 102, "default"}));
}

TEST_F(ProfileString, ReadsThroughALink) {
    WriteFile(m_scratch / "target", "[S]\nKey=1\n");
    ASSERT_EQ(::symlink("target", m_path.c_str()), 0);
    EXPECT_EQ(Read("S", "Key"), (Text{0, 0, "1"}));
}

TEST_F(ProfileInt, ConvertsUpToTheFirstNonDigit) {
    EXPECT_EQ(ReadIntOf("12"), (Number{12, 0}));
    EXPECT_EQ(ReadIntOf("12abc"), (Number{12, 0}));
    EXPECT_EQ(ReadIntOf("  -3  "), (Number{-3, 0}));
    EXPECT_EQ(ReadIntOf("+7"), (Number{7, 0}));
    EXPECT_EQ(ReadIntOf("007"), (Number{7, 0}));
    EXPECT_EQ(ReadIntOf("0x10"), (Number{0, 0}));
    EXPECT_EQ(ReadIntOf("1 2"), (Number{1, 0}));
    EXPECT_EQ(ReadIntOf("1.5"), (Number{1, 0}));
}

TEST_F(ProfileInt, ATextWithoutDigitsIsZero) {
    EXPECT_EQ(ReadIntOf("abc"), (Number{0, 0}));
    EXPECT_EQ(ReadIntOf("-"), (Number{0, 0}));
    EXPECT_EQ(ReadIntOf("- 3"), (Number{0, 0}));
    EXPECT_EQ(ReadIntOf("+-3"), (Number{0, 0}));
    EXPECT_EQ(ReadIntOf("\"5\""), (Number{0, 0}));
}

TEST_F(ProfileInt, GivesTheLow32BitsOfALongInteger) {
    EXPECT_EQ(ReadIntOf("2147483647"), (Number{2147483647, 0}));
    EXPECT_EQ(ReadIntOf("2147483648"), (Number{-2147483647 - 1, 0}));
    EXPECT_EQ(ReadIntOf("4294967295"), (Number{-1, 0}));
    EXPECT_EQ(ReadIntOf("4294967299"), (Number{3, 0}));
    EXPECT_EQ(ReadIntOf("-4294967299"), (Number{-3, 0}));
    EXPECT_EQ(ReadIntOf("99999999999999999999"), (Number{-1, 0}));
    EXPECT_EQ(ReadIntOf("-99999999999999999999"), (Number{0, 0}));
}

TEST_F(ProfileInt, GivesTheDefaultOnEveryFailure) {
    EXPECT_EQ(ReadIntOf(""), (Number{42, 201}));
    EXPECT_EQ(ReadIntOf(" \t"), (Number{42, 201}));
    Put("[S]\nKey\nKey=1\n");
    EXPECT_EQ(ReadInt("S", "Key"), (Number{42, 201}));
    EXPECT_EQ(ReadInt("S", "None"), (Number{42, 202}));
    EXPECT_EQ(ReadInt("S", " "), (Number{42, 203}));
    EXPECT_EQ(ReadInt("None", "Key", -9), (Number{-9, 204}));
    EXPECT_EQ(ReadInt("", "Key"), (Number{42, 205}));
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    EXPECT_EQ(ReadInt("S", "Key"), (Number{42, 102}));
}

TEST_F(ProfileInt, ANullPointerGivesMinusOneAndLeavesTheCodeAlone) {
    Put("[S]\nKey=1\n");
    std::uint32_t code = kUntouchedCode;
    EXPECT_EQ(GetPrivateProfileInt(nullptr, "Key", 42, m_path.c_str(), &code), -1);
    EXPECT_EQ(GetPrivateProfileInt("S", nullptr, 42, m_path.c_str(), &code), -1);
    EXPECT_EQ(GetPrivateProfileInt("S", "Key", 42, nullptr, &code), -1);
    EXPECT_EQ(GetPrivateProfileInt("S", "Key", 42, m_path.c_str(), nullptr), -1);
    EXPECT_EQ(code, kUntouchedCode);
}

TEST_F(ProfileSection, GivesItsLinesWholeAndTrimmed) {
    Put("out=0\n[A]\nx=1\n[ b ]\r\n\n a = 1 \r\n;c\n#d\nno "
        "value\na=2\n\n[\nafter=1\n[B]\nsecond=1\n");
    EXPECT_EQ(ReadSection(" B "), (std::vector<std::string>{"a = 1", "no value", "a=2"}));
}

TEST_F(ProfileSection, AppendsToTheList) {
    Put("[S]\na=1\n");
    std::vector<std::string> lines = {"kept"};
    EXPECT_EQ(GetPrivateProfileSection("S", &lines, m_path.c_str()), 0);
    EXPECT_EQ(GetPrivateProfileSection("S", &lines, m_path.c_str()), 0);
    EXPECT_EQ(lines, (std::vector<std::string>{"kept", "a=1", "a=1"}));
}

TEST_F(ProfileSection, AMissingOrEmptySectionAddsNothing) {
    Put("[S\na=1\n[T]\n");
    EXPECT_TRUE(ReadSection("S").empty());
    EXPECT_TRUE(ReadSection("T").empty());
}

TEST_F(ProfileSection, CutsItsNameTo256Bytes) {
    const std::string name(256, 'n');
    Put("[" + name + "]\na=1\n");
    EXPECT_EQ(ReadSection(name + "m"), std::vector<std::string>{"a=1"});
}

TEST_F(ProfileSection, ALongLineIsSeveral) {
    Put("[S]\n" + std::string(1023, 'x') + " y=1\n");
    EXPECT_EQ(ReadSection("S"), (std::vector<std::string>{std::string(1023, 'x'), "y=1"}));
}

TEST_F(ProfileSection, FailsWithoutANameAListOrAFile) {
    Put("[]\na=1\n");
    std::vector<std::string> lines;
    EXPECT_EQ(GetPrivateProfileSection("", &lines, m_path.c_str()), -1);
    EXPECT_EQ(GetPrivateProfileSection(" \t", &lines, m_path.c_str()), -1);
    EXPECT_EQ(GetPrivateProfileSection(nullptr, &lines, m_path.c_str()), -1);
    EXPECT_EQ(GetPrivateProfileSection("S", nullptr, m_path.c_str()), -1);
    EXPECT_EQ(GetPrivateProfileSection("S", &lines, nullptr), -1);
    EXPECT_EQ(GetPrivateProfileSection("S", &lines, (m_path + "x").c_str()), -1);
    EXPECT_EQ(GetPrivateProfileSection("S", &lines, m_scratch.Path().c_str()), -1);
    EXPECT_TRUE(lines.empty());
}

}  // namespace
