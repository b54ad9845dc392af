#pragma once

#include <string>

// For programs linked with -Wl,--wrap=syslog and noted_syslog.cpp: nothing reaches the log of the
// system, and what should have is noted. Any thread.

/// The lines since the last call, each with its priority, as "13 text\n".
std::string TakeNotedSyslog();
