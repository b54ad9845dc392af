#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "common/profile.h"
#include "tests/support/scratch.h"

namespace {

using namespace std::string_literals;

class LegacyProfile : public testing::Test {
protected:
    struct Found {
        std::uint32_t length;
        std::string text;
        bool operator==(const Found&) const = default;
    };

    void Put(std::string_view content) { WriteFile(m_path, content); }

    Found Read(const std::string& section, const std::string& key) {
        std::string buffer(2048, '.');
        const auto length = GetPrivateProfileString(section.c_str(), key.c_str(), "default",
                                                    buffer.data(), 2048, m_path.c_str());
        return {length, buffer.substr(0, buffer.find('\0'))};
    }

    // The whole buffer of `size` bytes and one beyond it, all "." before the call.
    Found Buffer(std::uint32_t size, const std::string& key) {
        std::string buffer(size + 1, '.');
        const auto length = GetPrivateProfileString("S", key.c_str(), "default", buffer.data(),
                                                    size, m_path.c_str());
        return {length, buffer};
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "section.ini";
};

TEST_F(LegacyProfile, FindsTheThirdWord) {
    Put("[LOGLIMIT]\nMIN = 10\nMAX = 500 tail\n\tWIDE\v\f= \t wide\r\n");
    EXPECT_EQ(Read("LOGLIMIT", "MIN"), (Found{2, "10"}));
    EXPECT_EQ(Read("LOGLIMIT", "MAX"), (Found{3, "500"}));
    EXPECT_EQ(Read("LOGLIMIT", "WIDE"), (Found{4, "wide"}));
}

TEST_F(LegacyProfile, TheSecondWordMayBeAnything) {
    Put("[S]\nMAX is 500\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{3, "500"}));
}

TEST_F(LegacyProfile, NeverFindsAnEntryWithoutBlanks) {
    Put("[S]\nMAX=500\nMIN =5\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{0, "default"}));
    EXPECT_EQ(Read("S", "MIN"), (Found{0, ""}));
}

TEST_F(LegacyProfile, TakesSectionAndKeyAsTheyAre) {
    const std::string longKey(300, 'k');
    Put("[S]\nMAX = 500\n" + longKey + " = 1\n" + longKey.substr(0, 256) +
        " = 2\n[ S ]\nMAX = 6\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{3, "500"}));
    EXPECT_EQ(Read(" S ", "MAX"), (Found{1, "6"}));
    EXPECT_EQ(Read("S", " MAX").length, 0U);
    EXPECT_EQ(Read("S", "MAX ").length, 0U);
    EXPECT_EQ(Read("S", longKey), (Found{1, "1"}));
    const std::string longSection(300, 's');
    Put("[" + longSection.substr(0, 256) + "]\nMAX = 1\n[" + longSection + "]\nMAX = 2\n");
    EXPECT_EQ(Read(longSection, "MAX"), (Found{1, "2"}));
}

TEST_F(LegacyProfile, ComparesTheKeyWholeAndByCase) {
    Put("[S]\nmax = 1\nMAXI = 2\nMA = 3\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{0, "default"}));
}

TEST_F(LegacyProfile, AHeaderMatchesWhenItContainsTheSection) {
    Put("[XLOGLIMITS]\nMAX = 1\n");
    EXPECT_EQ(Read("LOGLIMIT", "MAX"), (Found{1, "1"}));
    EXPECT_EQ(Read("loglimit", "MAX"), (Found{0, "default"}));
    EXPECT_EQ(Read("[XLOG", "MAX"), (Found{1, "1"}));
    Put("[other] ; not LOGLIMIT\nMAX = 2\n");
    EXPECT_EQ(Read("LOGLIMIT", "MAX"), (Found{1, "2"}));
    Put("[LOGLIMIT\nMAX = 3\n");
    EXPECT_EQ(Read("LOGLIMIT", "MAX"), (Found{1, "3"}));
}

TEST_F(LegacyProfile, AnEmptySectionMatchesEveryHeader) {
    Put("MAX = 0\n[A]\n[B]\nMAX = 1\n");
    EXPECT_EQ(Read("", "MAX"), (Found{1, "1"}));
}

TEST_F(LegacyProfile, AHeaderStartsInTheVeryFirstColumn) {
    Put(" [S]\nMAX = 1\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{0, "default"}));
    Put("[S]\n [T]\nMAX = 1\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{1, "1"}));
}

TEST_F(LegacyProfile, SkipsWhatStandsBeforeTheSection) {
    Put("MAX = 0\n[T]\nMAX = 1\n[S]\nMAX = 2\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{1, "2"}));
}

TEST_F(LegacyProfile, TheHeaderIsAnEntryToo) {
    Put("[S] = header\n[S]x = other\n");
    EXPECT_EQ(Read("S", "[S]"), (Found{6, "header"}));
    EXPECT_EQ(Read("S", "[S]x"), (Found{5, "other"}));
}

TEST_F(LegacyProfile, CommentsAreLinesLikeAnyOther) {
    Put("[S]\n; = 1\n");
    EXPECT_EQ(Read("S", ";"), (Found{1, "1"}));
}

TEST_F(LegacyProfile, AFurtherMatchingHeaderGoesOn) {
    Put("[S1]\nA = 1\n[S2]\nMAX = 2\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{1, "2"}));
}

TEST_F(LegacyProfile, AHeaderThatDoesNotMatchEndsTheSearch) {
    Put("[S]\nA = last\n[T] = t\n[S]\nMAX = 2\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{0, "last"}));
    Put("[S]\nA = one\n\n[T]\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{0, ""}));
}

TEST_F(LegacyProfile, AKeyWithoutAThirdWordEndsTheSearch) {
    Put("[S]\nA = left\nMAX =\nMAX = 2\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{0, ""}));
    Put("[S]\nMAX\nMAX = 2\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{0, ""}));
}

TEST_F(LegacyProfile, TheFirstLineOfAKeyCounts) {
    Put("[S]\nMAX = 1\nMAX = 2");
    EXPECT_EQ(Read("S", "MAX"), (Found{1, "1"}));
}

TEST_F(LegacyProfile, AnEmptyKeyMatchesNoLine) {
    Put("[S]\n\n  \nA = 1\n");
    EXPECT_EQ(Read("S", ""), (Found{0, "default"}));
}

TEST_F(LegacyProfile, ZeroesTheBufferBeforeEachLine) {
    Put("[S]\nA = long-word\nMAX = 7\n");
    EXPECT_EQ(Buffer(12, "MAX"), (Found{1, "7\0\0\0\0\0\0\0\0\0\0\0."s}));
    Put("[S]\nA = long-word\nB = b\n[T]\n");
    EXPECT_EQ(Buffer(12, "MAX"), (Found{0, "b\0\0\0\0\0\0\0\0\0\0\0."s}));
}

TEST_F(LegacyProfile, StaysWithinTheBuffer) {
    Put("[S]\nMAX = 12345\n");
    EXPECT_EQ(Buffer(6, "MAX"), (Found{5, "12345\0."s}));
    EXPECT_EQ(Buffer(5, "MAX"), (Found{4, "1234\0."s}));
    EXPECT_EQ(Buffer(1, "MAX"), (Found{0, "\0."s}));
    EXPECT_EQ(Buffer(0, "MAX"), (Found{0, "."s}));
    EXPECT_EQ(Buffer(8, "NONE"), (Found{0, "default\0."s}));
    EXPECT_EQ(Buffer(7, "NONE"), (Found{0, "defaul\0."s}));
}

TEST_F(LegacyProfile, ItsLinesAreUpTo1024BytesLong) {
    // The whole 1,024 bytes are one line, and what follows is the next.
    Put("[S]\nMAX = " + std::string(1018, 'v') + "NEXT = 1\n");
    EXPECT_EQ(Read("S", "MAX"), (Found{1018, std::string(1018, 'v')}));
    EXPECT_EQ(Read("S", "NEXT"), (Found{1, "1"}));
    Put("[S]\n" + std::string(1024, ' ') + "[T]\nMAX = 2\n");
    EXPECT_EQ(Read("T", "MAX"), (Found{1, "2"}));
    Put("[S]\n" + std::string(1023, ' ') + "[T]\nMAX = 2\n");
    EXPECT_EQ(Read("T", "MAX"), (Found{0, "default"}));
}

TEST_F(LegacyProfile, AZeroByteEndsTheTextOfItsLine) {
    Put("[S]\nA\0 = 1\nMAX = 2\0 3\n"s);
    EXPECT_EQ(Read("S", "A"), (Found{0, ""}));
    EXPECT_EQ(Read("S", "MAX"), (Found{1, "2"}));
}

TEST_F(LegacyProfile, AnEmptyFileGivesTheDefault) {
    Put("");
    EXPECT_EQ(Read("S", "MAX"), (Found{0, "default"}));
}

TEST_F(LegacyProfile, LeavesTheBufferAloneWithoutAFileOrAnArgument) {
    std::string buffer = "before";
    char* const to = buffer.data();
    const char* const path = m_path.c_str();
    EXPECT_EQ(GetPrivateProfileString("S", "MAX", "d", to, 6, path), 0U);
    EXPECT_EQ(GetPrivateProfileString("S", "MAX", "d", to, 6, m_scratch.Path().c_str()), 0U);
    ASSERT_EQ(::mkfifo(path, 0600), 0);
    EXPECT_EQ(GetPrivateProfileString("S", "MAX", "d", to, 6, path), 0U);
    ASSERT_EQ(::unlink(path), 0);
    Put("[S]\nMAX = 5\n");
    EXPECT_EQ(GetPrivateProfileString(nullptr, "MAX", "d", to, 6, path), 0U);
    EXPECT_EQ(GetPrivateProfileString("S", nullptr, "d", to, 6, path), 0U);
    EXPECT_EQ(GetPrivateProfileString("S", "MAX", nullptr, to, 6, path), 0U);
    EXPECT_EQ(GetPrivateProfileString("S", "MAX", "d", nullptr, 6, path), 0U);
    EXPECT_EQ(GetPrivateProfileString("S", "MAX", "d", to, 6, nullptr), 0U);
    EXPECT_EQ(buffer, "before");
}

}  // namespace
