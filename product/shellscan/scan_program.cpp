#include "product/shellscan/scan_program.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <sys/eventfd.h>
#include <thread>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/log.h"
#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "product/shellscan/glob_filter.h"
#include "product/shellscan/json_writer.h"
#include "product/shellscan/notification.h"
#include "product/shellscan/progress_bar.h"
#include "product/shellscan/result_line.h"
#include "product/shellscan/say.h"
#include "product/shellscan/service_report.h"
#include "product/shellscan/session.h"
#include "product/shellscan/stop_signals.h"
#include "product/shellscan/text_writer.h"
#include "scan/run/descriptor_limit.h"

namespace shellscan {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kTick(100);  // of the progress bar
constexpr milliseconds kForEver(-1);
// A stop is answered within 200 ms: this long the scan may take to come to its end, and this long
// altogether.
constexpr milliseconds kStopPatience(100);
constexpr milliseconds kEndPatience(170);
// A file that is being changed is written down first.
constexpr milliseconds kReplyPatience(5000);

// Something that happens once on one thread and is waited for on another.
class Event {
public:
    Event() : m_fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

    void Set() { (void)::eventfd_write(m_fd.Get(), 1); }
    [[nodiscard]] int Descriptor() const { return m_fd.Get(); }

    /// Takes note of it. False when it has not happened.
    bool Take() {
        eventfd_t value = 0;
        m_happened = m_happened || ::eventfd_read(m_fd.Get(), &value) == 0;
        return m_happened;
    }

private:
    common::FileDescriptor m_fd;
    bool m_happened = false;
};

std::unique_ptr<RunWriter> StandardOutput(const Options& options) {
    if (options.isQuiet) {
        return nullptr;
    }
    if (options.format == Format::kJson) {
        return std::make_unique<JsonWriter>(STDOUT_FILENO);
    }
    return std::make_unique<TextWriter>(STDOUT_FILENO);
}

// Waits for `event` until `end`; signals make no difference any more.
bool WaitForEnd(Event& event, const StopSignals& signals, Clock::time_point end) {
    while (!event.Take() && Clock::now() < end) {
        (void)signals.WaitFor(event.Descriptor(),
                              std::chrono::ceil<milliseconds>(end - Clock::now()));
    }
    return event.Take();
}

int StatusOf(const Session& session) {
    if (!session.Problem().empty()) {
        return kExitFailed;
    }
    const RunSummary& summary = session.Summary();
    if (summary.infected != 0) {
        return kExitFound;
    }
    return summary.unread != 0 || summary.isInterrupted ? kExitUnread : kExitClean;
}

// One scan on a thread of its own, and the wait for it.
class Runner {
public:
    Runner(Session& session, const StopSignals& signals, bool showsProgress)
        : m_session(session), m_signals(signals), m_showsProgress(showsProgress) {}

    // False when the scan hangs and its thread goes on: the process is to end at once.
    bool Run(PathsToScan paths, const scan::PathFilter& filter) {
        std::thread scanning([this, &filter, taken = std::move(paths)]() mutable {
            m_session.Work(std::move(taken), filter);
            m_scanned.Set();
            m_session.EndEngine();
            m_ended.Set();
        });
        bool isStopped = false;
        while (!isStopped && !m_scanned.Take()) {
            isStopped =
                m_signals.WaitFor(m_scanned.Descriptor(), m_showsProgress ? kTick : kForEver) != 0;
            if (m_showsProgress) {
                m_session.DrawProgress();
            }
        }
        if (isStopped) {
            return Stop(scanning);
        }
        m_hasReport = m_session.Finish(kReplyPatience);
        scanning.join();
        return true;
    }

    [[nodiscard]] bool HasReport() const { return m_hasReport; }

private:
    bool Stop(std::thread& scanning) {
        const auto now = Clock::now();
        m_session.Stop();
        (void)WaitForEnd(m_scanned, m_signals, now + kStopPatience);
        m_hasReport = m_session.Finish(kReplyPatience);
        if (WaitForEnd(m_ended, m_signals, now + kEndPatience)) {
            scanning.join();
            return true;
        }
        scanning.detach();
        return false;
    }

    Session& m_session;
    const StopSignals& m_signals;
    const bool m_showsProgress;
    Event m_scanned;
    Event m_ended;
    bool m_hasReport = false;
};

int Fail(std::string_view problem) {
    Say(problem);
    return kExitFailed;
}

void SetUpState(const Options& options) {
    (void)::GetAppPath(g_szAppPath, sizeof g_szAppPath);
    common::CopyToField(g_szLogFile, common::kCommonLog);
    g_scnopts = options.settings;
    scan::RaiseDescriptorLimit();
}

}  // namespace

int ScanProgram(const Options& options) {
    const StopSignals signals;
    SetUpState(options);
    std::string problem;
    common::FileDescriptor result;
    std::unique_ptr<ServiceReport> report;
    if (options.resultDescriptor) {
        result = TakeResultDescriptor(*options.resultDescriptor, problem);
    }
    if (options.reportDescriptor && problem.empty()) {
        report = std::make_unique<ServiceReport>(
            TakeReportDescriptor(*options.reportDescriptor, problem), options.reportNote);
    }
    const GlobFilter filter(options.excluded);
    PathsToScan paths;
    if (!problem.empty() || !GatherPaths(options, filter, paths, problem)) {
        return Fail(problem);
    }
    const auto output = StandardOutput(options);
    Session session;
    for (RunWriter* const writer : {output.get(), static_cast<RunWriter*>(report.get())}) {
        if (writer != nullptr) {
            session.AddWriter(*writer);
        }
    }
    ProgressBar bar(STDERR_FILENO);
    const bool showsProgress = options.showsProgress && ::isatty(STDERR_FILENO) == 1;
    if (showsProgress) {
        session.SetProgressBar(bar);
    }
    session.SetTellsUnread(!options.isQuiet);

    const std::string subject = paths.paths.size() == 1 ? paths.paths.front() : "";
    Runner runner(session, signals, showsProgress);
    const bool isOver = runner.Run(std::move(paths), filter);
    int status = StatusOf(session);
    if (!session.Problem().empty()) {
        Say(session.Problem());
    } else if (!runner.HasReport()) {
        status = Fail("stopped before the scan began");
    }
    if (result && !WriteResult(result.Get(), session.Summary())) {
        status = Fail(std::string("the result could not be written: ") + std::strerror(errno));
    }
    // Who stopped it knows.
    if (options.notifies && (!session.Summary().isInterrupted || status == kExitFailed)) {
        notifying::ShowNotification(NotificationOf(session.Summary(), subject, session.Problem()));
    }
    if (!isOver) {
        ::_exit(status);  // a thread that hangs may still look at all that would go now
    }
    return status;
}

}  // namespace shellscan
