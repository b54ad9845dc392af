#include "product/scanwire/packet.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace scanwire;
using common::FileDescriptor;

std::size_t OpenDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

class PacketTest : public testing::Test {
protected:
    void SetUp() override {
        std::array<int, 2> ends{};
        ASSERT_EQ(
            socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
        m_near.Reset(ends[0]);
        m_far.Reset(ends[1]);
    }

    Received Receive() { return m_receiver.Receive(m_far.Get(), m_packet); }

    // Sent without the bounds of SendPacket.
    void SendRaw(std::size_t size, std::size_t descriptors) {
        const std::string bytes(size, 'x');
        std::vector<char> control(CMSG_SPACE(descriptors * sizeof(int)));
        iovec part{const_cast<char*>(bytes.data()), bytes.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* rights = CMSG_FIRSTHDR(&message);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(descriptors * sizeof(int));
        for (std::size_t i = 0; i < descriptors; ++i) {
            reinterpret_cast<int*>(CMSG_DATA(rights))[i] = m_near.Get();
        }
        ASSERT_EQ(sendmsg(m_near.Get(), &message, 0), static_cast<ssize_t>(size));
    }

    FileDescriptor m_near;
    FileDescriptor m_far;
    PacketReceiver m_receiver;
    Packet m_packet;
};

TEST_F(PacketTest, PacketsComeOneByOneAndWhole) {
    EXPECT_EQ(SendPacket(m_near.Get(), "first"), Sent::kWhole);
    EXPECT_EQ(SendPacket(m_near.Get(), std::string(kMaxPacket, 'y')), Sent::kWhole);
    EXPECT_EQ(Receive(), Received::kPacket);
    EXPECT_EQ(m_packet.bytes, "first");
    EXPECT_TRUE(m_packet.descriptors.empty());
    EXPECT_EQ(Receive(), Received::kPacket);
    EXPECT_EQ(m_packet.bytes, std::string(kMaxPacket, 'y'));
    EXPECT_EQ(Receive(), Received::kNothing);
    EXPECT_EQ(m_packet.bytes, "");
    m_near.Reset();
    EXPECT_EQ(Receive(), Received::kEnd);
}

// The system says so with an error first.
TEST_F(PacketTest, WhoEndsWithSomethingUnreadIsHeardToTheEnd) {
    EXPECT_EQ(SendPacket(m_far.Get(), "never read"), Sent::kWhole);
    EXPECT_EQ(SendPacket(m_near.Get(), "last words"), Sent::kWhole);
    m_near.Reset();
    EXPECT_EQ(Receive(), Received::kPacket);
    EXPECT_EQ(m_packet.bytes, "last words");
    EXPECT_EQ(Receive(), Received::kEnd);
}

TEST_F(PacketTest, DescriptorsComeInTheirOrder) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor out(ends[0]);
    FileDescriptor in(ends[1]);
    EXPECT_EQ(SendPacket(m_near.Get(), "two", std::array{in.Get(), out.Get()}), Sent::kWhole);
    in.Reset();
    ASSERT_EQ(Receive(), Received::kPacket);
    ASSERT_EQ(m_packet.descriptors.size(), 2U);
    EXPECT_EQ(fcntl(m_packet.descriptors[0].Get(), F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(write(m_packet.descriptors[0].Get(), "z", 1), 1);
    char byte = 0;
    EXPECT_EQ(read(m_packet.descriptors[1].Get(), &byte, 1), 1);
    EXPECT_EQ(byte, 'z');
}

TEST_F(PacketTest, AsManyDescriptorsAsThereMayBe) {
    const std::vector<int> many(kMaxDescriptors, m_near.Get());
    const std::size_t before = OpenDescriptors();
    EXPECT_EQ(SendPacket(m_near.Get(), "all", many), Sent::kWhole);
    EXPECT_EQ(Receive(), Received::kPacket);
    EXPECT_EQ(m_packet.descriptors.size(), 32U);
    EXPECT_EQ(Receive(), Received::kNothing);
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(PacketTest, TooLongAPacketIsRefusedAndItsDescriptorsAreClosed) {
    const std::size_t before = OpenDescriptors();
    SendRaw(kMaxPacket + 1, 3);
    EXPECT_EQ(Receive(), Received::kBroken);
    EXPECT_EQ(m_packet.bytes, "");
    EXPECT_TRUE(m_packet.descriptors.empty());
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(PacketTest, TooManyDescriptorsAreRefusedAndClosed) {
    const std::size_t before = OpenDescriptors();
    SendRaw(5, kMaxDescriptors + 1);
    EXPECT_EQ(Receive(), Received::kBroken);
    EXPECT_TRUE(m_packet.descriptors.empty());
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(PacketTest, AnEmptyPacketIsTheEnd) {
    ASSERT_EQ(send(m_near.Get(), "", 0, 0), 0);
    EXPECT_EQ(Receive(), Received::kEnd);
}

TEST_F(PacketTest, WhatGoesBeyondTheBoundsIsNotSent) {
    EXPECT_EQ(SendPacket(m_near.Get(), ""), Sent::kFailed);
    EXPECT_EQ(SendPacket(m_near.Get(), std::string(kMaxPacket + 1, 'x')), Sent::kFailed);
    EXPECT_EQ(SendPacket(m_near.Get(), "x", std::vector<int>(kMaxDescriptors + 1, 0)),
              Sent::kFailed);
    EXPECT_EQ(Receive(), Received::kNothing);
}

TEST_F(PacketTest, AFullSocketSaysSo) {
    Sent sent = Sent::kWhole;
    for (int i = 0; i < 100000 && sent == Sent::kWhole; ++i) {
        sent = SendPacket(m_near.Get(), std::string(1000, 'x'));
    }
    EXPECT_EQ(sent, Sent::kNoRoom);
    EXPECT_EQ(SendPacket(m_near.Get(), "x", std::array{m_near.Get()}), Sent::kNoRoom);
}

TEST_F(PacketTest, SendingToNobodyFailsWithoutASignal) {
    m_far.Reset();
    EXPECT_EQ(SendPacket(m_near.Get(), "x"), Sent::kFailed);
    EXPECT_EQ(SendPacket(m_near.Get(), "x", std::array{m_near.Get()}), Sent::kFailed);
}

TEST_F(PacketTest, AnErrorIsNoEnd) {
    Packet packet;
    EXPECT_EQ(m_receiver.Receive(-1, packet), Received::kBroken);
}

}  // namespace
