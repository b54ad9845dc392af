#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "product/schdlscn/task.h"

// What the library and the service say to each other: lines of plain ASCII, one request and one
// answer for a connection. What the writers never write the readers refuse. Any thread.
//
//     add                        list            error=0
//     name=Homes                 end             task
//     frequency=1                                name=Homes
//     ...                                        ...
//     owner=1000                                 folder=/home
//     folder=/home                               task
//     folder=/srv/%C3%A4                         ...
//     end                                        end
//
// How a task stands follows "state" in the same way.

namespace schdlscn {

struct Request {
    enum class Kind {
        kCheckName,
        kAdd,
        kModify,
        kGet,
        kDelete,
        kList,
        kState,
        kRun,
        kDeleteReport
    };

    Kind kind = Kind::kList;
    /// Of kAdd and kModify the task, of all others but kList only its name; kState may have none,
    /// and of kDeleteReport it is that of the report.
    Task task;
};

/// How a task stands, or without one the service alone.
struct TaskState {
    std::uint32_t flags = 0;   ///< ScheduleStateFlag bits
    std::int64_t nextRun = 0;  ///< seconds since 1970; 0 when it is not known or there is none
    LastRun last = {};

    friend bool operator==(const TaskState&, const TaskState&) = default;
};

struct Answer {
    ScheduleError error = kScheduleOk;
    std::vector<Task> tasks = {};
    std::optional<TaskState> state = {};  ///< of kState
};

/// More than any request has, in bytes.
inline constexpr std::size_t kMostBytesOfRequest = std::size_t{512} * 1024;

std::string RequestText(const Request& request);
std::string AnswerText(const Answer& answer);

enum class Reading {
    kMore,     ///< lines are missing
    kWhole,    ///< nothing may come after it
    kRefused,  ///< what came is none
};

/// Reads the lines of a task.
class TaskReader {
public:
    /// False for a line that is not the next one of a task.
    bool Take(std::string_view line);
    /// Whether it may end here.
    [[nodiscard]] bool IsWhole() const;
    [[nodiscard]] Task& Taken() { return m_task; }

private:
    Task m_task;
    std::size_t m_lines = 0;
};

/// Reads the lines of a state.
class StateReader {
public:
    /// False for a line that is not the next one of a state.
    bool Take(std::string_view line);
    [[nodiscard]] bool IsWhole() const;
    [[nodiscard]] TaskState& Taken() { return m_taken; }

private:
    TaskState m_taken;
    std::size_t m_lines = 0;
};

/// Reads a request. Give it lines without their newlines until it wants no more.
class RequestReader {
public:
    Reading Take(std::string_view line);
    [[nodiscard]] const Request& Taken() const { return m_request; }

private:
    Reading Begin(std::string_view line);
    Reading End();

    Reading m_state = Reading::kMore;
    bool m_hasKind = false;
    bool m_hasName = false;
    Request m_request;
    TaskReader m_task;
};

/// The same of an answer.
class AnswerReader {
public:
    Reading Take(std::string_view line);
    [[nodiscard]] const Answer& Taken() const { return m_answer; }

private:
    bool TakeError(std::string_view line);
    bool BeginTask();
    bool BeginState();
    bool FinishPart();

    Reading m_state = Reading::kMore;
    bool m_hasError = false;
    std::optional<TaskReader> m_task;
    std::optional<StateReader> m_stateOfTask;
    Answer m_answer;
};

}  // namespace schdlscn
