#pragma once

/// From now on `count` more allocations of calloc succeed and the rest fail; below 0 all succeed.
/// Linking failing_calloc.cpp with "-Wl,--wrap=calloc" puts it in front of the real one.
void AllowAllocations(int count);
