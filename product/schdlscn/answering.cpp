#include "product/schdlscn/answering.h"

#include "common/users.h"

namespace schdlscn {

namespace {

ScheduleError Add(TaskList& list, const Task& task, uid_t user, const Moment& moment) {
    // The number of a user who is deleted is given to another one; the name tells them apart.
    const auto name = common::UserName(user);
    if (!name) {
        return kScheduleBadRecord;
    }
    return list.Add(task, {.user = user,
                           .name = *name,
                           .day = moment.Day().time_since_epoch().count(),
                           .settled = moment.AllSettled()});
}

ScheduleError Get(TaskList& list, const std::string& name, uid_t user, std::vector<Task>& tasks) {
    KeptTask kept;
    const ScheduleError error = list.Get(name, user, kept);
    if (error == kScheduleOk) {
        tasks.push_back(std::move(kept.task));
    }
    return error;
}

ScheduleError List(TaskList& list, uid_t user, std::vector<Task>& tasks) {
    std::vector<KeptTask> found;
    const ScheduleError error = list.List(user, found);
    for (KeptTask& kept : found) {
        tasks.push_back(std::move(kept.task));
    }
    return error;
}

/// Without a service nothing runs: what is noted as begun and not as ended was broken off.
ScheduleError State(TaskList& list, const std::string& name, uid_t user,
                    std::optional<TaskState>& state) {
    KeptTask kept;
    const ScheduleError error = name.empty() ? kScheduleOk : list.Get(name, user, kept);
    if (error == kScheduleOk) {
        state = TaskState{.last = std::move(kept.last)};
        if (state->last.start != 0 && state->last.end == 0) {
            state->last.result = kScheduleRunInterrupted;
            state->last.report.clear();  // the service puts it in order when it begins
        }
    }
    return error;
}

}  // namespace

Answer AnswerRequest(TaskList& list, const Request& request, uid_t user, const Moment& moment) {
    Answer answer;
    switch (request.kind) {
        case Request::Kind::kCheckName:
            answer.error = list.CheckName(request.task.name, user);
            break;
        case Request::Kind::kAdd:
            answer.error = Add(list, request.task, user, moment);
            break;
        case Request::Kind::kModify:
            answer.error = list.Modify(request.task, user, moment.AllSettled());
            break;
        case Request::Kind::kGet:
            answer.error = Get(list, request.task.name, user, answer.tasks);
            break;
        case Request::Kind::kDelete:
            answer.error = list.Delete(request.task.name, user);
            break;
        case Request::Kind::kList:
            answer.error = List(list, user, answer.tasks);
            break;
        case Request::Kind::kState:
            answer.error = State(list, request.task.name, user, answer.state);
            break;
        case Request::Kind::kRun:
        case Request::Kind::kDeleteReport:
            answer.error = kScheduleServiceSilent;
            break;
    }
    return answer;
}

}  // namespace schdlscn
