#include "product/schdlscn/wire.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "common/percent_text.h"

namespace schdlscn {

namespace {

constexpr std::string_view kEnd = "end";
constexpr std::string_view kTask = "task";
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
    Word{"check-name", Request::Kind::kCheckName}, Word{"add", Request::Kind::kAdd},
    Word{"modify", Request::Kind::kModify},        Word{"get", Request::Kind::kGet},
    Word{"delete", Request::Kind::kDelete},        Word{"list", Request::Kind::kList},
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

Reading AnswerReader::Take(std::string_view line) {
    if (m_state != Reading::kMore) {
        return m_state = Reading::kRefused;
    }
    if (!m_hasError) {
        unsigned int error = 0;
        m_hasError = TakeNumber(line, kError, error) && error <= kMostOfErrors;
        m_answer.error = static_cast<ScheduleError>(error);
        return m_state = m_hasError ? Reading::kMore : Reading::kRefused;
    }
    const bool isBoundary = line == kTask || line == kEnd;
    if (!isBoundary) {
        return m_state = m_task && m_task->Take(line) ? Reading::kMore : Reading::kRefused;
    }
    if (m_task) {
        if (!m_task->IsWhole()) {
            return m_state = Reading::kRefused;
        }
        m_answer.tasks.push_back(std::move(m_task->Taken()));
    }
    m_task.emplace();
    return m_state = line == kEnd ? Reading::kWhole : Reading::kMore;
}

}  // namespace schdlscn
