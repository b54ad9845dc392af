#include <filesystem>
#include <gtest/gtest.h>

#include "tests/support/scratch.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/schdlscn/a_task.h"

// A process that is killed, or refused, at each of its system calls while it changes the list of
// tasks.

namespace {

using namespace schdlscn;
namespace fs = std::filesystem;

constexpr std::size_t kMostPoints = 8;

// All that is in a list, in words that can be compared.
std::string Content(const std::string& path) {
    TaskList list(path);
    std::vector<KeptTask> found;
    if (list.List(0, found) != kScheduleOk) {
        return "unusable";
    }
    std::string all;
    for (const KeptTask& kept : found) {
        all += kept.task.name + " " + std::to_string(kept.id) + " " + kept.ownerName + " " +
               std::to_string(kept.settled.until) + " " + std::to_string(kept.last.start) + " " +
               std::to_string(kept.last.end) + " " + std::to_string(kept.last.infected);
        for (const std::string& folder : kept.task.folders) {
            all += " " + folder;
        }
        all += "\n";
    }
    return all;
}

class KilledChangesTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
        TaskList list(m_before);
        ASSERT_EQ(list.Add(ATask("other"), From(1001, "bert")), kScheduleOk);
        if (std::string_view(GetParam()) != "add") {
            ASSERT_EQ(list.Add(ATask("a"), From(1000, "anna")), kScheduleOk);
        }
    }

    // The list as it was.
    void Restore() const {
        fs::remove(m_path + "-journal");
        fs::copy_file(m_before, m_path, fs::copy_options::overwrite_existing);
        ::chmod(m_path.c_str(), 0600);
    }

    [[nodiscard]] std::vector<std::string> Program() const {
        return {CHANGE_LIST, m_path, GetParam()};
    }

    std::vector<SystemCall> Calls() const {
        Restore();
        const std::string trace = m_scratch / "trace";
        EXPECT_EQ(RunTraced({"-o", trace}, Program()), 0);
        return MarkedCallsIn(trace, ChangesFiles);
    }

    ScratchFolder m_scratch;
    std::string m_before = m_scratch / "before";
    std::string m_path = m_scratch / "tsklst.inf";
};

TEST_P(KilledChangesTest, TheChangeIsMadeOrNotAndTheListIsWhole) {
    const std::string before = Content(m_before);
    const std::vector<SystemCall> calls = Calls();
    const std::string after = Content(m_path);
    ASSERT_NE(after, before);
    ASSERT_NE(after, "unusable");
    ASSERT_GT(calls.size(), 5U);
    for (const std::size_t i :
         Spread(calls.size(), kMostPoints, std::string("calls of ") + GetParam())) {
        Restore();
        EXPECT_EQ(RunInjected(calls[i], "signal=KILL", Program()), -1) << calls[i].name;
        const std::string left = Content(m_path);
        EXPECT_TRUE(left == before || left == after) << calls[i].name << ": " << left;
    }
}

TEST_P(KilledChangesTest, WhatTheDiskRefusesIsNotSaidToBeDone) {
    const std::string before = Content(m_before);
    const std::vector<SystemCall> calls = Calls();
    const std::string after = Content(m_path);
    for (const std::size_t i :
         Spread(calls.size(), kMostPoints, std::string("calls of ") + GetParam())) {
        for (const char* error : {"error=ENOSPC", "error=EIO"}) {
            Restore();
            const int status = RunInjected(calls[i], error, Program());
            const std::string left = Content(m_path);
            EXPECT_TRUE(status == 0 ? left == after : left == before || left == after)
                << calls[i].name << " " << error << " " << status << ": " << left;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Changes, KilledChangesTest,
                         testing::Values("add", "modify", "delete", "begin", "end"));

}  // namespace
