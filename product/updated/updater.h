#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "common/file_descriptor.h"
#include "product/updturl/child_process.h"
#include "product/updturl/line_reader.h"
#include "product/updturl/message.h"

namespace updated {

/// A run of the program that updates, in a process of its own that is ended with the object. For
/// one thread.
class Updater {
public:
    /// Starts `program` and says `request` to it. Not running, with the reason logged, on failure.
    Updater(const std::string& program, std::string request);
    Updater(const Updater&) = delete;
    Updater& operator=(const Updater&) = delete;

    [[nodiscard]] bool IsRunning() const { return m_socket.IsOpen(); }
    [[nodiscard]] int Descriptor() const { return m_socket.Get(); }
    [[nodiscard]] bool HasUnsent() const { return !m_unsent.empty(); }

    /// Sends what fits of the request.
    void Send();
    /// What it has said since the last call. The last message is a result, and none comes after it:
    /// kUpdaterFailed when it ended without one.
    std::vector<updturl::Message> Hear();
    /// Whether nothing more comes from it.
    [[nodiscard]] bool HasEnded() const {
        return m_lines.Now() != updturl::LineReader::State::kOpen;
    }
    [[nodiscard]] bool HasResult() const { return m_hasResult; }
    [[nodiscard]] bool IsStopped() const { return m_isStopped; }
    /// Asks it to end.
    void Stop();
    /// When it should have ended, once it has its result or was asked to: then it may be ended by
    /// force. The switch to new definitions is given more time.
    [[nodiscard]] std::optional<std::chrono::steady_clock::time_point> Patience() const {
        return m_patience;
    }

private:
    void SetPatience();

    updturl::ChildProcess m_process;
    common::FileDescriptor m_socket;
    std::string m_unsent;
    updturl::LineReader m_lines;
    bool m_isSwitching = false;
    bool m_isStopped = false;
    bool m_hasResult = false;
    std::optional<std::chrono::steady_clock::time_point> m_patience;
};

}  // namespace updated
