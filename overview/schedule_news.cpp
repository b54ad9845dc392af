#include "overview/schedule_news.h"

#include <chrono>
#include <unistd.h>

#include "common/schedule_entries.h"
#include "common/text_field.h"
#include "schedule/scheduler_library.h"

namespace {

// A service that answers slowly is not asked about every scan.
constexpr std::chrono::seconds kMostTime{2};

// What the entry points have in common, once they are there.
struct Asker {
    PFNREADSCHEDULESCANTASKLIST readList = nullptr;
    PFNGETSCHEDULETASKSTATE getState = nullptr;
    std::string list = ScheduleTaskList();
    unsigned int user = getuid();
};

void TakeState(ScheduleNews& news, const tagSCHEDULE_SCAN_ENTRY& task,
               const tagSCHEDULE_TASK_STATE& state) {
    news.serviceRuns = (state.flags & kScheduleServiceRuns) != 0;
    news.isRunning =
        news.isRunning || (state.flags & (kScheduleTaskRuns | kScheduleTaskWaits)) != 0;
    if (state.nextRun != 0 && (news.nextRun == 0 || state.nextRun < news.nextRun)) {
        news.nextRun = state.nextRun;
        news.next = common::FieldText(task.name);
    }
    if (state.lastEnd > news.lastEnd) {
        news.lastEnd = state.lastEnd;
        news.last = state;
    }
}

void AskAboutTasks(ScheduleNews& news, const Asker& asker) {
    common::OwnedScheduleEntries tasks;
    if (!asker.readList(asker.list.c_str(), &tasks.array, asker.user, &news.error)) {
        return;
    }
    const auto end = std::chrono::steady_clock::now() + kMostTime;
    for (const tagSCHEDULE_SCAN_ENTRY& task : common::EntriesOf(tasks.array)) {
        tagSCHEDULE_TASK_STATE state{};
        unsigned int error = kScheduleOk;  // of a task that has gone meanwhile, for example
        ++news.tasks;
        if (std::chrono::steady_clock::now() < end &&
            asker.getState(asker.list.c_str(), std::string(common::FieldText(task.name)).c_str(),
                           asker.user, &state, &error)) {
            TakeState(news, task, state);
        }
    }
}

}  // namespace

ScheduleNews AskScheduler() {
    ScheduleNews news;
    SchedulerLibrary library;
    if (!library.Load()) {
        return news;
    }
    Asker asker;
    asker.readList = library.Find<PFNREADSCHEDULESCANTASKLIST>(kReadScheduleScanTaskList);
    asker.getState = library.Find<PFNGETSCHEDULETASKSTATE>(kGetScheduleTaskState);
    if (asker.readList == nullptr || asker.getState == nullptr) {
        return news;
    }
    news.isTold = true;
    tagSCHEDULE_TASK_STATE service{};
    if (!asker.getState(asker.list.c_str(), "", asker.user, &service, &news.error)) {
        return news;
    }
    news.serviceRuns = (service.flags & kScheduleServiceRuns) != 0;
    AskAboutTasks(news, asker);
    return news;
}
