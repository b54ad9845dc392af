#include "common/given/byte_search.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

namespace {

const unsigned char* Bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

int Search(const std::string& haystack, const std::string& needle) {
    return SearchFor(Bytes(haystack), static_cast<int>(haystack.size()), Bytes(needle),
                     static_cast<int>(needle.size()));
}

TEST(SearchFor, FindsTheFirstMatch) {
    EXPECT_EQ(Search("abcabc", "abc"), 0);
    EXPECT_EQ(Search("xxabcabc", "abc"), 2);
    EXPECT_EQ(Search("xxabc", "abc"), 2);
    EXPECT_EQ(Search("abc", "abc"), 0);
    EXPECT_EQ(Search("abc", "c"), 2);
}

TEST(SearchFor, GoesOnBehindFalseStarts) {
    EXPECT_EQ(Search("aaaab", "aab"), 2);
    EXPECT_EQ(Search("axcabc", "abc"), 3);  // first and last byte agree at 0
    EXPECT_EQ(Search("ababac", "abac"), 2);
}

TEST(SearchFor, TakesEveryByteAsItIs) {
    EXPECT_EQ(Search(std::string("\x00\xFF\x00\x80", 4), std::string("\x00\x80", 2)), 2);
    EXPECT_EQ(Search("VIRUS", "virus"), -1);
}

TEST(SearchFor, FindsNeedlesBeyondAHundredBytes) {
    const std::string needle = std::string(150, 'n') + "!";
    EXPECT_EQ(Search(std::string(500, 'n') + "!" + std::string(9, 'n'), needle), 350);
    EXPECT_EQ(Search(std::string(500, 'n'), needle), -1);
}

TEST(SearchFor, RefusesWhatCannotMatch) {
    const std::string text = "abc";
    EXPECT_EQ(Search("ab", "abc"), -1);
    EXPECT_EQ(Search("abc", "abd"), -1);
    EXPECT_EQ(SearchFor(nullptr, 3, Bytes(text), 3), -1);
    EXPECT_EQ(SearchFor(Bytes(text), 3, nullptr, 3), -1);
    EXPECT_EQ(SearchFor(Bytes(text), 0, Bytes(text), 1), -1);
    EXPECT_EQ(SearchFor(Bytes(text), -3, Bytes(text), 1), -1);
    EXPECT_EQ(SearchFor(Bytes(text), 3, Bytes(text), 0), -1);
    EXPECT_EQ(SearchFor(Bytes(text), 3, Bytes(text), -1), -1);
    EXPECT_EQ(static_cast<unsigned int>(Search("abc", "x")), 0xFFFFFFFFU);
}

TEST(SearchFor, AgreesWithAPlainSearch) {
    std::mt19937 random(20261121);
    for (int round = 0; round < 2000; ++round) {
        std::string haystack(1 + random() % 40, 'a');
        std::string needle(1 + random() % 4, 'a');
        std::generate(haystack.begin(), haystack.end(), [&] { return "ab"[random() % 2]; });
        std::generate(needle.begin(), needle.end(), [&] { return "ab"[random() % 2]; });
        const std::size_t expected = haystack.find(needle);
        ASSERT_EQ(Search(haystack, needle),
                  expected == std::string::npos ? -1 : static_cast<int>(expected))
            << haystack << " " << needle;
    }
}

class SearchInFileTest : public testing::Test {
protected:
    off_t Search(const std::string& content, const std::string& needle, off_t start = 0) {
        WriteFile(m_scratch / "file", content);
        const common::FileDescriptor file(
            ::open((m_scratch / "file").c_str(), O_RDONLY | O_CLOEXEC));
        return SearchInFile(file.Get(), Bytes(needle), static_cast<int>(needle.size()), start);
    }

    ScratchFolder m_scratch;
};

TEST_F(SearchInFileTest, FindsTheNeedleAtEveryPlaceAroundTheBlocksEnds) {
    for (const std::size_t around : {std::size_t{2048}, std::size_t{4086}, std::size_t{4096}}) {
        for (std::size_t at = around - 15; at < around + 10; ++at) {
            std::string content(6000, '.');
            content.replace(at, 5, "VIRUS");
            ASSERT_EQ(Search(content, "VIRUS"), static_cast<off_t>(at));
        }
    }
}

TEST_F(SearchInFileTest, StraddlesTwoBlocks) {
    EXPECT_EQ(Search(std::string(2046, 'x') + "VIRUS" + std::string(100, 'y'), "VIRUS"), 2046);
}

TEST_F(SearchInFileTest, TakesTheFilesLettersAsCapitals) {
    EXPECT_EQ(Search("a viRus", "VIRUS"), 2);
    EXPECT_EQ(Search("a virus", "virus"), -1);
    EXPECT_EQ(Search("\xE4{@[`", "\xE4{@[`"), 0);  // only a to z have capitals
}

TEST_F(SearchInFileTest, BeginsAtTheStart) {
    EXPECT_EQ(Search("VIRUS VIRUS", "VIRUS", 0), 0);
    EXPECT_EQ(Search("VIRUS VIRUS", "VIRUS", 1), 6);
    EXPECT_EQ(Search("VIRUS VIRUS", "VIRUS", 6), 6);
    EXPECT_EQ(Search("VIRUS VIRUS", "VIRUS", 7), -1);
    EXPECT_EQ(Search("VIRUS", "VIRUS", 100), -1);
}

TEST_F(SearchInFileTest, SearchesAShortLastBlock) {
    EXPECT_EQ(Search("VIRUS", "VIRUS"), 0);
    EXPECT_EQ(Search(std::string(5, '.') + "VIRUS", "VIRUS"), 5);
}

TEST_F(SearchInFileTest, EndsWithoutAMatch) {
    EXPECT_EQ(Search("", "VIRUS"), -1);
    EXPECT_EQ(Search(std::string(10, '.'), "VIRUS"), -1);
    EXPECT_EQ(Search(std::string(2048, '.'), "VIRUS"), -1);
    EXPECT_EQ(Search(std::string(9000, '.'), "VIRUS"), -1);
}

TEST_F(SearchInFileTest, EndsForNeedlesAsLongAsABlock) {
    EXPECT_EQ(Search(std::string(6000, 'N'), std::string(2047, 'N') + "!"), -1);
    EXPECT_EQ(Search(std::string(100, '.') + std::string(1948, 'N'), std::string(1948, 'N')), 100);
    EXPECT_EQ(Search(std::string(6000, 'N'), std::string(2049, 'N')), -1);
}

TEST_F(SearchInFileTest, FailsOnWhatCannotBeRead) {
    const std::string needle = "VIRUS";
    EXPECT_EQ(SearchInFile(-1, Bytes(needle), 5, 0), -1);
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    const common::FileDescriptor reading(ends[0]);
    const common::FileDescriptor writing(ends[1]);
    EXPECT_EQ(SearchInFile(reading.Get(), Bytes(needle), 5, 0), -1);
    const common::FileDescriptor folder(::open(m_scratch.Path().c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(SearchInFile(folder.Get(), Bytes(needle), 5, 0), -1);
    WriteFile(m_scratch / "file", needle);
    const common::FileDescriptor file(::open((m_scratch / "file").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(SearchInFile(file.Get(), nullptr, 5, 0), -1);
    EXPECT_EQ(SearchInFile(file.Get(), Bytes(needle), 0, 0), -1);
    EXPECT_EQ(SearchInFile(file.Get(), Bytes(needle), 5, -1), -1);
}

}  // namespace
