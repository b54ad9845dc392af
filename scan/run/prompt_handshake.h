#pragma once

#include <functional>

namespace scan {

/// The open question of a scan, and its answer. Whoever asks waits on g_waitForPrompt.
class PromptHandshake {
public:
    /// On the scan thread: calls `ask` and waits with no time limit until the question is answered,
    /// by `ask` itself or by another thread. An answer given before it was asked does not count.
    /// After Close() nothing is asked.
    void AskAndWait(const std::function<void()>& ask);

    /// Any thread: lets the scan thread go on.
    void Answer();

    /// Any thread: there is no one left to ask. The open question counts as answered.
    void Close();

    [[nodiscard]] bool IsClosed() const;

private:
    // Both are guarded by the one mutex of g_waitForPrompt.
    bool m_answered = false;
    bool m_closed = false;
};

}  // namespace scan
