#pragma once

/// Starts or stops the automatic updates through the script of their service, "rapidupdate", and
/// waits for the script.
///
/// 1 whatever the script says, 0 when there is none. GUI thread: the script returns at once.
int StartStopUpdtDaemon(bool start);
