#pragma once

/// What can be refused to a scan when a test asks for it. These stand below the functions that note
/// refusals, in the place of the kernel and of the C library's allocator.
enum class Asked { kMemory, kMapping, kOpen, kFolder, kWrite, kRead };

/// The `nth` such request from now on (1 is the next) fails with `error`; of a write with error 0
/// only the first half is done.
void RefuseNth(Asked what, int nth, int error);

/// Nothing is refused any more. How many requests are still to come before the one that was to be
/// refused; 0 when it was.
int RefuseNothing();
