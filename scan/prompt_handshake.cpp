#include "scan/prompt_handshake.h"

#include <QMutex>
#include <QMutexLocker>

QWaitCondition g_waitForPrompt;
tagMYSCNOPTS g_myScnopts{};

namespace {

QMutex promptMutex;
bool answered = false;  // guarded by promptMutex

}  // namespace

void AskAndWait(const std::function<void()>& post) {
    const QMutexLocker lock(&promptMutex);
    answered = false;
    post();
    while (!answered) {
        g_waitForPrompt.wait(&promptMutex);
    }
}

void WakePrompt() {
    const QMutexLocker lock(&promptMutex);
    answered = true;
    g_waitForPrompt.wakeAll();
}
