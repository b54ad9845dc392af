#include "product/scanwire/host_messages.h"

#include <gtest/gtest.h>

#include "product/scanwire/bounds.h"

namespace {

using namespace scanwire;
using namespace std::string_literals;

// The bytes of each message, written out; what is read of them is the message again.
void ExpectBytes(const ToHost& message, const std::string& bytes) {
    EXPECT_EQ(Written(message), bytes);
    EXPECT_EQ(ReadToHost(bytes), message);
}

void ExpectBytes(const FromHost& message, const std::string& bytes) {
    EXPECT_EQ(Written(message), bytes);
    EXPECT_EQ(ReadFromHost(bytes), message);
}

TEST(HostMessagesTest, WhatTheEngineSays) {
    ExpectBytes(ToHost(Database{"/d/a.cvd"}), "\x01\x08\x00/d/a.cvd"s);
    ExpectBytes(
        ToHost(
            Load{.workers = 2, .memoryLimitMiB = 0x400, .scratchBase = "/tmp", .switches = 0x21}),
        "\x02\x02\x00\x00\x00\x00\x04\x00\x00\x04\x00/tmp\x21\x00\x00\x00"s);
    ExpectBytes(ToHost(Replace{.worker = 3, .generation = 0x01020304}),
                "\x03\x03\x00\x00\x00\x04\x03\x02\x01"s);
}

TEST(HostMessagesTest, WhatTheHostSays) {
    ExpectBytes(FromHost(LeftOut{.path = "/d/b", .reason = "bad"}),
                "\x11\x04\x00/d/b\x03\x00"
                "bad"s);
    ExpectBytes(FromHost(Log{"a line"}),
                "\x12\x06\x00"
                "a line"s);
    ExpectBytes(FromHost(Loaded{0x010203}), "\x13\x03\x02\x01\x00\x00\x00\x00\x00"s);
    ExpectBytes(FromHost(NotLoaded{"why"}), "\x14\x03\x00why"s);
    ExpectBytes(FromHost(Worker{.worker = 1, .generation = 2, .pid = 0x0203}),
                "\x15\x01\x00\x00\x00\x02\x00\x00\x00\x03\x02\x00\x00"s);
    ExpectBytes(FromHost(Ended{.worker = 1, .generation = 2, .status = -9}),
                "\x16\x01\x00\x00\x00\x02\x00\x00\x00\xF7\xFF\xFF\xFF"s);
}

TEST(HostMessagesTest, EveryCutAndEveryByteTooManyIsRefused) {
    for (const ToHost& message : {ToHost(Database{"/a"}), ToHost(Load{}), ToHost(Replace{})}) {
        const std::string bytes = Written(message);
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_FALSE(ReadToHost(bytes.substr(0, size))) << message.index() << ' ' << size;
        }
        EXPECT_FALSE(ReadToHost(bytes + '\0'));
    }
    for (const FromHost& message :
         {FromHost(LeftOut{"/a", "b"}), FromHost(Log{}), FromHost(Loaded{}), FromHost(NotLoaded{}),
          FromHost(Worker{1, 1, 2}), FromHost(Ended{1, 1, 0})}) {
        const std::string bytes = Written(message);
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_FALSE(ReadFromHost(bytes.substr(0, size))) << message.index() << ' ' << size;
        }
        EXPECT_FALSE(ReadFromHost(bytes + '\0'));
    }
}

TEST(HostMessagesTest, OneSideDoesNotSpeakForTheOther) {
    EXPECT_FALSE(ReadToHost(Written(FromHost(Loaded{1}))));
    EXPECT_FALSE(ReadFromHost(Written(ToHost(Replace{1, 1}))));
    EXPECT_FALSE(ReadToHost("\x00"s));
    EXPECT_FALSE(ReadFromHost("\xFF"s));
}

TEST(HostMessagesTest, ValuesOutOfBoundsAreRefused) {
    EXPECT_FALSE(ReadToHost(Written(ToHost(Database{""}))));
    EXPECT_FALSE(ReadToHost(Written(ToHost(Load{.workers = 0}))));
    EXPECT_TRUE(ReadToHost(Written(ToHost(Load{.workers = 256}))));
    EXPECT_FALSE(ReadToHost(Written(ToHost(Load{.workers = 257}))));
    EXPECT_TRUE(ReadToHost(Written(ToHost(Load{.switches = 0x1FF}))));
    EXPECT_FALSE(ReadToHost(Written(ToHost(Load{.switches = 0x200}))));
    EXPECT_FALSE(ReadFromHost(Written(FromHost(LeftOut{"", "x"}))));
    EXPECT_FALSE(ReadFromHost(Written(FromHost(Worker{256, 1, 2}))));
    EXPECT_FALSE(ReadFromHost(Written(FromHost(Worker{0, 0, 2}))));
    // A process that may be watched or killed by its number is never "all of them" or init.
    for (const int pid : {-1, 0, 1}) {
        EXPECT_FALSE(ReadFromHost(Written(FromHost(Worker{0, 1, pid}))));
    }
    EXPECT_FALSE(ReadFromHost(Written(FromHost(Ended{256, 1, 0}))));
    EXPECT_FALSE(ReadFromHost(Written(FromHost(Ended{0, 0, 0}))));
}

TEST(HostMessagesTest, TextsAreCutToTheirBounds) {
    const auto said = ReadFromHost(Written(
        FromHost(LeftOut{.path = std::string(5000, 'p'), .reason = std::string(5000, 'r')})));
    ASSERT_TRUE(said);
    EXPECT_EQ(std::get<LeftOut>(*said).path, std::string(4096, 'p'));
    EXPECT_EQ(std::get<LeftOut>(*said).reason, std::string(256, 'r'));
    const auto log = ReadFromHost(Written(FromHost(Log{std::string(5000, 'l')})));
    ASSERT_TRUE(log);
    EXPECT_EQ(std::get<Log>(*log).text, std::string(1024, 'l'));
}

}  // namespace
