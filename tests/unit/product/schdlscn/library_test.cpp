#include <chrono>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <thread>

#include "abi/schdlscn.h"
#include "common/io.h"
#include "common/schedule_entries.h"
#include "tests/unit/product/schdlscn/scheduler_service.h"

// "schdlscn.so" as programs load it: with the service as ordinary users, without it as root.

namespace {

using namespace std::chrono_literals;

// Two users that every machine has.
constexpr uid_t kDaemon = 1;
constexpr uid_t kBin = 2;

const std::string kList = common::InProductDirectory(kScheduleTaskList);

template <typename Function>
Function Symbol(const char* name) {
    static void* const library = ::dlopen(SCHDLSCN_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    return reinterpret_cast<Function>(library != nullptr ? ::dlsym(library, name) : nullptr);
}

unsigned int Check(const std::string& name) {
    unsigned int error = 4711;
    const bool isRight =
        Symbol<PFNVALIDATETASKNAME>(kValidateTaskName)(name.c_str(), 1, ::getuid(), &error);
    return isRight == (error == 0) ? error : 9999;
}

void Fill(tagSCHEDULE_SCAN_ENTRY& record, const std::string& name, int hour) {
    common::CopyToField(record.name, name);
    record.interval = 3;
    record.hour = static_cast<std::int16_t>(hour);
    record.weekday = 1;
    record.action = 3;
    record.options = 5;
    record.userId = 0;  // whatever it says
    common::AddFolder(record, "/home");
    common::AddFolder(record, "/srv");
}

unsigned int Add(const std::string& name, int hour = 7) {
    common::OwnedScheduleEntry entry;
    Fill(entry.record, name, hour);
    unsigned int error = 4711;
    const bool isDone =
        Symbol<PFNADDSCHEDULESCANTASK>(kAddScheduleScanTask)(kList.c_str(), &entry.record, &error);
    return isDone == (error == 0) ? error : 9999;
}

unsigned int Modify(const std::string& name, int hour) {
    common::OwnedScheduleEntry entry;
    Fill(entry.record, name, hour);
    unsigned int error = 4711;
    const bool isDone = Symbol<PFNMODIFYSCHEDULESCANTASK>(kModifyScheduleScanTask)(
        kList.c_str(), &entry.record, ::getuid(), &error);
    return isDone == (error == 0) ? error : 9999;
}

unsigned int Delete(const std::string& name) {
    unsigned int error = 4711;
    const bool isDone = Symbol<PFNDELETESCHEDULESCANTASK>(kDeleteScheduleScanTask)(
        kList.c_str(), name.c_str(), ::getuid(), &error);
    return isDone == (error == 0) ? error : 9999;
}

unsigned int Get(const std::string& name, tagSCHEDULE_SCAN_ENTRY& record) {
    common::CopyToField(record.name, name);
    unsigned int error = 4711;
    const bool isDone = Symbol<PFNGETSCHEDULESCANTASKDETAILS>(kGetScheduleScanTaskDetails)(
        kList.c_str(), &record, ::getuid(), &error);
    return isDone == (error == 0) ? error : 9999;
}

// "name/owner ..." of what `user` wants to see, or the error.
std::string List(uid_t user) {
    common::OwnedScheduleEntries entries;
    unsigned int error = 4711;
    if (!Symbol<PFNREADSCHEDULESCANTASKLIST>(kReadScheduleScanTaskList)(
            kList.c_str(), &entries.array, user, &error)) {
        return std::to_string(error);
    }
    std::string all;
    for (const tagSCHEDULE_SCAN_ENTRY& entry : common::EntriesOf(entries.array)) {
        all += std::string(common::FieldText(entry.name)) + "/" + std::to_string(entry.userId) +
               "/" + std::to_string(common::FoldersOf(entry).size()) + " ";
    }
    return all;
}

unsigned int State(const std::string& name, tagSCHEDULE_TASK_STATE& state) {
    unsigned int error = 4711;
    const bool isDone = Symbol<PFNGETSCHEDULETASKSTATE>(kGetScheduleTaskState)(
        kList.c_str(), name.c_str(), ::getuid(), &state, &error);
    return isDone == (error == 0) ? error : 9999;
}

unsigned int RunNow(const std::string& name) {
    unsigned int error = 4711;
    const bool isDone = Symbol<PFNRUNSCHEDULETASKNOW>(kRunScheduleTaskNow)(
        kList.c_str(), name.c_str(), ::getuid(), &error);
    return isDone == (error == 0) ? error : 9999;
}

unsigned int CheckFolder(const std::string& path) {
    unsigned int error = 4711;
    const bool isRight =
        Symbol<PFNVALIDATEDIRECTORYPATH>(kValidateDirectoryPath)(path.c_str(), &error);
    return isRight == (error == 0) ? error : 9999;
}

class ScheduleLibraryTest : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            GTEST_SKIP() << "needs a root of its own";
        }
        ASSERT_NE(Symbol<void*>(kValidateTaskName), nullptr) << ::dlerror();
        std::filesystem::create_directories(kProductDirectory);
        std::filesystem::remove(kList);
        std::filesystem::remove(schdlscn::kServiceSocket);
    }
};

TEST_F(ScheduleLibraryTest, UsersKeepTheirOwnTasksThroughTheService) {
    const SchedulerService service;
    ASSERT_TRUE(service.IsThere());
    EXPECT_EQ(AsUser(kDaemon,
                     [] {
                         EXPECT_EQ(Check("mine"), 0U);
                         EXPECT_EQ(Add("mine"), 0U);
                         EXPECT_EQ(Check("mine"), 1019U);
                         EXPECT_EQ(Add("mine"), 1019U);
                         EXPECT_EQ(Add("second"), 0U);
                         EXPECT_EQ(List(kDaemon), "mine/1/2 second/1/2 ");
                         EXPECT_EQ(Delete("second"), 0U);
                         EXPECT_EQ(Modify("mine", 9), 0U);
                         common::OwnedScheduleEntry entry;
                         EXPECT_EQ(Get("mine", entry.record), 0U);
                         EXPECT_EQ(entry.record.hour, 9);
                         EXPECT_EQ(entry.record.interval, 3);
                         EXPECT_EQ(entry.record.action, 3);
                         EXPECT_EQ(entry.record.options, 5);
                         const auto folders = common::FoldersOf(entry.record);
                         EXPECT_EQ(folders.size(), 2U);
                         EXPECT_STREQ(folders[0].path, "/home");
                         EXPECT_STREQ(folders[1].path, "/srv");
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
    EXPECT_EQ(AsUser(kBin,
                     [] {
                         EXPECT_EQ(List(kBin), "");
                         EXPECT_EQ(List(kDaemon), "");
                         EXPECT_EQ(List(0), "");
                         EXPECT_EQ(Check("mine"), 1026U);
                         EXPECT_EQ(Add("mine"), 1026U);
                         EXPECT_EQ(Modify("mine", 3), 1104U);
                         EXPECT_EQ(Delete("mine"), 1104U);
                         common::OwnedScheduleEntry entry;
                         EXPECT_EQ(Get("mine", entry.record), 1104U);
                         EXPECT_EQ(Add("other"), 0U);
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
    EXPECT_EQ(List(0), "mine/1/2 other/2/2 ");
    EXPECT_EQ(List(kBin), "other/2/2 ");
    EXPECT_EQ(Modify("mine", 4), 0U);
    EXPECT_EQ(List(kDaemon), "mine/1/2 ");
    EXPECT_EQ(Delete("other"), 0U);
    EXPECT_EQ(List(0), "mine/1/2 ");
}

TEST_F(ScheduleLibraryTest, EachRefusalOfANameHasItsCode) {
    const SchedulerService service;
    EXPECT_EQ(Check(""), 1031U);
    EXPECT_EQ(Check("a*b"), 1024U);
    EXPECT_EQ(Check(std::string(255, 'a')), 0U);
    EXPECT_EQ(Check(std::string(256, 'a')), 1030U);
    EXPECT_EQ(Check(std::string(100'000, 'a')), 1030U);
    EXPECT_EQ(Add("a*b"), 1024U);
    EXPECT_EQ(Add("late", 24), 1106U);
}

TEST_F(ScheduleLibraryTest, WithoutTheServiceRootDoesItAndOthersHearThatThereIsNone) {
    EXPECT_EQ(Add("roots"), 0U);
    EXPECT_EQ(ModeOf(kList), 0600U);
    EXPECT_EQ(List(0), "roots/0/2 ");
    EXPECT_EQ(Check("roots"), 1019U);
    EXPECT_EQ(Modify("roots", 8), 0U);
    EXPECT_EQ(AsUser(kDaemon,
                     [] {
                         EXPECT_EQ(Check("any"), 1103U);
                         EXPECT_EQ(Add("any"), 1103U);
                         EXPECT_EQ(List(kDaemon), "1103");
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
    EXPECT_EQ(Delete("roots"), 0U);
    EXPECT_EQ(List(0), "");
}

std::string BytesOf(const tagSCHEDULE_TASK_STATE& state) {
    return {reinterpret_cast<const char*>(&state), sizeof state};
}

TEST_F(ScheduleLibraryTest, HowATaskStandsIsToldToItsOwnerAndRoot) {
    const SchedulerService service;
    ASSERT_EQ(AsUser(kDaemon, [] { return Add("mine") == 0 ? 0 : 1; }), 0);
    EXPECT_EQ(AsUser(kDaemon,
                     [] {
                         tagSCHEDULE_TASK_STATE state;
                         std::memset(&state, 0xFF, sizeof state);
                         EXPECT_EQ(State("mine", state), 0U);
                         EXPECT_EQ(state.size, 576U);
                         EXPECT_EQ(state.flags, kScheduleServiceRuns);
                         EXPECT_GT(state.nextRun, ::time(nullptr));
                         state.nextRun = 0;
                         state.size = 0;
                         state.flags = 0;
                         EXPECT_EQ(BytesOf(state), std::string(576, '\0')) << "filled in whole";
                         EXPECT_EQ(RunNow("mine"), 0U);
                         EXPECT_EQ(RunNow("mine"), 1108U);
                         EXPECT_EQ(State("mine", state), 0U);
                         EXPECT_EQ(state.flags, kScheduleServiceRuns | kScheduleTaskRuns);
                         EXPECT_EQ(state.lastReason, kScheduleReasonAsked);
                         EXPECT_GT(state.lastStart, ::time(nullptr) - 600);
                         EXPECT_LE(state.lastStart, ::time(nullptr));
                         EXPECT_EQ(state.lastEnd, 0);
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
    EXPECT_EQ(AsUser(kBin,
                     [] {
                         tagSCHEDULE_TASK_STATE state{};
                         EXPECT_EQ(State("mine", state), 1104U);
                         EXPECT_EQ(BytesOf(state), std::string(576, '\0'));
                         EXPECT_EQ(RunNow("mine"), 1104U);
                         EXPECT_EQ(State("", state), 0U);
                         EXPECT_EQ(state.flags, kScheduleServiceRuns);
                         EXPECT_EQ(state.nextRun, 0);
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
    tagSCHEDULE_TASK_STATE state{};
    EXPECT_EQ(State("mine", state), 0U);
    EXPECT_EQ(RunNow("mine"), 1108U);
    EXPECT_EQ(State("none", state), 1104U);
}

unsigned int DeleteReport(const char* name) {
    unsigned int error = 4711;
    const bool isDone =
        Symbol<PFNDELETESCHEDULEREPORT>(kDeleteScheduleReport)(name, ::getuid(), &error);
    return isDone == (error == 0) ? error : 9999;
}

TEST_F(ScheduleLibraryTest, AReportIsDeletedByTheServiceForWhoAsks) {
    EXPECT_EQ(DeleteReport(nullptr), 1106U);
    EXPECT_EQ(DeleteReport("schd0001.rpt"), 1103U) << "there is no service";
    const SchedulerService service;
    EXPECT_EQ(AsUser(kDaemon, [] { return DeleteReport("schd0001.rpt") == 0 ? 0 : 1; }), 0);
    EXPECT_EQ(AsUser(kDaemon, [] { return DeleteReport("schd0002.rpt") == 1109 ? 0 : 1; }), 0);
    EXPECT_EQ(AsUser(kBin, [] { return DeleteReport("schd0001.rpt") == 1109 ? 0 : 1; }), 0);
}

// Root's own eyes see what is in the list, and that nothing runs.
TEST_F(ScheduleLibraryTest, WithoutTheServiceRootIsToldWhatIsInTheList) {
    ASSERT_EQ(Add("roots"), 0U);
    tagSCHEDULE_TASK_STATE state{};
    EXPECT_EQ(State("", state), 0U);
    EXPECT_EQ(state.size, 576U);
    EXPECT_EQ(state.flags, 0U);
    EXPECT_EQ(State("roots", state), 0U);
    EXPECT_EQ(state.flags, 0U);
    EXPECT_EQ(state.nextRun, 0);
    EXPECT_EQ(State("none", state), 1104U);
    EXPECT_EQ(RunNow("roots"), 1103U);
    {
        schdlscn::TaskList list(kList);
        schdlscn::KeptTask kept;
        ASSERT_EQ(list.Get("roots", 0, kept), kScheduleOk);
        ASSERT_EQ(list.Note(kept.id, {.start = 1'700'000'000,
                                      .end = 1'700'000'060,
                                      .result = kScheduleRunFound,
                                      .reason = kScheduleReasonMissed,
                                      .infected = 3,
                                      .unread = 4,
                                      .report = "schd0001.rpt",
                                      .detail = "words"}),
                  kScheduleOk);
    }
    EXPECT_EQ(State("roots", state), 0U);
    EXPECT_EQ(state.lastStart, 1'700'000'000);
    EXPECT_EQ(state.lastEnd, 1'700'000'060);
    EXPECT_EQ(state.lastResult, 2U);
    EXPECT_EQ(state.lastReason, 2U);
    EXPECT_EQ(state.infected, 3U);
    EXPECT_EQ(state.unread, 4U);
    EXPECT_STREQ(state.report, "schd0001.rpt");
    EXPECT_STREQ(state.detail, "words");
    {
        schdlscn::TaskList list(kList);
        schdlscn::KeptTask kept;
        ASSERT_EQ(list.Get("roots", 0, kept), kScheduleOk);
        ASSERT_EQ(list.Note(kept.id, {.start = 1'800'000'000, .report = "schd0002.rpt"}),
                  kScheduleOk);
    }
    EXPECT_EQ(State("roots", state), 0U);
    EXPECT_EQ(state.lastResult, 5U) << "it was broken off with the service";
    EXPECT_STREQ(state.report, "") << "and its report is not in order";
    EXPECT_EQ(AsUser(kDaemon,
                     [] {
                         tagSCHEDULE_TASK_STATE none{};
                         EXPECT_EQ(State("", none), 1103U);
                         EXPECT_EQ(State("roots", none), 1103U);
                         EXPECT_EQ(RunNow("roots"), 1103U);
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
}

// Listens at the place of the service and says nothing.
common::FileDescriptor ListenSilently() {
    std::filesystem::create_directories("/run/corvane");
    return serving::Listen(schdlscn::kServiceSocket);
}

TEST_F(ScheduleLibraryTest, AServiceThatIsSilentIsWaitedForTwoSeconds) {
    const common::FileDescriptor silent = ListenSilently();
    ASSERT_TRUE(silent);
    const auto begin = std::chrono::steady_clock::now();
    // Root, too: the service may be at work on the list.
    EXPECT_EQ(Add("any"), 1103U);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, 1900ms);
    EXPECT_LT(waited, 10s);
    EXPECT_FALSE(Exists(kList));
}

// Nobody can be asked, but somebody is there: the list is the service's.
TEST_F(ScheduleLibraryTest, RootWritesNothingItselfWhileTooManyWaitForTheService) {
    const common::FileDescriptor silent = ListenSilently();
    ASSERT_TRUE(silent);
    std::vector<common::FileDescriptor> waiting;
    waiting.reserve(1000);
    do {
        waiting.push_back(ConnectAtOnce());
        ASSERT_LT(waiting.size(), 1000U);
    } while (waiting.back());
    EXPECT_EQ(Add("any"), 1103U);
    EXPECT_FALSE(Exists(kList));
    // As soon as there is room it is asked again.
    std::thread room([&] {
        const common::FileDescriptor first(::accept(silent.Get(), nullptr, nullptr));
        EXPECT_TRUE(first);
    });
    EXPECT_EQ(List(0), "1103");
    room.join();
    EXPECT_FALSE(ConnectAtOnce()) << "the place that became free was taken";
}

TEST_F(ScheduleLibraryTest, NobodyElsesServiceIsBelieved) {
    std::filesystem::create_directories("/run/corvane");
    ASSERT_EQ(::chown("/run/corvane", kBin, kBin), 0);
    std::array<int, 2> ready{};
    ASSERT_EQ(::pipe(ready.data()), 0);
    const pid_t false_ = StartChild([&] {
        ::setresuid(kBin, kBin, kBin);
        const common::FileDescriptor listening = serving::Listen(schdlscn::kServiceSocket);
        ::close(ready[0]);
        (void)!::write(ready[1], listening ? "y" : "n", 1);
        for (;;) {
            const common::FileDescriptor one(::accept(listening.Get(), nullptr, nullptr));
            common::WriteAll(one.Get(), std::string_view("error=0\nend\n"));
        }
        return 0;
    });
    char answer = 0;
    ASSERT_EQ(::read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    EXPECT_EQ(AsUser(kDaemon, [] { return List(kDaemon) == "1103" ? 0 : 1; }), 0);
    ::kill(false_, SIGKILL);
    JoinChild(false_);
    ::close(ready[0]);
    ::close(ready[1]);
    std::filesystem::remove_all("/run/corvane");
}

TEST_F(ScheduleLibraryTest, FoldersAreLookedAtByWhoCalls) {
    const ScratchFolder scratch;
    ::chmod(scratch.Path().c_str(), 0755);
    const std::string closed = scratch / "closed";
    const std::string within = closed + "/within";
    std::filesystem::create_directories(within);
    WriteFile(scratch / "file", "");
    ::chmod(closed.c_str(), 0700);
    EXPECT_EQ(CheckFolder("/"), 0U);
    EXPECT_EQ(CheckFolder("home"), 1021U);
    EXPECT_EQ(CheckFolder(""), 1021U);
    EXPECT_EQ(CheckFolder(scratch / "none"), 1022U);
    EXPECT_EQ(CheckFolder(scratch / "file/none"), 1022U);
    EXPECT_EQ(CheckFolder(scratch / "file"), 1023U);
    EXPECT_EQ(CheckFolder("/a;b"), 1102U);
    EXPECT_EQ(CheckFolder("/a\xFF"), 1102U);
    EXPECT_EQ(CheckFolder("/" + std::string(1023, 'a')), 1102U);
    EXPECT_EQ(CheckFolder("/" + std::string(300, 'a')), 1022U);
    EXPECT_EQ(CheckFolder(closed), 0U);
    EXPECT_EQ(AsUser(kDaemon,
                     [&] {
                         EXPECT_EQ(CheckFolder(closed), 1101U);
                         EXPECT_EQ(CheckFolder(within), 1101U);
                         EXPECT_EQ(CheckFolder("/"), 0U);
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
}

TEST_F(ScheduleLibraryTest, WithoutItsArgumentsNothingIsDone) {
    common::OwnedScheduleEntry entry;
    common::OwnedScheduleEntries entries;
    unsigned int error = 0;
    EXPECT_FALSE(Symbol<PFNVALIDATETASKNAME>(kValidateTaskName)(nullptr, 1, 0, &error));
    EXPECT_EQ(error, 1106U);
    EXPECT_FALSE(
        Symbol<PFNADDSCHEDULESCANTASK>(kAddScheduleScanTask)(kList.c_str(), nullptr, &error));
    EXPECT_FALSE(
        Symbol<PFNADDSCHEDULESCANTASK>(kAddScheduleScanTask)(nullptr, &entry.record, &error));
    EXPECT_FALSE(Symbol<PFNVALIDATEDIRECTORYPATH>(kValidateDirectoryPath)(nullptr, &error));
    EXPECT_FALSE(Symbol<PFNGETSCHEDULESCANTASKDETAILS>(kGetScheduleScanTaskDetails)(
        kList.c_str(), nullptr, 0, &error));
    EXPECT_FALSE(Symbol<PFNMODIFYSCHEDULESCANTASK>(kModifyScheduleScanTask)(kList.c_str(), nullptr,
                                                                            0, &error));
    EXPECT_FALSE(Symbol<PFNREADSCHEDULESCANTASKLIST>(kReadScheduleScanTaskList)(
        kList.c_str(), nullptr, 0, &error));
    EXPECT_FALSE(Symbol<PFNDELETESCHEDULESCANTASK>(kDeleteScheduleScanTask)(kList.c_str(), nullptr,
                                                                            0, &error));
    tagSCHEDULE_TASK_STATE state{};
    EXPECT_FALSE(Symbol<PFNGETSCHEDULETASKSTATE>(kGetScheduleTaskState)(kList.c_str(), nullptr, 0,
                                                                        &state, &error));
    EXPECT_FALSE(Symbol<PFNGETSCHEDULETASKSTATE>(kGetScheduleTaskState)(kList.c_str(), "a", 0,
                                                                        nullptr, &error));
    EXPECT_FALSE(
        Symbol<PFNGETSCHEDULETASKSTATE>(kGetScheduleTaskState)(nullptr, "a", 0, &state, &error));
    EXPECT_FALSE(
        Symbol<PFNRUNSCHEDULETASKNOW>(kRunScheduleTaskNow)(kList.c_str(), nullptr, 0, &error));
    EXPECT_FALSE(Symbol<PFNRUNSCHEDULETASKNOW>(kRunScheduleTaskNow)(nullptr, "a", 0, &error));
    EXPECT_EQ(error, 1106U);
    EXPECT_FALSE(Exists(kList));
    // The code is not asked for.
    EXPECT_TRUE(Symbol<PFNVALIDATEDIRECTORYPATH>(kValidateDirectoryPath)("/", nullptr));
    EXPECT_FALSE(Symbol<PFNVALIDATEDIRECTORYPATH>(kValidateDirectoryPath)("x", nullptr));
}

TEST_F(ScheduleLibraryTest, ItShowsItsTenEntryPointsOnly) {
    FILE* const names =
        ::popen("nm -D --defined-only " SCHDLSCN_LIBRARY " | sed 's/.* //' | sort", "r");
    ASSERT_NE(names, nullptr);
    std::string all;
    std::array<char, 256> line{};
    while (std::fgets(line.data(), line.size(), names) != nullptr) {
        all += line.data();
    }
    ::pclose(names);
    EXPECT_EQ(all,
              "AddScheduleScanTask\nDeleteScheduleReport\nDeleteScheduleScanTask\nGetScheduleScanTa"
              "skDetails\n"
              "GetScheduleTaskState\nModifyScheduleScanTask\nReadScheduleScanTaskList\n"
              "RunScheduleTaskNow\nValidateDirectoryPath\nValidateTaskName\n");
}

// What somebody says at the socket who is no library of ours.

std::string Reply(int socket) {
    std::string all;
    std::array<char, 4096> buffer{};
    for (ssize_t got = 0; (got = ::read(socket, buffer.data(), buffer.size())) > 0;) {
        all.append(buffer.data(), static_cast<std::size_t>(got));
    }
    return all;
}

TEST_F(ScheduleLibraryTest, GarbageEndsItsOwnConnectionOnly) {
    const SchedulerService service;
    for (const std::string& said :
         {std::string("x\n"), std::string(10'000, 'a'), std::string("list\nend\nlist\nend\n"),
          std::string("add\nname=a\nend\n"), std::string("get\nname=%00\nend\n")}) {
        const common::FileDescriptor socket = Connect();
        common::WriteAll(socket.Get(), said);
        EXPECT_EQ(Reply(socket.Get()), "") << said.substr(0, 20);
    }
    EXPECT_EQ(List(0), "");
}

TEST_F(ScheduleLibraryTest, HalfAMessageKeepsNobodyWaiting) {
    const SchedulerService service;
    const common::FileDescriptor half = Connect();
    common::WriteAll(half.Get(), std::string_view("add\nname=a\nfreq"));
    EXPECT_EQ(AsUser(kDaemon, [] { return List(kDaemon).empty() ? 0 : 1; }), 0);
    common::WriteAll(half.Get(), std::string_view("uency=x\n"));
    EXPECT_EQ(Reply(half.Get()), "");
}

TEST_F(ScheduleLibraryTest, AUserWhoFloodsKeepsOutNobodyElse) {
    const SchedulerService service;
    EXPECT_EQ(AsUser(kBin,
                     [] {
                         std::vector<common::FileDescriptor> kept;
                         kept.reserve(20);
                         for (int i = 0; i < 20; ++i) {
                             kept.push_back(Connect());
                         }
                         // Past the fourth they are turned away.
                         EXPECT_EQ(Reply(kept.back().Get()), "");
                         EXPECT_EQ(AsUser(kBin, [] { return List(kBin) == "1103" ? 0 : 1; }), 0);
                         return testing::Test::HasFailure() ? 1 : 0;
                     }),
              0);
    EXPECT_EQ(AsUser(kDaemon, [] { return List(kDaemon).empty() ? 0 : 1; }), 0);
    EXPECT_EQ(List(0), "");
}

}  // namespace
