#include "product/scanning/gzip_streams.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

// "hello\n" by gzip -n.
const std::string kHello =
    "\x1f\x8b\x08\0\0\0\0\0\0\x03\xcb\x48\xcd\xc9\xc9\xe7\x02\0\x20\x30\x3a\x36\x06\0\0\0"s;

scanning::GzipStreams Read(const std::string& text, std::size_t room,
                           std::vector<std::byte>* out = nullptr) {
    return scanning::ReadGzip(std::as_bytes(std::span(text)), room, out);
}

TEST(GzipStreamsTest, AllStreamsAreJoined) {
    std::vector<std::byte> out;
    const auto streams = Read(kHello + kHello, 100, &out);
    EXPECT_EQ(streams.count, 2U);
    EXPECT_EQ(streams.problem, "");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(out.data()), out.size()), "hello\nhello\n");
}

TEST(GzipStreamsTest, WhatFollowsTheLastStreamIsLeftOut) {
    EXPECT_EQ(Read(kHello + std::string(512, '\0'), 100).problem, "");
    EXPECT_EQ(Read(kHello + "signed", 100).count, 1U);
    EXPECT_EQ(Read(kHello + "signed", 100).problem, "");
}

TEST(GzipStreamsTest, EachCutIsNoticed) {
    for (std::size_t size = 3; size < kHello.size(); ++size) {
        EXPECT_EQ(Read(kHello.substr(0, size), 100).problem, "archive cut short") << size;
        EXPECT_EQ(Read(kHello + kHello.substr(0, size), 100).problem, "archive cut short") << size;
    }
}

TEST(GzipStreamsTest, ADamagedByteIsNoticed) {
    for (const std::size_t at : {10U, 15U, 19U, 20U, 23U}) {
        std::string damaged = kHello;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x40);
        EXPECT_NE(Read(damaged, 100).problem, "") << at;
    }
}

TEST(GzipStreamsTest, MoreThanTheLimitIsNotUnpacked) {
    EXPECT_EQ(Read(kHello, 6).problem, "");
    EXPECT_EQ(Read(kHello, 5).problem, "too large when unpacked");
    EXPECT_EQ(Read(kHello + kHello, 11).problem, "too large when unpacked");
}

TEST(GzipStreamsTest, WhatIsUnpackedIsTakenOffTheRoom) {
    std::size_t room = 14;
    const auto bytes = std::as_bytes(std::span(kHello));
    EXPECT_EQ(scanning::ReadGzip(bytes, room, nullptr).problem, "");
    EXPECT_EQ(room, 8U);
    EXPECT_EQ(scanning::ReadGzip(bytes, room, nullptr).problem, "");
    EXPECT_EQ(room, 2U);
    EXPECT_EQ(scanning::ReadGzip(bytes, room, nullptr).problem, "too large when unpacked");
    EXPECT_EQ(room, 0U);
}

}  // namespace
