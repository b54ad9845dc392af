#include "product/schdlscn/wire.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "common/percent_text.h"

namespace schdlscn {

namespace {

constexpr std::string_view kEnd = "end";
constexpr std::string_view kTask = "task";
constexpr std::string_view kState = "state";
constexpr std::string_view kName = "name=";
constexpr std::string_view kOwner = "owner=";
constexpr std::string_view kFolder = "folder=";
constexpr std::string_view kError = "error=";
constexpr unsigned int kMostOfErrors = 9999;

struct Word {
    std::string_view text;
    Request::Kind kind;
};

constexpr std::array kWords{
    Word{"check-name", Request::Kind::kCheckName},
    Word{"add", Request::Kind::kAdd},
    Word{"modify", Request::Kind::kModify},
    Word{"get", Request::Kind::kGet},
    Word{"delete", Request::Kind::kDelete},
    Word{"list", Request::Kind::kList},
    Word{"state", Request::Kind::kState},
    Word{"run", Request::Kind::kRun},
    Word{"delete-report", Request::Kind::kDeleteReport},
};

struct NumberField {
    std::string_view key;
    int Task::*field;
};

/// In the order in which they are written, after the name.
constexpr std::array kNumbers{
    NumberField{"frequency=", &Task::frequency},
    NumberField{"start=", &Task::startMode},
    NumberField{"hour=", &Task::hour},
    NumberField{"minute=", &Task::minute},
    NumberField{"second=", &Task::second},
    NumberField{"repeats=", &Task::repeats},
    NumberField{"interval=", &Task::interval},
    NumberField{"repeat-value=", &Task::repeatValue},
    NumberField{"repeat-unit=", &Task::repeatUnit},
    NumberField{"weekday=", &Task::weekday},
    NumberField{"action=", &Task::action},
    NumberField{"options=", &Task::options},
};

// The name, the numbers, the owner.
constexpr std::size_t kLinesBeforeFolders = kNumbers.size() + 2;

bool HasTask(Request::Kind kind) {
    return kind == Request::Kind::kAdd || kind == Request::Kind::kModify;
}

void Append(std::string& text, std::string_view key, std::string_view value) {
    text.append(key).append(value).append("\n");
}

void AppendTask(std::string& text, const Task& task) {
    Append(text, kName, common::PercentEncoded(task.name));
    for (const auto& [key, field] : kNumbers) {
        Append(text, key, std::to_string(task.*field));
    }
    Append(text, kOwner, std::to_string(task.owner));
    for (const std::string& folder : task.folders) {
        Append(text, kFolder, common::PercentEncoded(folder));
    }
}

/// What stands behind the key, when the line has it.
std::optional<std::string_view> ValueOf(std::string_view line, std::string_view key) {
    return line.starts_with(key) ? std::optional(line.substr(key.size())) : std::nullopt;
}

bool TakeText(std::string_view line, std::string_view key, std::size_t most, std::string& text) {
    const auto value = ValueOf(line, key);
    auto decoded = value ? common::PercentDecoded(*value) : std::nullopt;
    if (!decoded || decoded->size() > most) {
        return false;
    }
    text = *std::move(decoded);
    return true;
}

/// A number as std::to_string() writes it.
template <typename Number>
bool TakeNumber(std::string_view line, std::string_view key, Number& number) {
    const auto value = ValueOf(line, key);
    if (!value) {
        return false;
    }
    const char* const end = value->data() + value->size();
    const auto [stop, error] = std::from_chars(value->data(), end, number);
    return error == std::errc() && stop == end && std::to_string(number) == *value;
}

constexpr std::string_view kFlags = "flags=";
constexpr std::string_view kNextRun = "next-run=";
constexpr std::string_view kLastStart = "last-start=";
constexpr std::string_view kLastEnd = "last-end=";
constexpr std::string_view kLastResult = "last-result=";
constexpr std::string_view kLastReason = "last-reason=";
constexpr std::string_view kInfected = "infected=";
constexpr std::string_view kUnread = "unread=";
constexpr std::string_view kReport = "report=";
constexpr std::string_view kDetail = "detail=";
constexpr std::size_t kLinesOfState = 10;
// What fits into the record of a state, less its terminator.
constexpr std::size_t kMostOfText = sizeof tagSCHEDULE_TASK_STATE::report - 1;
static_assert(sizeof tagSCHEDULE_TASK_STATE::detail == kMostOfText + 1);

void AppendState(std::string& text, const TaskState& state) {
    const LastRun& last = state.last;
    Append(text, kFlags, std::to_string(state.flags));
    Append(text, kNextRun, std::to_string(state.nextRun));
    Append(text, kLastStart, std::to_string(last.start));
    Append(text, kLastEnd, std::to_string(last.end));
    Append(text, kLastResult, std::to_string(last.result));
    Append(text, kLastReason, std::to_string(last.reason));
    Append(text, kInfected, std::to_string(last.infected));
    Append(text, kUnread, std::to_string(last.unread));
    Append(text, kReport, common::PercentEncoded(last.report.substr(0, kMostOfText)));
    Append(text, kDetail, common::PercentEncoded(last.detail.substr(0, kMostOfText)));
}

/// One line of a state, by its place.
bool TakeOfState(std::size_t place, std::string_view line, TaskState& state) {
    LastRun& last = state.last;
    switch (place) {
        case 0:
            return TakeNumber(line, kFlags, state.flags);
        case 1:
            return TakeNumber(line, kNextRun, state.nextRun);
        case 2:
            return TakeNumber(line, kLastStart, last.start);
        case 3:
            return TakeNumber(line, kLastEnd, last.end);
        case 4:
            return TakeNumber(line, kLastResult, last.result);
        case 5:
            return TakeNumber(line, kLastReason, last.reason);
        case 6:
            return TakeNumber(line, kInfected, last.infected);
        case 7:
            return TakeNumber(line, kUnread, last.unread);
        case 8:
            return TakeText(line, kReport, kMostOfText, last.report);
        case 9:
            return TakeText(line, kDetail, kMostOfText, last.detail);
        default:
            return false;
    }
}

}  // namespace

std::string RequestText(const Request& request) {
    std::string text;
    const auto* const word = std::find_if(
        kWords.begin(), kWords.end(), [&](const Word& each) { return each.kind == request.kind; });
    Append(text, word->text, "");
    if (HasTask(request.kind)) {
        AppendTask(text, request.task);
    } else if (request.kind != Request::Kind::kList) {
        Append(text, kName, common::PercentEncoded(request.task.name));
    }
    Append(text, kEnd, "");
    return text;
}

std::string AnswerText(const Answer& answer) {
    std::string text;
    Append(text, kError, std::to_string(answer.error));
    for (const Task& task : answer.tasks) {
        Append(text, kTask, "");
        AppendTask(text, task);
    }
    if (answer.state) {
        Append(text, kState, "");
        AppendState(text, *answer.state);
    }
    Append(text, kEnd, "");
    return text;
}

// A name and a path may be one byte longer than they can be kept, so that what is wrong with them
// has its own code.
bool TaskReader::Take(std::string_view line) {
    const std::size_t number = m_lines++;
    if (number == 0) {
        return TakeText(line, kName, kScheduleNameSize, m_task.name);
    }
    if (number <= kNumbers.size()) {
        const auto& [key, field] = kNumbers[number - 1];
        return TakeNumber(line, key, m_task.*field);
    }
    if (number < kLinesBeforeFolders) {
        return TakeNumber(line, kOwner, m_task.owner);
    }
    std::string folder;
    if (m_task.folders.size() > kMaxScheduleFolders ||
        !TakeText(line, kFolder, kScheduleFolderSize, folder)) {
        return false;
    }
    m_task.folders.push_back(std::move(folder));
    return true;
}

bool TaskReader::IsWhole() const {
    return m_lines >= kLinesBeforeFolders;
}

bool StateReader::Take(std::string_view line) {
    return TakeOfState(m_lines++, line, m_taken);
}

bool StateReader::IsWhole() const {
    return m_lines == kLinesOfState;
}

Reading RequestReader::Begin(std::string_view line) {
    const auto* const word = std::find_if(kWords.begin(), kWords.end(),
                                          [&](const Word& each) { return each.text == line; });
    if (word == kWords.end()) {
        return Reading::kRefused;
    }
    m_hasKind = true;
    m_request.kind = word->kind;
    return Reading::kMore;
}

Reading RequestReader::End() {
    if (HasTask(m_request.kind)) {
        m_request.task = m_task.Taken();
        return m_task.IsWhole() ? Reading::kWhole : Reading::kRefused;
    }
    const bool wantsName = m_request.kind != Request::Kind::kList;
    return m_hasName == wantsName ? Reading::kWhole : Reading::kRefused;
}

Reading RequestReader::Take(std::string_view line) {
    if (m_state != Reading::kMore) {
        m_state = Reading::kRefused;
    } else if (!m_hasKind) {
        m_state = Begin(line);
    } else if (line == kEnd) {
        m_state = End();
    } else if (HasTask(m_request.kind)) {
        m_state = m_task.Take(line) ? Reading::kMore : Reading::kRefused;
    } else {
        const bool isTaken =
            !m_hasName && TakeText(line, kName, kScheduleNameSize, m_request.task.name);
        m_hasName = true;
        m_state = isTaken ? Reading::kMore : Reading::kRefused;
    }
    return m_state;
}

bool AnswerReader::TakeError(std::string_view line) {
    unsigned int error = 0;
    m_hasError = TakeNumber(line, kError, error) && error <= kMostOfErrors;
    m_answer.error = static_cast<ScheduleError>(error);
    return m_hasError;
}

/// What came before is whole, or nothing did.
bool AnswerReader::FinishPart() {
    if (m_stateOfTask) {
        m_answer.state = std::move(m_stateOfTask->Taken());
        return m_stateOfTask->IsWhole();
    }
    if (!m_task) {
        return true;
    }
    m_answer.tasks.push_back(std::move(m_task->Taken()));
    return m_task->IsWhole();
}

bool AnswerReader::BeginTask() {
    const bool isRight = !m_stateOfTask && FinishPart();
    m_task.emplace();
    return isRight;
}

/// There is one at most, and no task beside it.
bool AnswerReader::BeginState() {
    const bool isRight = !m_task && !m_stateOfTask;
    m_stateOfTask.emplace();
    return isRight;
}

Reading AnswerReader::Take(std::string_view line) {
    bool isRight = m_state == Reading::kMore;
    const bool isEnd = m_hasError && line == kEnd;
    if (!isRight) {
        // Nothing may come behind the end.
    } else if (!m_hasError) {
        isRight = TakeError(line);
    } else if (isEnd) {
        isRight = FinishPart();
    } else if (line == kTask) {
        isRight = BeginTask();
    } else if (line == kState) {
        isRight = BeginState();
    } else if (m_stateOfTask) {
        isRight = m_stateOfTask->Take(line);
    } else {
        isRight = m_task && m_task->Take(line);
    }
    const Reading read = isEnd ? Reading::kWhole : Reading::kMore;
    return m_state = isRight ? read : Reading::kRefused;
}

}  // namespace schdlscn
