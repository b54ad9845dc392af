#include "common/clean_spawn.h"

#include <array>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

#include "common/file_descriptor.h"

namespace {

// What a shell that is started so says of itself by way of its descriptor 4.
std::string Said(const std::string& commands, common::Session session = common::Session::kShared) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    common::FileDescriptor ours(ends[0]);
    common::FileDescriptor theirs(ends[1]);
    const common::CleanSpawn spawn({{theirs.Get(), 4}}, session);
    std::string name = "sh";
    std::string option = "-c";
    std::string text = commands;
    const std::array<char*, 4> words{name.data(), option.data(), text.data(), nullptr};
    const std::array<char*, 1> environment{nullptr};
    pid_t pid = 0;
    EXPECT_EQ(spawn.Start(pid, "/bin/sh", words.data(), environment.data()), 0);
    theirs.Reset();
    std::string said;
    std::array<char, 256> buffer{};
    for (ssize_t count = 0; (count = ::read(ours.Get(), buffer.data(), buffer.size())) > 0;) {
        said.append(buffer.data(), static_cast<std::size_t>(count));
    }
    int status = 0;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0);
    return said;
}

TEST(CleanSpawnTest, StandardDescriptorsLeadNowhereAndAllOthersAreClosed) {
    const common::FileDescriptor low(::dup(STDERR_FILENO));
    const common::FileDescriptor high(::fcntl(STDERR_FILENO, F_DUPFD, 9));
    ASSERT_TRUE(low && high);
    EXPECT_EQ(Said("f=/proc/$$/fd; all=$(readlink $f/0 $f/1 $f/2); echo $all >&4"),
              "/dev/null /dev/null /dev/null\n");
    // Without a program that would open something itself.
    EXPECT_EQ(Said("for n in 0 1 2 3 4 5 6 7 8 9 10 11 12; do"
                   " [ ! -e /proc/$$/fd/$n ] || all=$all$n,; done; echo $all >&4"),
              "0,1,2,4,\n");
}

TEST(CleanSpawnTest, StartsInTheRootFolder) {
    EXPECT_EQ(Said("pwd >&4"), "/\n");
}

TEST(CleanSpawnTest, SignalsAreNeitherBlockedNorIgnored) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, &blocked, &before), 0);
    const auto handler = std::signal(SIGUSR1, SIG_IGN);
    const std::string masks = Said(
        "while read -r name mask; do"
        " case $name in SigBlk:|SigIgn:) echo $mask;; esac; done </proc/$$/status >&4");
    std::istringstream fields(masks);
    std::uint64_t blockedThere = 0;
    std::uint64_t ignoredThere = 0;
    fields >> std::hex >> blockedThere >> ignoredThere;
    ASSERT_TRUE(fields) << masks;
    EXPECT_EQ(blockedThere, 0U);
    // Those that the C library keeps for itself are as they were.
    EXPECT_EQ(ignoredThere & ((1ULL << (SIGRTMIN - 3)) - 1), 0U) << masks;
    (void)std::signal(SIGUSR1, handler);
    ASSERT_EQ(::pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
}

TEST(CleanSpawnTest, ASessionOfItsOwnOrOurs) {
    constexpr char kSession[] = "cut -d' ' -f6 /proc/$$/stat >&4; echo $$ >&4";
    const std::string shared = Said(kSession);
    EXPECT_EQ(shared.substr(0, shared.find('\n')), std::to_string(::getsid(0)));
    const std::string own = Said(kSession, common::Session::kOwn);
    EXPECT_EQ(own.substr(0, own.find('\n') + 1), own.substr(own.find('\n') + 1));
}

TEST(CleanSpawnTest, WhatCannotBeStartedIsAnErrorNumber) {
    const common::CleanSpawn spawn({}, common::Session::kOwn);
    const std::array<char*, 1> none{nullptr};
    pid_t pid = 0;
    EXPECT_EQ(spawn.Start(pid, "/nowhere", none.data(), none.data()), ENOENT);
}

}  // namespace
