#include "common/nibble_swap.h"

#include <array>
#include <gtest/gtest.h>
#include <numeric>

namespace {

using Function = void (*)(unsigned char*, int);

class NibbleSwap : public testing::TestWithParam<Function> {};

TEST_P(NibbleSwap, ExchangesTheHalvesOfEachByte) {
    std::array<unsigned char, 6> bytes{0x12, 0xAB, 0x0F, 0x00, 0xFF, 0x80};
    GetParam()(bytes.data(), 6);
    EXPECT_EQ(bytes, (std::array<unsigned char, 6>{0x21, 0xBA, 0xF0, 0x00, 0xFF, 0x08}));
}

TEST_P(NibbleSwap, TwiceGivesEveryByteBack) {
    std::array<unsigned char, 256> bytes{};
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    const auto before = bytes;
    GetParam()(bytes.data(), 256);
    EXPECT_NE(bytes, before);
    GetParam()(bytes.data(), 256);
    EXPECT_EQ(bytes, before);
}

TEST_P(NibbleSwap, StaysWithinItsLength) {
    std::array<unsigned char, 3> bytes{0x12, 0x34, 0x56};
    GetParam()(bytes.data(), 2);
    EXPECT_EQ(bytes, (std::array<unsigned char, 3>{0x21, 0x43, 0x56}));
}

TEST_P(NibbleSwap, DoesNothingWithoutBytes) {
    std::array<unsigned char, 1> bytes{0x12};
    GetParam()(bytes.data(), 0);
    GetParam()(bytes.data(), -1);
    GetParam()(nullptr, 1);
    EXPECT_EQ(bytes[0], 0x12);
}

INSTANTIATE_TEST_SUITE_P(Both, NibbleSwap, testing::Values(&Encrypt, &Decrypt),
                         [](const auto& instance) {
                             return instance.index == 0 ? "Encrypt" : "Decrypt";
                         });

}  // namespace
