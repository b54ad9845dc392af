#pragma once

#include <string>

namespace scanhost {

// A scan that was refused memory or a file may end as if nothing had been there to look at. The
// functions of the C library that libraries ask for these are therefore our own, in every program
// that is linked with this, and note the first refusal. Any thread.

/// Forgets what was noted: before a file is scanned.
void ForgetRefusals();

/// What was refused first since then, in a few words of ASCII; empty when nothing was. What was
/// scanned meanwhile may be infected, and is never clean.
std::string FirstRefusal();

/// Whether refused memory is noted. Not where a sanitizer has the allocator to itself, and ends the
/// process when there is none left.
bool NotesRefusedMemory();

}  // namespace scanhost
