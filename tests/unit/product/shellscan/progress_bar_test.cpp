#include "product/shellscan/progress_bar.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "common/file_descriptor.h"

namespace {

using shellscan::ProgressLine;

TEST(ProgressBar, CountsWhileTheTotalIsNotKnown) {
    EXPECT_EQ(ProgressLine(0, 0), "0 files");
    EXPECT_EQ(ProgressLine(1, 0), "1 file");
    EXPECT_EQ(ProgressLine(1234, 0), "1234 files");
}

TEST(ProgressBar, ShowsTheShare) {
    EXPECT_EQ(ProgressLine(0, 10), "[                              ] 0% of 10 files");
    EXPECT_EQ(ProgressLine(5, 10), "[###############               ] 50% of 10 files");
    EXPECT_EQ(ProgressLine(1, 1), "[##############################] 100% of 1 file");
    EXPECT_EQ(ProgressLine(12, 10), "[##############################] 100% of 10 files");
}

TEST(ProgressBar, IsTakenAwayOnce) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const common::FileDescriptor reading(ends[0]);
    common::FileDescriptor writing(ends[1]);
    shellscan::ProgressBar bar(writing.Get());
    bar.Erase();
    bar.Draw(1, 0);
    bar.Erase();
    bar.Erase();
    writing.Reset();
    std::string text(100, '\0');
    text.resize(static_cast<std::size_t>(::read(reading.Get(), text.data(), text.size())));
    EXPECT_EQ(text, "\r\033[K1 file\r\033[K");
}

}  // namespace
