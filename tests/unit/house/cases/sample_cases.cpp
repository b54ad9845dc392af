// What a program of tests can do, for ran_every_case_test.sh; the script picks the cases.

#include <cstdlib>
#include <gtest/gtest.h>

TEST(Sample, Passes) {
    SUCCEED();
}

TEST(Sample, DISABLED_Passes) {
    SUCCEED();
}

TEST(Sample, SkipsForMarkup) {
    GTEST_SKIP() << "no \"<disk>\" & no 'tape'\nhere";
}

TEST(Sample, SkipsSilently) {
    GTEST_SKIP();
}

TEST(Sample, Fails) {
    FAIL() << "on purpose";
}

TEST(Sample, EndsTheProgram) {
    std::exit(0);
}
