#include "product/schdlscn/scan_launcher.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include "common/escaped_text.h"
#include "common/io.h"
#include "product/schdlscn/new_report.h"
#include "product/schdlscn/notice.h"
#include "product/schdlscn/owned_process.h"
#include "product/schdlscn/result_line.h"

namespace schdlscn {

namespace {

constexpr std::size_t kMostSaid = 4096;
constexpr std::size_t kMostDetail = 255;
// Milliseconds. Two of them are less than what a script that stops the service waits for.
constexpr int kTimeToEnd = 700;
constexpr char kMissedNote[] =
    "This scan was due earlier, while it could not run, and is made up for.";

/// Exit statuses of the scanner.
enum ScannerStatus { kClean = 0, kFound = 1, kUnread = 2 };

/// A run that could not begin.
class FailedRun : public Run {
public:
    explicit FailedRun(Outcome outcome) : m_outcome(std::move(outcome)) {}
    [[nodiscard]] int Descriptor() const override { return -1; }
    std::optional<Outcome> Ended() override { return m_outcome; }
    void Stop() override {}
    Outcome EndNow() override { return m_outcome; }

private:
    Outcome m_outcome;
};

std::unique_ptr<Run> Failed(ScheduleResult result, const std::string& detail) {
    ::syslog(LOG_WARNING, "a scan cannot run: %s", common::Escaped(detail).c_str());
    return std::make_unique<FailedRun>(Outcome{.result = result, .detail = detail});
}

struct Pipe {
    common::FileDescriptor read;
    common::FileDescriptor write;
};

/// Neither end waits: who says too much is not listened to.
Pipe MakePipe() {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return {};
    }
    return {common::FileDescriptor(ends[0]), common::FileDescriptor(ends[1])};
}

std::string ReadSaid(const common::FileDescriptor& pipe) {
    std::string said(kMostSaid, '\0');
    const std::ptrdiff_t size =
        common::ReadFull(pipe.Get(), std::as_writable_bytes(std::span(said)));
    said.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return said;
}

/// The first line, fit to be shown.
std::string DetailOf(const std::string& said) {
    std::string detail = common::Escaped(said.substr(0, said.find('\n')));
    detail.resize(std::min(detail.size(), kMostDetail));
    return detail;
}

class ScanRun : public Run {
public:
    ScanRun(const Task& task, ReportFile report) : m_task(task), m_report(std::move(report)) {}

    /// Whether it has begun; the reason is in errno.
    bool Begin(const Owner& owner, std::vector<std::string> words, common::FileDescriptor file) {
        m_file = std::move(file);
        Pipe result = MakePipe();
        Pipe errors = MakePipe();
        if (!result.read || !errors.read) {
            return false;
        }
        m_result = std::move(result.read);
        m_errors = std::move(errors.read);
        return m_process.Start(owner, std::move(words),
                               {m_file.Get(), result.write.Get(), errors.write.Get()});
    }

    [[nodiscard]] int Descriptor() const override { return m_process.Descriptor(); }

    std::optional<Outcome> Ended() override {
        const auto status = m_process.Ended();
        return status ? std::optional(OutcomeOf(*status)) : std::nullopt;
    }

    void Stop() override {
        m_process.Signal(m_isStopped ? SIGKILL : SIGTERM);
        m_isStopped = true;
    }

    Outcome EndNow() override {
        m_process.Signal(SIGTERM);
        if (!WaitForEnd(kTimeToEnd)) {
            m_process.Signal(SIGKILL);
            (void)WaitForEnd(-1);
        }
        return Ended().value_or(Outcome{});
    }

private:
    [[nodiscard]] bool WaitForEnd(int milliseconds) const {
        pollfd watched{m_process.Descriptor(), POLLIN, 0};
        return ::poll(&watched, 1, milliseconds) > 0;
    }

    Outcome OutcomeOf(int status) {
        Outcome outcome = ResultOf(status);
        if (KeepReport(m_report, m_file, m_task)) {
            outcome.report = m_report.name;
        }
        return outcome;
    }

    Outcome ResultOf(int status) {
        Outcome outcome{.result = kScheduleRunInterrupted};
        const auto said = ReadResult(ReadSaid(m_result));
        if (said) {
            outcome.infected = said->infected;
            outcome.unread = said->unread;
        }
        if (!WIFEXITED(status)) {
            outcome.detail = std::string("the scanner was ended: ") + ::strsignal(WTERMSIG(status));
        } else if (WEXITSTATUS(status) > kUnread) {
            outcome.result = kScheduleRunNotStarted;
            outcome.detail = DetailOf(ReadSaid(m_errors));
        } else if (!said) {
            outcome.detail = "the scanner did not say how it ended";
        } else if (!said->isStopped) {
            constexpr std::array kResults{kScheduleRunClean, kScheduleRunFound, kScheduleRunUnread};
            outcome.result = kResults.at(static_cast<std::size_t>(WEXITSTATUS(status)));
        }
        return outcome;
    }

    Task m_task;
    ReportFile m_report;
    common::FileDescriptor m_file;
    common::FileDescriptor m_result;
    common::FileDescriptor m_errors;
    OwnedProcess m_process;
    bool m_isStopped = false;
};

const char* ActionOf(const Task& task) {
    constexpr std::array kActions{"repair", "repair-or-delete", "delete", "report"};
    return kActions.at(static_cast<std::size_t>(task.action));
}

}  // namespace

std::vector<std::string> ScannerWords(const std::string& program, const Task& task,
                                      ScheduleReason reason) {
    std::vector<std::string> words{program, "--report-descriptor=3", "--result-descriptor=4",
                                   "--quiet", std::string("--action=") + ActionOf(task)};
    const auto isOn = [&](int option) { return (task.options & option) != 0; };
    if (!isOn(kScheduleArchives)) {
        words.emplace_back("--no-archives");
    }
    if (!isOn(kSchedulePacked)) {
        words.emplace_back("--no-packed");
    }
    if (!isOn(kScheduleAdware)) {
        words.emplace_back("--no-adware");
    }
    if (isOn(kScheduleDumb)) {
        words.emplace_back("--dumb");
    }
    if (reason == kScheduleReasonMissed) {
        words.emplace_back(std::string("--report-note=") + kMissedNote);
    }
    words.emplace_back("--");
    words.insert(words.end(), task.folders.begin(), task.folders.end());
    return words;
}

common::FileDescriptor ScanLauncher::OpenFolder() const {
    return common::FileDescriptor(
        ::open(m_reports.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::string ScanLauncher::NameReport() {
    const common::FileDescriptor folder = OpenFolder();
    return folder ? FreeReportName(folder.Get()) : std::string();
}

std::unique_ptr<Run> ScanLauncher::Start(const KeptTask& kept, ScheduleReason reason,
                                         const std::string& report) {
    const auto owner = OwnerOf(kept.task.owner, kept.ownerName);
    if (!owner) {
        return Failed(kScheduleRunNoOwner, "the user " + kept.ownerName + " is not there any more");
    }
    const common::FileDescriptor folder = OpenFolder();
    common::FileDescriptor file;
    if (folder && report.empty()) {
        errno = EEXIST;
    } else if (folder) {
        file = MakeReport(folder.Get(), owner->uid, owner->gid, report);
    }
    if (!file) {
        return Failed(kScheduleRunNoReport,
                      std::string("no report can be made: ") + std::strerror(errno));
    }
    auto run = std::make_unique<ScanRun>(kept.task, ReportFile{m_reports, report});
    if (!run->Begin(*owner, ScannerWords(m_program, kept.task, reason), std::move(file))) {
        const int error = errno;
        (void)RemoveReport(folder.Get(), owner->uid, report);
        return Failed(kScheduleRunNotStarted, std::strerror(error));
    }
    return run;
}

std::string ScanLauncher::Recover(const KeptTask& kept) {
    const std::string& name = kept.last.report;
    return !name.empty() && KeepLeftReport({m_reports, name}, kept.task) ? name : std::string();
}

std::unique_ptr<Notice> ScanLauncher::Tell(const KeptTask& task, const LastRun& last) {
    const auto notification = NoticeOf(task.task, last);
    return notification ? ShowNotice(m_notifier, task, *notification) : nullptr;
}

}  // namespace schdlscn
