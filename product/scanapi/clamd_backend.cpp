#include "product/scanapi/clamd_backend.h"

#include <cerrno>
#include <cstring>

#include "common/escaped_text.h"
#include "product/scanapi/clamd_kinds.h"
#include "product/scanapi/clamd_reply.h"
#include "product/scanapi/engine_log.h"
#include "product/scanning/detection_kind.h"

namespace scanapi {

namespace {

using scanning::ScanOutcome;
using scanning::Verdict;
using std::chrono::milliseconds;
using Result = ClamdConnection::Result;

constexpr char kBeyondItsBounds[] = "it is beyond the bounds of clamd";

ScanOutcome Outcome(Verdict verdict, std::string virusName = {}) {
    ScanOutcome outcome;
    outcome.verdict = verdict;
    outcome.virusName = std::move(virusName);
    return outcome;
}

ScanOutcome Unreadable(std::string reason) {
    ScanOutcome outcome;
    outcome.reason = std::move(reason);
    return outcome;
}

}  // namespace

void ClamdLog::Complain(const std::string& what) {
    const std::lock_guard lock(m_mutex);
    if (m_last != what) {
        LogLine("clamd " + what);
        m_last = what;
    }
}

void ClamdLog::AllIsWell() {
    const std::lock_guard lock(m_mutex);
    m_last.clear();
}

// With each session, since a clamd reads them when it starts: without it no session goes on.
std::optional<ClamdLimits> ClamdBackend::ReadLimits() {
    if (!m_settings.address.empty()) {
        return UnknownClamd();
    }
    std::string why;
    auto limits = LoadClamdLimits(m_settings.config, why);
    if (!limits) {
        m_log->Complain("is not used: (" + common::Escaped(m_settings.config) + ") " + why);
        return std::nullopt;
    }
    if (!limits->missing.empty()) {
        m_log->Complain("is not used: its " + limits->missing + " is not as it has to be");
        return std::nullopt;
    }
    limits->socket = m_settings.socket.empty() ? limits->socket : m_settings.socket;
    if (limits->socket.empty()) {
        m_log->Complain("is not used: it has no LocalSocket");
        return std::nullopt;
    }
    return limits;
}

bool ClamdBackend::Connect(const StopWanted& isStopWanted) {
    if (Clock::now() < m_notBefore) {
        return false;
    }
    auto limits = ReadLimits();
    if (!limits) {
        Pause();
        return false;
    }
    m_limits = *std::move(limits);
    const auto deadline = Clock::now() + m_patience.connecting;
    m_connection =
        m_settings.address.empty()
            ? ClamdConnection::ToSocket(m_limits.socket, m_limits.user, deadline, isStopWanted)
            : ClamdConnection::ToAddress(m_settings.address, deadline, isStopWanted);
    if (!m_connection && !isStopWanted()) {
        m_log->Complain(std::string("cannot be reached: ") + std::strerror(errno));
        Pause();
    }
    return m_connection.has_value();
}

void ClamdBackend::Pause() {
    m_connection.reset();
    m_notBefore = Clock::now() + m_patience.pause;
}

// A session ends after some time without a request, and with clamd's own end: one that was in use
// already may be gone without anything being wrong.
Result ClamdBackend::Ask(int file, std::span<const std::byte> all, const StopWanted& isStopWanted,
                         std::string& reply, std::uint32_t& number) {
    const auto deadline =
        Clock::now() + milliseconds(m_limits.milliseconds) + m_patience.beyondItsBound;
    number = m_connection->NextNumber();
    const bool isFirst = number == 1;
    const Result result = m_connection->Ask(file, all, deadline, isStopWanted, reply);
    if (result != Result::kLost || isFirst) {
        return result;
    }
    m_connection.reset();
    if (!Connect(isStopWanted)) {
        return isStopWanted() ? Result::kStopped : Result::kLost;
    }
    number = m_connection->NextNumber();
    return m_connection->Ask(file, all, deadline, isStopWanted, reply);
}

ScanOutcome ClamdBackend::Drop(const std::string& reason) {
    m_connection.reset();
    m_log->Complain(reason);
    return Unreadable("clamd " + reason);
}

std::optional<ScanOutcome> ClamdBackend::Scan(int file, std::span<const std::byte> all,
                                              const scanning::ScanProfile& profile,
                                              const StopWanted& isStopWanted) {
    if (!m_connection && !Connect(isStopWanted)) {
        return isStopWanted() ? std::optional(Outcome(Verdict::Stopped)) : std::nullopt;
    }
    if (WantsOwnWorker(all, profile, m_limits)) {
        return std::nullopt;
    }
    if (all.size() > m_limits.fileSize) {
        return Unreadable(kBeyondItsBounds);
    }
    const auto begun = Clock::now();
    std::string answer;
    std::uint32_t number = 0;
    switch (Ask(file, all, isStopWanted, answer, number)) {
        case Result::kAnswered:
            break;
        case Result::kStopped:
            m_connection.reset();
            return Outcome(Verdict::Stopped);
        case Result::kLost:
            // Unless it is known already that there is none any more.
            if (m_connection) {
                m_log->Complain("broke off");
            }
            m_connection.reset();
            return std::nullopt;
        case Result::kNonsense:
            return Drop("gave no answer that could be understood");
        case Result::kLate: {
            auto outcome = Drop("took too long");
            Pause();
            return outcome;
        }
    }
    // When its time is up it says so to nobody.
    const bool wasTimeUp = Clock::now() - begun >= milliseconds(m_limits.milliseconds);
    return Judge(answer, number, profile, wasTimeUp);
}

std::optional<ScanOutcome> ClamdBackend::Judge(const std::string& answer, std::uint32_t number,
                                               const scanning::ScanProfile& profile,
                                               bool wasTimeUp) {
    const auto reply = ParseClamdReply(answer, number, m_connection->IsLocal());
    if (!reply) {
        return Drop("gave no answer that could be understood");
    }
    if (reply->kind == ClamdReply::Kind::kFailed) {
        return Drop("did not scan: " + reply->text);
    }
    m_log->AllIsWell();
    switch (reply->kind) {
        case ClamdReply::Kind::kFound:
            if (scanning::MeansNotWholeScanned(reply->text)) {
                return Unreadable(kBeyondItsBounds);
            }
            // What is worse may stand behind what nobody asked about; and what it takes for
            // suspicious is a matter of switches, which need not be set as ours are.
            if (reply->text.starts_with("Heuristics.") ||
                (scanning::IsUnwanted(reply->text) && !profile.unwanted)) {
                return std::nullopt;
            }
            return Outcome(Verdict::Infected, reply->text);
        default:
            return wasTimeUp ? Unreadable(kBeyondItsBounds) : Outcome(Verdict::Clean);
    }
}

}  // namespace scanapi
