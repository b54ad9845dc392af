#include "common/named_mutex.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string_view>
#include <sys/ipc.h>
#include <sys/msg.h>

#include "common/owners.h"
#include "common/text_field.h"

namespace {

constexpr std::chrono::seconds kBetweenAttempts{1};

// Where threads wait between two attempts, and how the end of the process wakes them.
struct WaitingRoom {
    std::mutex mutex;
    std::condition_variable ended;
    bool isEnded = false;
};

// Never destroyed: destroying a condition waits for its waiters, and a process that exits with a
// thread in here would hang.
union LastingWaitingRoom {
    LastingWaitingRoom() : room() {}
    ~LastingWaitingRoom() {}
    LastingWaitingRoom(const LastingWaitingRoom&) = delete;
    LastingWaitingRoom& operator=(const LastingWaitingRoom&) = delete;
    WaitingRoom room;
};

WaitingRoom& TheWaitingRoom() {
    static LastingWaitingRoom lasting;
    return lasting.room;
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
    Number number{};
    const char* end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || parsed != end) {
        return std::nullopt;
    }
    return number;
}

std::optional<key_t> KeyOfName(const char* name) {
    if (name == nullptr || std::string_view(name).size() >= sizeof(tagMUTEX_INFO::key)) {
        return std::nullopt;
    }
    const std::optional<key_t> key = ParseNumber<key_t>(name);
    return key && *key >= 1 ? key : std::nullopt;
}

// Sleeps until the next attempt is due. False when there is to be none. Not sleep(): a signal would
// shorten it, and the end of the process could not.
bool WaitForNextAttempt() {
    WaitingRoom& room = TheWaitingRoom();
    const auto due = std::chrono::steady_clock::now() + kBetweenAttempts;
    std::unique_lock lock(room.mutex);
    return !room.ended.wait_until(lock, due, [&room] { return room.isEnded; });
}

// Columns of "/proc/sysvipc/msg", which tells everybody of every queue.
constexpr std::size_t kQueueIdColumn = 1;
constexpr std::size_t kUserColumn = 7;
constexpr std::size_t kChangeTimeColumn = 13;
constexpr std::size_t kColumns = 14;

std::array<std::string_view, kColumns> SplitColumns(std::string_view line) {
    std::array<std::string_view, kColumns> columns;
    for (std::string_view& column : columns) {
        line.remove_prefix(std::min(line.find_first_not_of(" \n"), line.size()));
        column = line.substr(0, line.find_first_of(" \n"));
        line.remove_prefix(column.size());
    }
    return columns;
}

// The way to know a queue whose mode keeps its record from us.
std::optional<common::NamedMutexState> FindInQueueList(int queueId) {
    const common::FileStream list(std::fopen("/proc/sysvipc/msg", "re"));
    if (list == nullptr) {
        return std::nullopt;
    }
    char line[512];
    while (std::fgets(line, sizeof line, list.get()) != nullptr) {
        const auto columns = SplitColumns(line);
        if (ParseNumber<int>(columns[kQueueIdColumn]) != queueId) {
            continue;
        }
        const auto owner = ParseNumber<uid_t>(columns[kUserColumn]);
        const auto made = ParseNumber<std::time_t>(columns[kChangeTimeColumn]);
        if (owner && made) {
            return common::NamedMutexState{queueId, *owner, *made};
        }
    }
    return std::nullopt;
}

}  // namespace

int GetMutexOwnerShip(const char* key, tagMUTEX_INFO* mutex, int retries) {
    const std::optional<key_t> number = KeyOfName(key);
    if (!number || mutex == nullptr) {
        return 0;
    }
    for (int retriesLeft = retries;; --retriesLeft) {
        const int queueId = ::msgget(*number, IPC_CREAT | IPC_EXCL | 0600);
        if (queueId >= 0) {
            mutex->queueId = queueId;
            common::CopyToField(mutex->key, key);
            return 1;
        }
        if (errno != EEXIST || retriesLeft <= 0 || !WaitForNextAttempt()) {
            return 0;
        }
    }
}

int ReleaseMutexOwnerShip(tagMUTEX_INFO* mutex) {
    if (mutex == nullptr || ::msgctl(mutex->queueId, IPC_RMID, nullptr) != 0) {
        return 0;
    }
    mutex->queueId = -1;
    return 1;
}

void common::EndMutexWaits() {
    WaitingRoom& room = TheWaitingRoom();
    {
        const std::lock_guard lock(room.mutex);
        room.isEnded = true;
    }
    room.ended.notify_all();
}

std::optional<common::NamedMutexState> common::FindNamedMutex(const char* key) {
    const std::optional<key_t> number = KeyOfName(key);
    const int queueId = number ? ::msgget(*number, 0) : -1;
    if (queueId < 0) {
        return std::nullopt;
    }
    msqid_ds queue{};
    if (::msgctl(queueId, IPC_STAT, &queue) == 0) {
        return common::NamedMutexState{queueId, queue.msg_perm.uid, queue.msg_ctime};
    }
    return errno == EACCES ? FindInQueueList(queueId) : std::nullopt;
}

bool common::RemoveNamedMutex(const common::NamedMutexState& state) {
    msqid_ds queue{};
    if (::msgctl(state.queueId, IPC_STAT, &queue) != 0) {
        return false;
    }
    // Numbers of queues come round again, if only after many.
    if (queue.msg_ctime != state.made) {
        errno = EIDRM;
        return false;
    }
    return ::msgctl(state.queueId, IPC_RMID, nullptr) == 0;
}
