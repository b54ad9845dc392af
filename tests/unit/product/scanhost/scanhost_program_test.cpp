// corvane-scanhost as somebody starts it from a shell.

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>

#include "product/scanhost/options.h"

namespace {

struct Outcome {
    int status = -1;
    std::string said;  ///< on either stream
};

Outcome RunProgram(const std::string& arguments) {
    Outcome outcome;
    FILE* pipe = popen((SCANHOST " " + arguments).c_str(), "r");
    if (pipe == nullptr) {
        return outcome;
    }
    std::array<char, 4096> buffer{};
    while (const std::size_t got = fread(buffer.data(), 1, buffer.size(), pipe)) {
        outcome.said.append(buffer.data(), got);
    }
    const int status = pclose(pipe);
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return outcome;
}

TEST(ScanhostProgramTest, WithoutAControlSocketItSaysSo) {
    for (const char* descriptors : {"3>&-", "3</dev/null"}) {
        const Outcome outcome = RunProgram(std::string("2>&1 ") + descriptors);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_EQ(outcome.said,
                  std::string("corvane-scanhost: there is no control socket: the scan engine "
                              "starts this program\n") +
                      scanhost::kUsage);
    }
}

TEST(ScanhostProgramTest, VersionAndHelpGoToStandardOutput) {
    const Outcome version = RunProgram("--version 2>/dev/null");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.said, "corvane-scanhost 1.0.0\n");
    const Outcome help = RunProgram("--help 2>/dev/null");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.said, scanhost::kUsage);
}

TEST(ScanhostProgramTest, WrongArgumentsAreRefused) {
    for (const char* arguments : {"--nonsense", "word", "--version --help", "--check word", "-x"}) {
        const Outcome outcome = RunProgram(std::string(arguments) + " 2>&1 >/dev/null");
        EXPECT_EQ(outcome.status, 2) << arguments;
        EXPECT_EQ(outcome.said.find("corvane-scanhost: "), 0U) << arguments;
    }
}

TEST(ScanhostProgramTest, WhatCannotBePrintedIsAFailure) {
    EXPECT_EQ(RunProgram("--help 2>/dev/null >/dev/full").status, 1);
}

}  // namespace
