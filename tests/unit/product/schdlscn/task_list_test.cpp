#include "product/schdlscn/task_list.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include "tests/support/scratch.h"
#include "tests/unit/product/schdlscn/a_task.h"

// The list of tasks: who sees and changes what, and what is on the disk.

namespace {

using namespace schdlscn;
using Strings = std::vector<std::string>;

constexpr uid_t kAnna = 1000;
constexpr uid_t kBert = 1001;

class TaskListTest : public testing::Test {
protected:
    ScheduleError Add(const std::string& name, uid_t user) {
        return m_list.Add(ATask(name), From(user, user == kAnna ? "anna" : "bert"));
    }

    Strings Names(uid_t user) {
        std::vector<KeptTask> found;
        EXPECT_EQ(m_list.List(user, found), kScheduleOk);
        Strings names;
        for (const KeptTask& kept : found) {
            names.push_back(kept.task.name);
        }
        return names;
    }

    ScratchFolder m_scratch;
    std::string m_path = m_scratch / "tsklst.inf";
    TaskList m_list{m_path};
};

TEST_F(TaskListTest, WhatWasAddedIsReadAgain) {
    ASSERT_EQ(Add("Homes", kAnna), kScheduleOk);
    TaskList again(m_path);
    Task expected = ATask("Homes");
    expected.owner = kAnna;
    for (TaskList* list : {&m_list, &again}) {
        KeptTask kept;
        ASSERT_EQ(list->Get("Homes", kAnna, kept), kScheduleOk);
        EXPECT_EQ(kept.task, expected);
        EXPECT_EQ(kept.ownerName, "anna");
        EXPECT_EQ(kept.madeDay, 20000);
        EXPECT_EQ(kept.settled, (Settled{.until = 1'700'000'000}));
        EXPECT_EQ(kept.last, LastRun{});
    }
}

TEST_F(TaskListTest, TheOwnerIsWhoAddsItWhateverTheTaskSays) {
    Task task = ATask();
    task.owner = 0;
    ASSERT_EQ(m_list.Add(task, From(kAnna, "anna")), kScheduleOk);
    KeptTask kept;
    ASSERT_EQ(m_list.Get("Homes", kAnna, kept), kScheduleOk);
    EXPECT_EQ(kept.task.owner, kAnna);
}

TEST_F(TaskListTest, ANewListIsItsOwnersAlone) {
    ::umask(0);
    ASSERT_EQ(Add("Homes", kAnna), kScheduleOk);
    EXPECT_EQ(ModeOf(m_path), 0600U);
    EXPECT_EQ(ReadFile(m_path).substr(0, 15), "SQLite format 3");
}

TEST_F(TaskListTest, UsersSeeTheirOwnAndRootSeesAllAsAdded) {
    ASSERT_EQ(Add("b", kBert), kScheduleOk);
    ASSERT_EQ(Add("a", kAnna), kScheduleOk);
    ASSERT_EQ(Add("c", kAnna), kScheduleOk);
    EXPECT_EQ(Names(kAnna), (Strings{"a", "c"}));
    EXPECT_EQ(Names(kBert), (Strings{"b"}));
    EXPECT_EQ(Names(0), (Strings{"b", "a", "c"}));
    EXPECT_EQ(Names(4711), Strings{});
}

TEST_F(TaskListTest, NamesAreUniqueOverAllUsers) {
    ASSERT_EQ(Add("a", kAnna), kScheduleOk);
    EXPECT_EQ(Add("a", kAnna), 1019);
    EXPECT_EQ(Add("a", kBert), 1026);
    EXPECT_EQ(m_list.CheckName("a", kAnna), 1019);
    EXPECT_EQ(m_list.CheckName("a", kBert), 1026);
    EXPECT_EQ(m_list.CheckName("a", 0), 1026);
    EXPECT_EQ(m_list.CheckName("A", kAnna), kScheduleOk);
    EXPECT_EQ(m_list.CheckName("", kAnna), 1031);
    EXPECT_EQ(m_list.CheckName("a/b", kAnna), 1024);
    EXPECT_EQ(m_list.CheckName(std::string(256, 'a'), kAnna), 1030);
    EXPECT_EQ(Names(0), (Strings{"a"}));
}

TEST_F(TaskListTest, AnotherUsersTaskIsNotThere) {
    ASSERT_EQ(Add("a", kAnna), kScheduleOk);
    KeptTask kept;
    EXPECT_EQ(m_list.Get("a", kBert, kept), 1104);
    Task changed = ATask("a");
    changed.hour = 3;
    EXPECT_EQ(m_list.Modify(changed, kBert, {}), 1104);
    EXPECT_EQ(m_list.Delete("a", kBert), 1104);
    EXPECT_EQ(m_list.Delete("b", kAnna), 1104);
    ASSERT_EQ(m_list.Get("a", kAnna, kept), kScheduleOk);
    EXPECT_EQ(kept.task.hour, 21);
}

TEST_F(TaskListTest, ChangingKeepsTheOwnerAlsoForRoot) {
    ASSERT_EQ(Add("a", kAnna), kScheduleOk);
    KeptTask before;
    ASSERT_EQ(m_list.Get("a", kAnna, before), kScheduleOk);
    Task changed;
    changed.name = "a";
    changed.owner = 0;
    changed.folders = {"/new"};
    changed.interval = 7;
    ASSERT_EQ(m_list.Modify(changed, 0, {.until = 1'800'000'000}), kScheduleOk);
    KeptTask kept;
    ASSERT_EQ(m_list.Get("a", kAnna, kept), kScheduleOk);
    changed.owner = kAnna;
    EXPECT_EQ(kept.task, changed);
    EXPECT_EQ(kept.ownerName, "anna");
    EXPECT_EQ(kept.id, before.id);
    EXPECT_EQ(kept.madeDay, 20000);
    EXPECT_EQ(kept.settled, (Settled{.until = 1'800'000'000}));
}

TEST_F(TaskListTest, WhatIsWrongIsNeitherAddedNorStored) {
    Task task = ATask();
    task.hour = 24;
    EXPECT_EQ(m_list.Add(task, From(kAnna, "anna")), kScheduleBadRecord);
    ASSERT_EQ(Add("Homes", kAnna), kScheduleOk);
    EXPECT_EQ(m_list.Modify(task, kAnna, {}), kScheduleBadRecord);
    KeptTask kept;
    ASSERT_EQ(m_list.Get("Homes", kAnna, kept), kScheduleOk);
    EXPECT_EQ(kept.task.hour, 21);
}

TEST_F(TaskListTest, AUserHasAHundredAtMost) {
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(Add("task " + std::to_string(i), kAnna), kScheduleOk);
    }
    EXPECT_EQ(Add("one more", kAnna), 1105);
    EXPECT_EQ(Add("one more", kBert), kScheduleOk);
    ASSERT_EQ(m_list.Delete("task 50", kAnna), kScheduleOk);
    EXPECT_EQ(Add("another", kAnna), kScheduleOk);
}

TEST_F(TaskListTest, ADeletedTaskTakesItsFoldersAndItsNumberWithIt) {
    ASSERT_EQ(Add("a", kAnna), kScheduleOk);
    KeptTask first;
    ASSERT_EQ(m_list.Get("a", kAnna, first), kScheduleOk);
    ASSERT_EQ(m_list.Delete("a", kAnna), kScheduleOk);
    EXPECT_EQ(Names(0), Strings{});
    ASSERT_EQ(Add("a", kAnna), kScheduleOk);
    KeptTask second;
    ASSERT_EQ(m_list.Get("a", kAnna, second), kScheduleOk);
    EXPECT_EQ(second.task.folders.size(), 2U);
    EXPECT_NE(second.id, first.id);
    // A run of the first that ends now is nobody's.
    EXPECT_EQ(m_list.Note(first.id, {.start = 5}), kScheduleOk);
    ASSERT_EQ(m_list.Get("a", kAnna, second), kScheduleOk);
    EXPECT_EQ(second.last, LastRun{});
}

TEST_F(TaskListTest, TheCourseOfARunIsKept) {
    ASSERT_EQ(Add("a", kAnna), kScheduleOk);
    ASSERT_EQ(Add("b", kAnna), kScheduleOk);
    KeptTask kept;
    ASSERT_EQ(m_list.Get("a", kAnna, kept), kScheduleOk);
    const LastRun last{.start = 10,
                       .end = 20,
                       .result = kScheduleRunFound,
                       .reason = kScheduleReasonMissed,
                       .infected = 3,
                       .unread = 4,
                       .report = "schd1234.rpt",
                       .detail = "why"};
    const Settled settled{.until = 30, .day = -5, .boot = "boot", .inBoot = 7};
    ASSERT_EQ(m_list.Note(kept.id, last, settled), kScheduleOk);
    TaskList again(m_path);
    ASSERT_EQ(again.Get("a", kAnna, kept), kScheduleOk);
    EXPECT_EQ(kept.last, last);
    EXPECT_EQ(kept.settled, settled);
    ASSERT_EQ(m_list.Note(kept.id, {.start = 40}), kScheduleOk);
    ASSERT_EQ(again.Get("a", kAnna, kept), kScheduleOk);
    EXPECT_EQ(kept.last, (LastRun{.start = 40}));
    EXPECT_EQ(kept.settled, settled);
    ASSERT_EQ(again.Get("b", kAnna, kept), kScheduleOk);
    EXPECT_EQ(kept.last, LastRun{});
}

TEST_F(TaskListTest, WhatOthersCouldHavePlantedIsNoList) {
    ASSERT_EQ(Add("a", kAnna), kScheduleOk);
    const std::string link = m_scratch / "link";
    std::filesystem::create_symlink(m_path, link);
    std::vector<KeptTask> found;
    EXPECT_EQ(TaskList(link).List(0, found), kScheduleListUnusable);
    const std::string hard = m_scratch / "hard";
    std::filesystem::create_hard_link(m_path, hard);
    EXPECT_EQ(TaskList(hard).List(0, found), kScheduleListUnusable);
    std::filesystem::remove(hard);
    ::chmod(m_path.c_str(), 0620);
    EXPECT_EQ(TaskList(m_path).List(0, found), kScheduleListUnusable);
    ::chmod(m_path.c_str(), 0600);
    EXPECT_EQ(TaskList(m_path).List(0, found), kScheduleOk);
    EXPECT_EQ(TaskList(m_scratch / "no/folder").List(0, found), kScheduleListUnusable);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(m_path.c_str(), kAnna, 0), 0);
        EXPECT_EQ(TaskList(m_path).List(0, found), kScheduleListUnusable);
    }
}

TEST_F(TaskListTest, WhatIsNoListIsLeftAsItIs) {
    WriteFile(m_path,
              "this is no list of tasks, though it is as long as the header of one is, and even a "
              "little longer than that, which is one hundred bytes");
    ::chmod(m_path.c_str(), 0600);
    const std::string before = ReadFile(m_path);
    std::vector<KeptTask> found;
    EXPECT_EQ(m_list.List(0, found), kScheduleListUnusable);
    EXPECT_EQ(Add("a", kAnna), kScheduleListUnusable);
    EXPECT_EQ(ReadFile(m_path), before);
}

TEST_F(TaskListTest, AnotherProgramsDatabaseIsNone) {
    sqlite3* other = nullptr;
    ASSERT_EQ(sqlite3_open(m_path.c_str(), &other), SQLITE_OK);
    sqlite3_exec(other, "CREATE TABLE task (id)", nullptr, nullptr, nullptr);
    sqlite3_close(other);
    ::chmod(m_path.c_str(), 0600);
    EXPECT_EQ(Add("a", kAnna), kScheduleListUnusable);
}

TEST_F(TaskListTest, AnEmptyFileThatAKilledProcessHasLeftIsFilled) {
    WriteFile(m_path, "");
    ::chmod(m_path.c_str(), 0600);
    EXPECT_EQ(Add("a", kAnna), kScheduleOk);
    EXPECT_EQ(Names(kAnna), (Strings{"a"}));
}

TEST_F(TaskListTest, OnAFullDiskTheListStaysAsItWas) {
    std::filesystem::create_directory(m_scratch / "disk");
    const TinyDisk disk(m_scratch / "disk", "256k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system may be mounted here";
    }
    TaskList list(m_scratch / "disk/tsklst.inf");
    Task big = ATask();
    big.folders.assign(20, "/" + std::string(1000, 'a'));
    int added = 0;
    ScheduleError error = kScheduleOk;
    while (added < 90 && error == kScheduleOk) {
        big.name = std::to_string(added);
        error = list.Add(big, From(kAnna, "anna"));
        added += error == kScheduleOk ? 1 : 0;
    }
    EXPECT_EQ(error, kScheduleListUnusable);
    EXPECT_GT(added, 0);
    std::vector<KeptTask> found;
    ASSERT_EQ(list.List(kAnna, found), kScheduleOk);
    EXPECT_EQ(found.size(), static_cast<std::size_t>(added));
    for (const KeptTask& kept : found) {
        EXPECT_EQ(kept.task.folders.size(), 20U);
    }
}

}  // namespace
