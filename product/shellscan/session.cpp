#include "product/shellscan/session.h"

#include <cstdio>
#include <cstring>
#include <exception>

#include "common/escaped_text.h"
#include "common/named_mutex.h"
#include "common/text_field.h"
#include "product/shellscan/say.h"
#include "scan/run/plain_counting_thread.h"

namespace shellscan {

Session::Session() : m_engine(OnMessage, this), m_run(*this, m_engine) {
    m_engine.SetOnRefused([this](const char* path) {
        const std::scoped_lock lock(m_telling);
        RecordUnread(path, "it cannot be opened");
    });
}

void Session::Work(PathsToScan paths, const scan::PathFilter& filter) noexcept {
    try {
        std::string problem;
        if (!m_engine.Start(problem)) {
            const std::scoped_lock lock(m_telling);
            m_problem = problem;
            return;
        }
        m_run.SetMixedPaths(std::move(paths.paths));
        m_run.SetFilter(&filter);
        m_run.ForgetTotal();
        m_run.Begin();
        Begin();
        for (const auto& [path, error] : paths.unreachable) {
            PassedOver(path.c_str(), error);
        }
        scan::PlainCountingThread counting(m_run);
        m_run.Scan(counting);
    } catch (const std::exception& error) {
        Stop();
        const std::scoped_lock lock(m_telling);
        m_problem = error.what();
    }
}

void Session::Begin() {
    const std::scoped_lock lock(m_telling);
    if (m_isOver) {
        return;
    }
    m_summary.start = std::time(nullptr);
    m_hasBegun = true;
    for (RunWriter* const writer : m_writers) {
        writer->Begin();
    }
    LookAfterWriters();
}

void Session::Stop() {
    // A record of the virus log may wait for a process that is gone.
    common::EndMutexWaits();
    m_run.Abandon();
}

bool Session::Finish(std::chrono::milliseconds patience) {
    m_endReplying = std::unique_lock(m_replying, patience);
    m_endTelling = std::unique_lock(m_telling, patience);
    if (!m_endReplying.owns_lock() || !m_endTelling.owns_lock()) {
        return false;
    }
    m_isOver = true;
    const scan::ScanState& state = m_run.State();
    m_summary.isInterrupted = !m_isComplete;
    m_summary.scanned = state.scanned;
    m_summary.infected = state.infected;
    m_summary.repaired = state.repaired;
    m_summary.deleted = state.deleted;
    m_summary.skipped = state.skipped;
    m_summary.ioErrors = state.unreadable;
    m_summary.end = std::time(nullptr);
    if (m_bar != nullptr) {
        m_bar->Erase();
    }
    if (m_hasBegun) {
        for (RunWriter* const writer : m_writers) {
            if (m_isInPath) {
                writer->Step({kEvtPathDone});
            }
            writer->End(m_summary);
        }
        LookAfterWriters();
    }
    return m_hasBegun;
}

void Session::DrawProgress() {
    const std::unique_lock lock(m_telling, std::try_to_lock);
    if (lock.owns_lock() && m_bar != nullptr && m_hasBegun && !m_isOver) {
        m_bar->Draw(m_done, m_isCounted ? m_run.State().total.load() : 0);
    }
}

void Session::Tell(const scan::ScanStep& step) {
    if (step.type == kEvtAdvance) {
        ++m_done;
    } else if (step.type == kEvtCountingDone) {
        m_isCounted = true;
    }
    const std::scoped_lock lock(m_telling);
    if (!m_isOver) {
        Record(step);
    }
}

void Session::Record(const scan::ScanStep& step) {
    if (step.type == kEvtScanFinished) {
        m_isComplete = !m_run.Stop().IsSet();
        return;
    }
    m_run.Apply(step);
    m_isInPath = step.type == kEvtPathStarted || (m_isInPath && step.type != kEvtPathDone);
    if (step.type == kEvtUnreadable && step.info != nullptr &&
        common::FieldText(step.info->virusName) == kReasonNoDefinitions) {
        m_problem = "there are no virus definitions that can be used";
        m_run.Abandon();
        return;
    }
    if (m_bar != nullptr && (step.info != nullptr || step.type == kEvtPathStarted)) {
        m_bar->Erase();
    }
    for (RunWriter* const writer : m_writers) {
        writer->Step(step);
    }
    if (step.type == kEvtUnreadable && step.info != nullptr) {
        ++m_summary.unread;
        if (m_tellsUnread) {
            SayUnread(common::FieldText(step.info->fileName),
                      common::FieldText(step.info->virusName));
        }
    }
    LookAfterWriters();
}

void Session::PassedOver(const char* path, int error) {
    const std::scoped_lock lock(m_telling);
    RecordUnread(path, std::strerror(error));
}

void Session::RecordUnread(std::string_view path, std::string_view reason) {
    if (m_isOver) {
        return;
    }
    ++m_summary.unread;
    if (m_bar != nullptr) {
        m_bar->Erase();
    }
    for (RunWriter* const writer : m_writers) {
        writer->Unread(path, reason);
    }
    if (m_tellsUnread) {
        SayUnread(path, reason);
    }
    LookAfterWriters();
}

// A scan that nobody can read of is not carried on, least of all one that deletes.
void Session::LookAfterWriters() {
    for (const RunWriter* const writer : m_writers) {
        if (writer->Error() != 0 && m_problem.empty()) {
            m_problem =
                std::string("the report could not be written: ") + std::strerror(writer->Error());
            m_run.Abandon();
        }
    }
}

// Whether to stop is decided already. No detection is asked about: no action is "Prompt".
void Session::Ask(const scan::ScanStep& /*question*/) {
    m_run.Answer();
}

int Session::OnMessage(const tagZQFILEINFO* info, void* context) noexcept {
    if (info == nullptr || context == nullptr) {
        return kReplyGoOn;
    }
    auto& session = *static_cast<Session*>(context);
    const std::scoped_lock lock(session.m_replying);
    return session.m_run.Reply(*info);
}

}  // namespace shellscan
