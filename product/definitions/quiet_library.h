#pragma once

namespace definitions {

/// Starts libclamav without a word on standard error. False when it does not start. Main thread.
bool StartQuietLibrary();

}  // namespace definitions
