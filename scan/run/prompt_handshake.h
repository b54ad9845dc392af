#pragma once

#include <functional>

/// On a scan thread: calls `post`, which posts the question, and waits with no time limit until
/// WakePrompt() has answered it. The hand-shake's mutex is held from before the event is posted, so
/// no wake-up is lost.
void AskAndWait(const std::function<void()>& post);

/// On the GUI thread: wakes the scan thread that waits for an answer.
void WakePrompt();
