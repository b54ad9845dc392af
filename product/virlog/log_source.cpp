#include "product/virlog/log_source.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <iterator>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/named_mutex.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "common/wide_string.h"
#include "product/virlog/failure_reason.h"
#include "product/virlog/held_locks.h"
#include "product/virlog/held_signals.h"
#include "product/virlog/output.h"
#include "reports/virus_log/log_files.h"
#include "reports/virus_log/readers_copy.h"
#include "reports/virus_log/virus_log.h"

namespace {

using Clock = std::chrono::steady_clock;

// Two of us at once would write and remove the very same copy, so one waits for the other. The
// folder itself is what is locked: nothing stays behind when we are killed. Who may read it can
// lock it too, so it need not be one of us who does.
bool LockOutOtherReaders(int folder, const std::string& path, std::string& problem) {
    constexpr std::chrono::seconds kNotice{1};
    constexpr std::chrono::seconds kLimit{30};
    constexpr std::chrono::milliseconds kBetweenAttempts{20};
    const Clock::time_point start = Clock::now();
    bool hasSaid = false;
    while (::flock(folder, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            problem = std::string("the reports cannot be locked: ") + std::strerror(errno);
            return false;
        }
        const auto waited = Clock::now() - start;
        if (waited > kLimit) {
            problem =
                "another process has kept " + path + " locked for half a minute; try again later";
            return false;
        }
        if (!hasSaid && waited > kNotice) {
            Say("waiting for another process that keeps " + path + " locked");
            hasSaid = true;
        }
        std::this_thread::sleep_for(kBetweenAttempts);
    }
    return true;
}

// Whether records may have been added: the file exists and is not empty, as it is after
// installation. What is no plain file has no size that tells anything.
bool IsAnythingIn(const char* name) {
    struct stat status {};
    return ::lstat(virus_log::VirusLogPath(name).c_str(), &status) == 0
               ? !S_ISREG(status.st_mode) || status.st_size > 0
               : errno != ENOENT;
}

// A copy of our own that a killed reader has left is written over, unless the file has other names:
// those must not change with it.
bool IsFitToBeWrittenOver(const struct stat& status) {
    return S_ISREG(status.st_mode) && status.st_uid == ::geteuid() && status.st_nlink == 1;
}

// Why what lies at `path` could not be removed, which is in `error`.
std::string InTheWay(const std::string& path, const struct stat& status, int error) {
    if (S_ISDIR(status.st_mode)) {
        return "no copy of the virus log can be made: " + path + " is a directory";
    }
    const std::string start = "an earlier copy of the virus log is in the way: " + path;
    // What a sticky folder answers to all but the owner of the file, the folder's own and root.
    if (error == EPERM && ::geteuid() != 0) {
        return start + " belongs to " + OwnerName(status.st_uid) + ", who can remove it" +
               (status.st_uid == 0 ? "" : ", as root can");
    }
    return start + " cannot be removed: " + std::strerror(error);
}

// Another user's copy is not written over: he could still change it while we read it. Root removes
// it; in a sticky folder nobody else can.
bool ClearOldCopies(std::string& problem) {
    for (const char* name : {"cpyONE.dat", "cpyOFFST.dat"}) {
        const std::string path = virus_log::VirusLogPath(name);
        struct stat status {};
        if (::lstat(path.c_str(), &status) != 0 || IsFitToBeWrittenOver(status)) {
            continue;
        }
        if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
            problem = InTheWay(path, status, errno);
            return false;
        }
    }
    return true;
}

// What a reader gets of the log. The path is empty where no copy was made because there is no main
// file.
struct Fetched {
    std::string copy;
    virus_log::WaitingRecords waiting;
};

// False when there could be no copy made, or the log was locked all the time.
bool MakeCopy(HeldSignals& signals, Fetched& fetched) {
    // Only what was held already is waited for; what appears later may be in our own hands.
    const std::vector<HeldLock> before = FindHeldLocks();
    const auto tellOfWait = [&before] { TellOfHeldLock(before); };
    if (!IsAnythingIn(virus_log::kRecordFile)) {
        return signals.Run([&fetched] { return virus_log::GetWaitingRecords(fetched.waiting); },
                           tellOfWait, common::EndMutexWaits);
    }
    std::array<unsigned short, virus_log::kVirusReportPathSize> units{};
    if (!signals.Run([&] { return virus_log::GetVirusReportFile(units.data(), fetched.waiting); },
                     tellOfWait, common::EndMutexWaits)) {
        return false;
    }
    std::array<char, virus_log::kVirusReportPathSize> path{};
    CopyWSZToSZ(path.data(), units.data());
    fetched.copy = path.data();
    return true;
}

// Removes the copy, also when memory was too short to read it: in everybody's folder the next user
// could not write over it.
class CopyRemover {
public:
    explicit CopyRemover(const std::string& copy) : m_copy(copy) {}
    ~CopyRemover() {
        if (::unlink(m_copy.c_str()) != 0 && errno != ENOENT) {
            std::fprintf(stderr,
                         "corvane-virlog: the copy of the virus log could not be removed: %s: %s\n",
                         m_copy.c_str(), std::strerror(errno));
        }
    }
    CopyRemover(const CopyRemover&) = delete;
    CopyRemover& operator=(const CopyRemover&) = delete;

private:
    const std::string& m_copy;
};

bool ReadCopy(const std::string& copy, virus_log::VirusLogContents& contents,
              std::string& problem) {
    const CopyRemover remover(copy);
    const virus_log::ReadLogResult result = virus_log::ReadVirusLogCopy(copy.c_str(), contents);
    const int error = errno;
    switch (result) {
        case virus_log::ReadLogResult::kOk:
            return true;
        case virus_log::ReadLogResult::kCannotOpen:
            problem =
                "the copy of the virus log cannot be read: " + copy + ": " + std::strerror(error);
            return false;
        case virus_log::ReadLogResult::kNotALog:
            break;
    }
    problem = "the virus log is damaged: the head of " +
              virus_log::VirusLogPath(virus_log::kRecordFile) + " does not fit the file";
    return false;
}

// Appends the records that wait to those of the main file.
void AppendWaiting(const virus_log::WaitingRecords& waiting,
                   virus_log::VirusLogContents& contents) {
    const std::string path = virus_log::VirusLogPath(virus_log::kSecondRecordFile);
    if (waiting.error != 0) {
        Say("the records that wait in " + path +
            " are not listed: " + std::strerror(waiting.error));
        return;
    }
    if (waiting.size == 0) {
        return;
    }
    virus_log::VirusLogContents more;
    if (virus_log::ReadRecordFile(waiting.file.Get(), waiting.size, more) !=
        virus_log::ReadLogResult::kOk) {
        Say("the virus log is damaged: " + path + " is shorter than its head");
        return;
    }
    contents.entries.insert(contents.entries.end(), std::make_move_iterator(more.entries.begin()),
                            std::make_move_iterator(more.entries.end()));
    contents.damagedBytes += more.damagedBytes;
    contents.missing += more.missing;
}

}  // namespace

bool FindProduct(std::string& problem) {
    if (GetZqPath(g_szAppPath, sizeof g_szAppPath) != 0) {
        return true;
    }
    problem = std::string("there is no product directory: ") + kProductDirectory;
    return false;
}

bool IsAnythingLogged() {
    return IsAnythingIn(virus_log::kRecordFile) || IsAnythingIn(virus_log::kSecondRecordFile);
}

FetchResult FetchLog(virus_log::VirusLogContents& contents, std::string& problem) {
    contents = {};
    if (!FindProduct(problem)) {
        return FetchResult::kFailed;
    }
    const std::string folderPath = virus_log::VirusLogPath("");
    const common::FileDescriptor folder(
        ::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        if (errno == ENOENT) {
            return FetchResult::kNothingLogged;
        }
        problem = "the reports cannot be read: " + folderPath + ": " + std::strerror(errno);
        return FetchResult::kFailed;
    }
    if (!IsAnythingLogged()) {
        return FetchResult::kNothingLogged;
    }
    if (!LockOutOtherReaders(folder.Get(), folderPath, problem) || !ClearOldCopies(problem)) {
        return FetchResult::kFailed;
    }
    const Clock::time_point start = Clock::now();
    Fetched fetched;
    bool isRead = false;
    {
        HeldSignals signals;
        if (!MakeCopy(signals, fetched)) {
            problem = ReasonOfFailure(Clock::now() - start);
            return FetchResult::kFailed;
        }
        isRead = fetched.copy.empty() || ReadCopy(fetched.copy, contents, problem);
    }
    if (!isRead) {
        return FetchResult::kFailed;
    }
    AppendWaiting(fetched.waiting, contents);
    return FetchResult::kOk;
}
