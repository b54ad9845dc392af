#pragma once

#include <condition_variable>
#include <functional>

#include "common/scan_settings.h"

/// Woken by the progress dialog when the user has answered; the only thing a scan waits for.
extern std::condition_variable g_waitForPrompt;

/// The user's choice in the virus prompt; zeroed when a run starts. Written by the GUI thread while
/// the scan thread waits for it.
extern tagMYSCNOPTS g_myScnopts;

/// On a scan thread: calls `post`, which posts the question, and waits with no time limit until
/// WakePrompt() has answered it. The hand-shake's mutex is held from before the event is posted, so
/// no wake-up is lost.
void AskAndWait(const std::function<void()>& post);

/// On the GUI thread: wakes the scan thread that waits for an answer.
void WakePrompt();
