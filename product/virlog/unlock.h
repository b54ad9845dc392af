#pragma once

/// Shows the locks of the virus log that no working process seems to hold, asks for each on
/// standard output whether it is to be removed, and removes it after a "y" or "yes" on standard
/// input.
///
/// 0 when all that was asked for was done; 1 when a lock could not be removed, is somebody else's,
/// or the questions could not be shown.
int Unlock();
