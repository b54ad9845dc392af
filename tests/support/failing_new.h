#pragma once

/// While on, operator new of this thread fails as if there were no memory left. Linking
/// failing_new.cpp replaces operator new in the whole program.
void SetOutOfMemory(bool on);

/// The same after so many requests of this thread more; below 0 none fails.
void SetRequestsGranted(int granted);
