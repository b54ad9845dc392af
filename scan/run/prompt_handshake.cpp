#include "scan/run/prompt_handshake.h"

#include <mutex>

#include "common/run_state.h"

namespace {

std::mutex promptMutex;
bool answered = false;  // guarded by promptMutex

}  // namespace

void AskAndWait(const std::function<void()>& post) {
    std::unique_lock lock(promptMutex);
    answered = false;
    post();
    g_waitForPrompt.wait(lock, [] { return answered; });
}

void WakePrompt() {
    const std::scoped_lock lock(promptMutex);
    answered = true;
    g_waitForPrompt.notify_all();
}
