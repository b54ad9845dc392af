// "schdlscn.so": how programs plan scans. Who calls has no more rights for it: the service does
// what is asked, for whoever the system says is asking. Root can do it alone where no service runs.

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>

#include "abi/schdlscn.h"
#include "common/paths.h"
#include "common/schedule_entries.h"
#include "common/text_field.h"
#include "product/schdlscn/answering.h"
#include "product/schdlscn/ask_service.h"
#include "product/schdlscn/folder_check.h"

#define SCHDLSCN_EXPORT extern "C" __attribute__((visibility("default")))

namespace schdlscn {
namespace {

Answer Ask(const std::string& taskList, const Request& request) {
    if (auto answer = AskService(kServiceSocket, request, kPatience)) {
        return *std::move(answer);
    }
    if (::geteuid() != 0) {
        return {.error = kScheduleServiceSilent};
    }
    TaskList list(taskList);
    return AnswerRequest(list, request, 0, ReadMoment());
}

Request RequestFor(Request::Kind kind, const char* name) {
    Request request{.kind = kind, .task = {}};
    // No longer than what is already too long.
    request.task.name.assign(name, ::strnlen(name, kScheduleNameSize));
    return request;
}

/// The folders of the record are the caller's to free. When there is no memory for them, none.
tagSCHEDULE_SCAN_ENTRY RecordOf(const Task& task) {
    common::OwnedScheduleEntry entry;
    tagSCHEDULE_SCAN_ENTRY& record = entry.record;
    common::CopyToField(record.name, task.name);
    record.frequency = static_cast<std::uint8_t>(task.frequency);
    record.startMode = static_cast<std::uint8_t>(task.startMode);
    record.hour = static_cast<std::int16_t>(task.hour);
    record.minute = static_cast<std::int16_t>(task.minute);
    record.second = static_cast<std::int16_t>(task.second);
    record.repeats = static_cast<std::uint8_t>(task.repeats);
    record.interval = static_cast<std::int16_t>(task.interval);
    record.repeatValue = static_cast<std::int16_t>(task.repeatValue);
    record.repeatUnit = static_cast<std::uint8_t>(task.repeatUnit);
    record.weekday = static_cast<std::uint8_t>(task.weekday);
    record.action = static_cast<std::uint16_t>(task.action);
    record.options = static_cast<std::uint8_t>(task.options);
    record.userId = task.owner;
    for (const std::string& folder : task.folders) {
        common::AddFolder(record, folder);
    }
    const tagSCHEDULE_SCAN_ENTRY made = record;
    record.folders = {};
    return made;
}

ScheduleError Details(const std::string& taskList, tagSCHEDULE_SCAN_ENTRY& entry) {
    Request request{.kind = Request::Kind::kGet, .task = {}};
    request.task.name = common::FieldText(entry.name);
    const Answer answer = Ask(taskList, request);
    if (answer.error != kScheduleOk) {
        return answer.error;
    }
    if (answer.tasks.size() != 1) {
        return kScheduleServiceSilent;
    }
    entry = RecordOf(answer.tasks.front());
    return kScheduleOk;
}

ScheduleError List(const std::string& taskList, tagSCHEDULE_SCAN_ARRAY& tasks, uid_t user) {
    const Answer answer = Ask(taskList, {.kind = Request::Kind::kList, .task = {}});
    if (answer.error != kScheduleOk) {
        return answer.error;
    }
    common::OwnedScheduleEntries entries;
    for (const Task& task : answer.tasks) {
        if (user == 0 || task.owner == user) {
            common::OwnedScheduleEntry entry;
            entry.record = RecordOf(task);
            common::AddEntry(entries.array, entry.record);
            entry.record.folders = {};
        }
    }
    tasks = entries.array;
    entries.array = {};
    return kScheduleOk;
}

tagSCHEDULE_TASK_STATE RecordOf(const TaskState& state) {
    tagSCHEDULE_TASK_STATE record{};
    record.size = sizeof record;
    record.flags = state.flags;
    record.nextRun = state.nextRun;
    record.lastStart = state.last.start;
    record.lastEnd = state.last.end;
    record.lastResult = static_cast<std::uint32_t>(state.last.result);
    record.lastReason = static_cast<std::uint32_t>(state.last.reason);
    record.infected = static_cast<std::uint32_t>(state.last.infected);
    record.unread = static_cast<std::uint32_t>(state.last.unread);
    common::CopyToField(record.report, state.last.report);
    common::CopyToField(record.detail, state.last.detail);
    return record;
}

ScheduleError State(const std::string& taskList, const char* name, tagSCHEDULE_TASK_STATE& state) {
    const Answer answer = Ask(taskList, RequestFor(Request::Kind::kState, name));
    if (answer.error != kScheduleOk) {
        return answer.error;
    }
    if (!answer.state) {
        return kScheduleServiceSilent;
    }
    state = RecordOf(*answer.state);
    return kScheduleOk;
}

/// Nothing is thrown into the program. Memory is all that can be missing.
template <typename Work>
bool Finish(unsigned int* error, Work work) {
    ScheduleError code = kScheduleListUnusable;
    try {
        code = work();
    } catch (...) {
    }
    if (error != nullptr) {
        *error = code;
    }
    return code == kScheduleOk;
}

}  // namespace
}  // namespace schdlscn

using schdlscn::Request;

SCHDLSCN_EXPORT bool ValidateTaskName(const char* name, int /*reserved*/, unsigned int /*user*/,
                                      unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        if (name == nullptr) {
            return kScheduleBadRecord;
        }
        const Request request = schdlscn::RequestFor(Request::Kind::kCheckName, name);
        // What is wrong with any name is so without the service.
        const ScheduleError wrong = schdlscn::WrongInName(request.task.name);
        return wrong != kScheduleOk
                   ? wrong
                   : schdlscn::Ask(common::InProductDirectory(kScheduleTaskList), request).error;
    });
}

SCHDLSCN_EXPORT bool AddScheduleScanTask(const char* taskList, const tagSCHEDULE_SCAN_ENTRY* entry,
                                         unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return taskList == nullptr || entry == nullptr
                   ? kScheduleBadRecord
                   : schdlscn::Ask(taskList, {Request::Kind::kAdd, schdlscn::TaskOf(*entry)}).error;
    });
}

SCHDLSCN_EXPORT bool ValidateDirectoryPath(const char* path, unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return path == nullptr ? kScheduleBadRecord : schdlscn::WrongWithFolder(path);
    });
}

SCHDLSCN_EXPORT bool GetScheduleScanTaskDetails(const char* taskList, tagSCHEDULE_SCAN_ENTRY* entry,
                                                unsigned int /*user*/, unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return taskList == nullptr || entry == nullptr ? kScheduleBadRecord
                                                       : schdlscn::Details(taskList, *entry);
    });
}

SCHDLSCN_EXPORT bool ModifyScheduleScanTask(const char* taskList,
                                            const tagSCHEDULE_SCAN_ENTRY* entry,
                                            unsigned int /*user*/, unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return taskList == nullptr || entry == nullptr
                   ? kScheduleBadRecord
                   : schdlscn::Ask(taskList, {Request::Kind::kModify, schdlscn::TaskOf(*entry)})
                         .error;
    });
}

SCHDLSCN_EXPORT bool ReadScheduleScanTaskList(const char* taskList, tagSCHEDULE_SCAN_ARRAY* tasks,
                                              unsigned int user, unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return taskList == nullptr || tasks == nullptr ? kScheduleBadRecord
                                                       : schdlscn::List(taskList, *tasks, user);
    });
}

SCHDLSCN_EXPORT bool DeleteScheduleScanTask(const char* taskList, const char* name,
                                            unsigned int /*user*/, unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return taskList == nullptr || name == nullptr
                   ? kScheduleBadRecord
                   : schdlscn::Ask(taskList, schdlscn::RequestFor(Request::Kind::kDelete, name))
                         .error;
    });
}

SCHDLSCN_EXPORT bool GetScheduleTaskState(const char* taskList, const char* name,
                                          unsigned int /*user*/, tagSCHEDULE_TASK_STATE* state,
                                          unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return taskList == nullptr || name == nullptr || state == nullptr
                   ? kScheduleBadRecord
                   : schdlscn::State(taskList, name, *state);
    });
}

SCHDLSCN_EXPORT bool RunScheduleTaskNow(const char* taskList, const char* name,
                                        unsigned int /*user*/, unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return taskList == nullptr || name == nullptr
                   ? kScheduleBadRecord
                   : schdlscn::Ask(taskList, schdlscn::RequestFor(Request::Kind::kRun, name)).error;
    });
}

SCHDLSCN_EXPORT bool DeleteScheduleReport(const char* report, unsigned int /*user*/,
                                          unsigned int* error) {
    return schdlscn::Finish(error, [&] {
        return report == nullptr
                   ? kScheduleBadRecord
                   : schdlscn::Ask(common::InProductDirectory(kScheduleTaskList),
                                   schdlscn::RequestFor(Request::Kind::kDeleteReport, report))
                         .error;
    });
}
