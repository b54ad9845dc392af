#include "product/scanhost/reporter.h"

#include <array>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <thread>

#include "common/file_descriptor.h"
#include "product/scanwire/packet.h"

namespace {

using scanhost::Reporter;
using scanwire::Member;
using scanwire::Received;
using namespace std::chrono_literals;

// So that no slow machine has it send what a test wants gathered.
constexpr std::chrono::milliseconds kNever = 1h;

class ReporterTest : public testing::Test {
protected:
    void SetUp() override {
        std::array<int, 2> ends{};
        ASSERT_EQ(
            socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
        m_near.Reset(ends[0]);
        m_far.Reset(ends[1]);
    }

    // How many records are in the next packet; 0 without one.
    std::size_t NextPacket() {
        scanwire::Packet packet;
        if (m_receiver.Receive(m_far.Get(), packet) != Received::kPacket) {
            return 0;
        }
        const auto records = scanwire::ReadFromWorker(packet.bytes);
        return records ? records->size() : 0;
    }

    common::FileDescriptor m_near;
    common::FileDescriptor m_far;
    scanwire::PacketReceiver m_receiver;
};

TEST_F(ReporterTest, RecordsAreGatheredUntilTheFlush) {
    Reporter reporter(m_near.Get(), kNever);
    for (std::uint32_t id = 1; id <= 3; ++id) {
        reporter.Tell(Member{id, "m"});
    }
    reporter.Flush();
    reporter.Flush();
    EXPECT_EQ(NextPacket(), 3U);
    EXPECT_EQ(NextPacket(), 0U);
    EXPECT_FALSE(reporter.IsGone());
}

TEST_F(ReporterTest, WhatCameLongAfterTheLastPacketIsSentAtOnce) {
    Reporter reporter(m_near.Get(), 1ms);
    std::this_thread::sleep_for(2ms);
    reporter.Tell(Member{1, "m"});
    EXPECT_EQ(NextPacket(), 1U);
    EXPECT_EQ(Reporter::kPatience, 20ms);
}

TEST_F(ReporterTest, AFullPacketIsSentAndNoneIsTooLong) {
    Reporter reporter(m_near.Get(), kNever);
    std::size_t told = 0;
    for (std::uint32_t id = 1; id <= 50; ++id) {
        reporter.Tell(Member{id, std::string(4096, 'm')});
        while (const std::size_t count = NextPacket()) {
            told += count;
        }
    }
    // Each packet holds six or seven of them, so few are left.
    EXPECT_GE(told, 43U);
    reporter.Flush();
    EXPECT_EQ(told + NextPacket(), 50U);
    EXPECT_FALSE(reporter.IsGone());
}

TEST_F(ReporterTest, AnEngineThatIsGoneIsNoticed) {
    Reporter reporter(m_near.Get(), kNever);
    m_far.Reset();
    reporter.Tell(Member{1, "m"});
    EXPECT_FALSE(reporter.IsGone());
    reporter.Flush();
    EXPECT_TRUE(reporter.IsGone());
}

}  // namespace
