#include "scan/run/prompt_handshake.h"

#include <mutex>

#include "common/run_state.h"

namespace scan {

namespace {

std::mutex promptMutex;

}  // namespace

void PromptHandshake::AskAndWait(const std::function<void()>& ask) {
    {
        const std::scoped_lock lock(promptMutex);
        if (m_closed) {
            return;
        }
        m_answered = false;
    }
    // Without the lock: the answer may be given in there. It is kept until the wait looks for it.
    ask();
    std::unique_lock lock(promptMutex);
    g_waitForPrompt.wait(lock, [this] { return m_answered || m_closed; });
}

void PromptHandshake::Answer() {
    const std::scoped_lock lock(promptMutex);
    m_answered = true;
    g_waitForPrompt.notify_all();
}

void PromptHandshake::Close() {
    const std::scoped_lock lock(promptMutex);
    m_closed = true;
    g_waitForPrompt.notify_all();
}

bool PromptHandshake::IsClosed() const {
    const std::scoped_lock lock(promptMutex);
    return m_closed;
}

}  // namespace scan
