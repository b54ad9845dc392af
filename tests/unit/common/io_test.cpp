#include "common/io.h"

#include <array>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

namespace {

bool IsOpenDescriptor(int fd) {
    return ::fcntl(fd, F_GETFD) >= 0;
}

std::pair<common::FileDescriptor, common::FileDescriptor> Pipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    return {common::FileDescriptor(ends[0]), common::FileDescriptor(ends[1])};
}

TEST(FileDescriptor, ClosesWhatItOwns) {
    int fd = -1;
    {
        const common::FileDescriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        fd = file.Get();
        EXPECT_TRUE(file.IsOpen());
        EXPECT_TRUE(IsOpenDescriptor(fd));
    }
    EXPECT_FALSE(IsOpenDescriptor(fd));
}

TEST(FileDescriptor, MovesItsOwnership) {
    common::FileDescriptor first(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int fd = first.Get();
    common::FileDescriptor second(std::move(first));
    EXPECT_EQ(second.Get(), fd);
    common::FileDescriptor third(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int replaced = third.Get();
    third = std::move(second);
    EXPECT_EQ(third.Get(), fd);
    EXPECT_FALSE(IsOpenDescriptor(replaced));
    EXPECT_TRUE(IsOpenDescriptor(fd));
}

TEST(FileDescriptor, GivesAwayAndResets) {
    common::FileDescriptor file(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const int fd = file.Release();
    EXPECT_FALSE(file);
    EXPECT_EQ(file.Get(), -1);
    EXPECT_TRUE(IsOpenDescriptor(fd));
    file.Reset(fd);
    file.Reset(fd);  // what it holds already stays open
    EXPECT_TRUE(IsOpenDescriptor(fd));
    file.Reset();
    EXPECT_FALSE(IsOpenDescriptor(fd));
}

TEST(WriteAll, WritesMoreThanOneWriteTakes) {
    auto [reading, writing] = Pipe();
    // A pipe takes 64 KiB at a time, so this needs several writes.
    const std::string sent(1'000'000, 'w');
    std::string received;
    std::thread reader([&received, &source = reading] {
        std::array<std::byte, 4096> block{};
        std::ptrdiff_t got = 0;
        while ((got = common::ReadFull(source.Get(), block)) > 0) {
            received.append(reinterpret_cast<const char*>(block.data()),
                            static_cast<std::size_t>(got));
        }
    });
    EXPECT_TRUE(common::WriteAll(writing.Get(), sent));
    writing.Reset();
    reader.join();
    EXPECT_EQ(received, sent);
}

TEST(WriteAll, GoesOnAfterASignal) {
    struct sigaction quiet {};
    quiet.sa_handler = [](int) {};  // without SA_RESTART: system calls come back with EINTR
    struct sigaction before {};
    ASSERT_EQ(::sigaction(SIGUSR1, &quiet, &before), 0);
    auto [reading, writing] = Pipe();
    std::atomic<bool> done{false};
    bool written = false;
    std::thread writer([&, &target = writing] {
        written = common::WriteAll(target.Get(), std::string(200'000, 'w'));
        done = true;
        target.Reset();
    });
    for (int round = 0; round < 50 && !done; ++round) {
        ::pthread_kill(writer.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_FALSE(done);  // the pipe is full and nobody has read yet
    std::string received(300'000, '\0');
    const std::ptrdiff_t got =
        common::ReadFull(reading.Get(), std::as_writable_bytes(std::span(received)));
    writer.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    EXPECT_TRUE(written);
    EXPECT_EQ(got, 200'000);
}

TEST(WriteAll, TellsWhenItCannot) {
    EXPECT_FALSE(common::WriteAll(-1, "text"));
    EXPECT_EQ(errno, EBADF);
    const common::FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_FALSE(common::WriteAll(full.Get(), "text"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(common::WriteAll(full.Get(), ""));
}

TEST(ReadFull, ReadsUpToTheEnd) {
    const ScratchFolder scratch;
    WriteFile(scratch / "file", "abcdef");
    const common::FileDescriptor file(::open((scratch / "file").c_str(), O_RDONLY | O_CLOEXEC));
    std::array<std::byte, 4> block{};
    EXPECT_EQ(common::ReadFull(file.Get(), block), 4);
    EXPECT_EQ(block[3], std::byte{'d'});
    EXPECT_EQ(common::ReadFull(file.Get(), block), 2);
    EXPECT_EQ(block[1], std::byte{'f'});
    EXPECT_EQ(common::ReadFull(file.Get(), block), 0);
}

TEST(ReadFull, CollectsWhatComesInPieces) {
    auto [reading, writing] = Pipe();
    std::thread writer([&target = writing] {
        for (int piece = 0; piece < 10; ++piece) {
            common::WriteAll(target.Get(), "0123456789");
        }
        target.Reset();
    });
    std::array<std::byte, 95> block{};
    EXPECT_EQ(common::ReadFull(reading.Get(), block), 95);
    writer.join();
    EXPECT_EQ(common::ReadFull(reading.Get(), block), 5);
}

TEST(ReadFull, FailsOnWhatCannotBeRead) {
    std::array<std::byte, 4> block{};
    EXPECT_EQ(common::ReadFull(-1, block), -1);
}

TEST(BytesOf, AreTheRecordsOwn) {
    std::uint32_t value = 0;
    common::BytesOf(value)[0] = std::byte{0x2A};
    EXPECT_EQ(value, 42U);
    EXPECT_EQ(common::BytesOf(std::as_const(value)).size(), 4U);
}

}  // namespace
