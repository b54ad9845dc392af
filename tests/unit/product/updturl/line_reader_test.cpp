#include "product/updturl/line_reader.h"

#include <array>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/io.h"

namespace updturl {
namespace {

using State = LineReader::State;

struct Pipe {
    Pipe() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK), 0);
        out.Reset(ends[0]);
        in.Reset(ends[1]);
    }
    common::FileDescriptor out;
    common::FileDescriptor in;
};

std::vector<std::string> LinesOf(LineReader& reader) {
    std::vector<std::string> lines;
    while (const auto line = reader.Next()) {
        lines.emplace_back(*line);
    }
    return lines;
}

TEST(LineReader, ALineMayComeInPieces) {
    const Pipe pipe;
    LineReader reader;
    ASSERT_TRUE(common::WriteAll(pipe.in.Get(), "first\nsec"));
    EXPECT_EQ(reader.ReadFrom(pipe.out.Get()), State::kOpen);
    EXPECT_EQ(LinesOf(reader), std::vector<std::string>{"first"});
    ASSERT_TRUE(common::WriteAll(pipe.in.Get(), "ond\n\nthird\n"));
    EXPECT_EQ(reader.ReadFrom(pipe.out.Get()), State::kOpen);
    EXPECT_EQ(LinesOf(reader), (std::vector<std::string>{"second", "", "third"}));
}

TEST(LineReader, NothingThereIsNoEnd) {
    const Pipe pipe;
    LineReader reader;
    EXPECT_EQ(reader.ReadFrom(pipe.out.Get()), State::kOpen);
    EXPECT_EQ(reader.Next(), std::nullopt);
}

TEST(LineReader, AtTheEndALineWithoutNewlineIsNone) {
    Pipe pipe;
    LineReader reader;
    ASSERT_TRUE(common::WriteAll(pipe.in.Get(), "whole\nresult 1"));
    pipe.in.Reset();
    EXPECT_EQ(reader.ReadFrom(pipe.out.Get()), State::kOpen);
    EXPECT_EQ(reader.ReadFrom(pipe.out.Get()), State::kEnded);
    EXPECT_EQ(LinesOf(reader), std::vector<std::string>{"whole"});
}

TEST(LineReader, ASocketThatWentAwayOverUnreadBytesIsAtItsEnd) {
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    const common::FileDescriptor ours(ends[0]);
    common::FileDescriptor theirs(ends[1]);
    ASSERT_TRUE(common::WriteAll(ours.Get(), "never read\n"));
    theirs.Reset();
    LineReader reader;
    EXPECT_EQ(reader.ReadFrom(ours.Get()), State::kEnded);
}

TEST(LineReader, ADescriptorThatCannotBeReadFails) {
    LineReader reader;
    EXPECT_EQ(reader.ReadFrom(-1), State::kFailed);
    EXPECT_EQ(reader.Now(), State::kFailed);
}

TEST(LineReader, TheLongestLineHas4096BytesWithItsNewline) {
    LineReader reader;
    EXPECT_EQ(reader.Add(std::string(4095, 'a') + "\n"), State::kOpen);
    EXPECT_EQ(LinesOf(reader), std::vector<std::string>{std::string(4095, 'a')});
    EXPECT_EQ(reader.Add(std::string(4096, 'b') + "\n"), State::kTooLong);
    EXPECT_EQ(reader.Next(), std::nullopt);
}

TEST(LineReader, ALineIsTooLongBeforeItsNewlineHasCome) {
    LineReader reader;
    EXPECT_EQ(reader.Add(std::string(4096, 'a')), State::kOpen);
    EXPECT_EQ(reader.Add("a"), State::kTooLong);
}

TEST(LineReader, WhatStoodBeforeALineThatIsTooLongIsStillGiven) {
    LineReader reader;
    EXPECT_EQ(reader.Add("one\ntwo\n" + std::string(5000, 'a') + "\nthree\n"), State::kTooLong);
    EXPECT_EQ(LinesOf(reader), (std::vector<std::string>{"one", "two"}));
    EXPECT_EQ(reader.Add("four\n"), State::kTooLong);
    EXPECT_EQ(reader.Next(), std::nullopt);
}

TEST(LineReader, NoMoreBytesAreTakenThanAllowed) {
    LineReader reader(10);
    EXPECT_EQ(reader.Add("12345\n"), State::kOpen);
    EXPECT_EQ(reader.Add("789\n"), State::kOpen);
    EXPECT_EQ(LinesOf(reader), (std::vector<std::string>{"12345", "789"}));
    EXPECT_EQ(reader.Add("\n"), State::kTooLong);
    EXPECT_EQ(reader.Next(), std::nullopt);
}

TEST(LineReader, OneCallTakesAFewKibibytesOfWhatNeverEnds) {
    const common::FileDescriptor zeros(open("/dev/zero", O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(zeros.IsOpen());
    LineReader reader;
    EXPECT_EQ(reader.ReadFrom(zeros.Get()), State::kTooLong);
    EXPECT_EQ(reader.ReadFrom(zeros.Get()), State::kTooLong);
}

}  // namespace
}  // namespace updturl
