#pragma once

/// System calls that fail once when a test asks for it, and are what they always are otherwise.
enum class Call { kFsync, kClose, kFallocate, kFtruncate };

/// The `nth` such call from now on (1 is the next) fails with `error`.
void FailCall(Call call, int error, int nth = 1);

/// Whether the call that was to fail has not been made yet.
bool IsStillToFail(Call call);

/// Nothing fails any more.
void FailNothing();
