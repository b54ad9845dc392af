#include "product/updturl/asker.h"

#include <poll.h>

#include "common/io.h"
#include "product/updturl/message.h"

namespace updturl {
namespace {

using namespace std::chrono_literals;

/// Who does not read for that long misses a line. A status is told again anyway.
constexpr std::chrono::milliseconds kPatienceForStatus{0};
constexpr std::chrono::milliseconds kPatienceForLog{500};
constexpr std::chrono::milliseconds kPatienceForResult{5000};

bool IsReady(int fd, short events, std::chrono::milliseconds limit) {
    pollfd waiting{.fd = fd, .events = events, .revents = 0};
    return ::poll(&waiting, 1, static_cast<int>(limit.count())) > 0;
}

}  // namespace

bool Asker::ReadRequest(Request& request, std::string& reason) {
    RequestReader reader;
    const auto end = Clock::now() + kTimeToAsk;
    while (reader.Now() == RequestReader::State::kReading) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
        if (left <= 0ms) {
            reason = "no request came";
            return false;
        }
        if (!IsReady(m_input, POLLIN, left)) {
            continue;
        }
        const auto state = m_reader.ReadFrom(m_input);
        for (auto line = m_reader.Next(); line; line = m_reader.Next()) {
            // What stands behind the request stays in the reader, for IsStopping.
            if (reader.Add(*line) != RequestReader::State::kReading) {
                break;
            }
        }
        if (state != LineReader::State::kOpen && reader.Now() == RequestReader::State::kReading) {
            reason = "the request ends in the middle";
            return false;
        }
    }
    reason = reader.Reason();
    request = reader.Get();
    return reader.Now() == RequestReader::State::kWhole;
}

void Asker::Status(std::uint16_t status, std::string_view fileName) {
    if (status != m_status || fileName != m_fileName) {
        m_status = status;
        m_fileName = fileName;
        m_isTold = false;
    }
    if (m_status != m_toldStatus || Clock::now() - m_toldAt >= kShortestPause) {
        TellStatus();
    }
}

void Asker::Beat() {
    const auto pause = Clock::now() - m_toldAt;
    if (m_status != 0 && (pause >= kBeat || (!m_isTold && pause >= kShortestPause))) {
        TellStatus();
    }
}

void Asker::TellStatus() {
    if (Write(StatusLine(m_status, m_fileName), kPatienceForStatus)) {
        m_toldStatus = m_status;
        m_isTold = true;
    }
    m_toldAt = Clock::now();
}

void Asker::Log(std::string_view text) {
    Write(LogLine(text), kPatienceForLog);
}

void Asker::Candidate(std::string_view folder) {
    if (const auto line = CandidateLine(folder)) {
        Write(*line, kPatienceForResult);
    }
}

void Asker::Switching() {
    Write(SwitchingLine(), kPatienceForLog);
}

void Asker::Result(int result) {
    m_isSlow = false;
    Write(ResultLine(result), kPatienceForResult);
}

void Asker::Say(std::string_view line) {
    Write(line, kPatienceForResult);
}

bool Asker::IsStopping() {
    if (IsReady(m_input, POLLIN, 0ms)) {
        m_reader.ReadFrom(m_input);
    }
    while (const auto line = m_reader.Next()) {
        m_isStopping = m_isStopping || *line == kStopLine;
    }
    m_isStopping = m_isStopping || m_reader.Now() != LineReader::State::kOpen;
    return m_isStopping;
}

/// A line fits whole wherever one can be written at all: a pipe says so only with room for it.
bool Asker::Write(std::string_view line, std::chrono::milliseconds patience) {
    // Who made us wait in vain once is not waited for with each line.
    if (!IsReady(m_output, POLLOUT, m_isSlow ? 0ms : patience)) {
        m_isSlow = m_isSlow || patience > 0ms;
        return false;
    }
    m_isSlow = false;
    const bool isWritten = common::WriteAll(m_output, line);
    m_isStopping = m_isStopping || !isWritten;
    return isWritten;
}

}  // namespace updturl
