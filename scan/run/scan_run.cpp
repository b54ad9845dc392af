#include "scan/run/scan_run.h"

#include <span>
#include <sys/stat.h>

#include "common/exception_log.h"
#include "reports/files/scan_report_text.h"
#include "scan/run/directory_walker.h"
#include "scan/run/file_count.h"
#include "scan/run/message_rules.h"
#include "scan/run/scan_engine.h"
#include "scan/run/step_record.h"
#include "scan/run/walk_scout.h"

namespace scan {

namespace {

class ScanningVisitor : public WalkVisitor {
public:
    ScanningVisitor(ScanRun& run, WalkScout& scout) : m_run(run), m_scout(scout) {}

    void OnListedFile(const char* path) {
        m_scout.BeforeListedFile(path);
        m_run.ScanFile(path);
    }

    bool GoOn(const char* directory) override {
        if (!m_run.Stop().IsSet()) {
            return true;
        }
        m_scout.Forget();
        m_run.Ask({kEvtConfirmStop, directory});
        if (m_run.Stop().IsSet()) {
            m_run.State().stopCount = true;
            return false;
        }
        return true;
    }
    void OnFile(const TreeCursor& cursor) override {
        m_scout.BeforeFile(cursor);
        m_run.ScanFile(cursor.Path());
    }
    void OnUnread(const TreeCursor& cursor) override {
        m_run.TellPassedOver(cursor.Path(), cursor.Error());
    }

private:
    ScanRun& m_run;
    WalkScout& m_scout;
};

void WriteTime(std::span<char> field, const char* format, std::time_t time) {
    std::tm local{};
    localtime_r(&time, &local);
    if (std::strftime(field.data(), field.size(), format, &local) == 0) {
        field[0] = '\0';
    }
}

bool IsDirectoryBehindLinks(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

ScanRun::ScanRun(ScanListener& listener, ScanEngine& engine)
    : m_listener(listener), m_engine(engine) {}

ScanRun::~ScanRun() {
    if (m_state.askedAbout == &m_asked) {
        m_state.askedAbout = nullptr;
    }
}

void ScanRun::ForgetDetections() {
    common::ResetDetectionCounters();
}

void ScanRun::ForgetTotal() {
    m_state.total = 0;
}

void ScanRun::Begin() {
    m_isScanning = true;
    m_state.stopCount = false;
    m_state.answer = {};
    m_unread.Clear();
    common::ResetRunCounters();
    m_start = std::time(nullptr);
    WriteTime(m_state.startTime, reports::kStartTimeFormat, m_start);
    if (m_state.report != nullptr) {
        m_state.report->WriteHeader();
    }
}

void ScanRun::Scan(CountingThread& counting) {
    const std::vector<const char*> tops = Tops();
    if (!m_mixedPaths.empty() || (!tops.empty() && IsDirectoryBehindLinks(tops.front()))) {
        counting.Start();
        ScanPaths(tops);
    } else if (m_paths != nullptr) {
        // A single file, which is how the main window passes one: what follows it is not scanned.
        m_state.total = kUnknownTotal;
        Tell({kEvtPathStarted, m_paths->path});
        ScanFile(m_paths->path);
        Tell({kEvtPathDone});
    }
    NoteEnd();
    counting.Join();
    m_isScanning = false;
    Tell({kEvtFillBar});
    Tell({kEvtScanFinished, "abc"});  // a filler that no one reads
}

std::vector<const char*> ScanRun::Tops() const {
    std::vector<const char*> tops;
    for (const std::string& path : m_mixedPaths) {
        tops.push_back(path.c_str());
    }
    for (const tagPathList* node = m_paths; node != nullptr && m_mixedPaths.empty();
         node = node->next) {
        tops.push_back(node->path);
    }
    return tops;
}

bool ScanRun::IsFile(const char* top) const {
    return !m_mixedPaths.empty() && !IsDirectoryBehindLinks(top);
}

void ScanRun::ScanPaths(std::span<const char* const> tops) {
    WalkScout scout(m_engine, m_stop, m_filter);
    while (!tops.empty()) {
        const char* const top = tops.front();
        tops = tops.subspan(1);
        Tell({kEvtPathStarted, top});
        scout.SetPathsBehind(tops, !m_mixedPaths.empty());
        const std::uint32_t result = ScanTop(top, scout);
        Tell({kEvtPathDone, top});
        if (result == kWalkStopped) {
            break;
        }
    }
}

std::uint32_t ScanRun::ScanTop(const char* top, WalkScout& scout) {
    if (!IsFile(top)) {
        return ScanDirectory(top, scout);  // which asks about a stop for itself
    }
    ScanningVisitor visitor(*this, scout);
    if (!visitor.GoOn(top)) {
        return kWalkStopped;
    }
    visitor.OnListedFile(top);
    return visitor.GoOn(top) ? kWalkDone : kWalkStopped;
}

void ScanRun::NoteEnd() {
    const std::time_t end = std::time(nullptr);
    WriteTime(m_state.endTime, reports::kEndTimeFormat, end);
    m_state.seconds = std::difftime(end, m_start);
}

std::uint32_t ScanRun::ScanDirectory(const char* directory) {
    WalkScout scout(m_engine, m_stop);
    return ScanDirectory(directory, scout);
}

std::uint32_t ScanRun::ScanDirectory(const char* directory, WalkScout& scout) {
    ScanningVisitor visitor(*this, scout);
    DirectoryWalker walker(visitor, m_filter);
    const WalkResult result = walker.Walk(directory);
    if (result == kWalkUnreadable) {
        TellPassedOver(directory, walker.Error());
    }
    return result;
}

void ScanRun::ScanFile(const char* path) {
    Tell({kEvtAdvance});
    Tell({kEvtScanningFile, path});
    if (!m_engine.ScanFile(path)) {
        return;
    }
    if (m_state.detectionKinds == common::kLabDetectionKinds) {
        m_engine.Options().extraFlags |= kLabScanFlag;
        m_engine.SendOptions();
    }
}

EngineReply ScanRun::Reply(const tagZQFILEINFO& info) noexcept {
    if (m_stop.IsSet()) {
        return kReplyStop;
    }
    try {
        return ReplyToMessage(info, *this);
    } catch (...) {
        common::LogException("ScanRun::Reply()");
        // A file whose detection could not be shown is not changed either.
        return IsDetection(info.code) ? kReplyLeave : kReplyGoOn;
    }
}

void ScanRun::Ask(const ScanStep& question) {
    m_questions.AskAndWait([this, &question] { m_listener.Ask(question); });
}

tagSCANAPI_OPTIONS& ScanRun::EngineOptions() {
    return m_engine.Options();
}

void ScanRun::Count() {
    for (const char* top : Tops()) {
        if (IsFile(top)) {
            ++m_state.total;
        } else if (CountFiles(top, m_state.stopCount, m_state.total, m_filter) == kWalkStopped) {
            break;
        }
    }
    if (m_state.total == 0) {
        m_state.total = kUnknownTotal;
    }
    Tell({kEvtCountingDone});
}

std::uint32_t ScanRun::Apply(const ScanStep& step) {
    if (step.type == kEvtPrompt) {
        m_asked = step.info != nullptr ? *step.info : tagZQFILEINFO{};
        m_state.askedAbout = &m_asked;
    }
    if (step.type == kEvtUnreadable && step.info != nullptr) {
        m_unread.Add(*step.info);
    }
    return RecordStep(step, m_state, m_stop);
}

void ScanRun::Abandon() {
    m_stop.Set();
    if (m_isScanning) {
        m_state.stopCount = true;
    }
    m_questions.Close();
}

}  // namespace scan
