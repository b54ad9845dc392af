#pragma once

#include <cstddef>

// Linking watched_allocations.cpp with "-Wl,--wrap=calloc,--wrap=free" puts it in front of the C
// library's allocator, for the code that is linked in statically. One thread only.

/// From now on `count` more allocations of calloc succeed and the rest fail; below 0 all succeed.
void AllowAllocations(int count);

/// How many blocks that calloc gave have not been freed.
std::size_t LiveAllocations();

/// The size in bytes of the block that calloc gave last.
std::size_t LastAllocationSize();
