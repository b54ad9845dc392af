#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "product/updturl/progress_listener.h"
#include "product/updturl/request.h"

// The two ways in which the library lets an update run. Both give an UpdaterResult, tell `listener`
// on the calling thread, and end within 300 ms once it wants to stop. Any thread.

namespace updturl {

inline constexpr char kUpdaterProgram[] = "corvane-update";

/// Runs `program` as a child. For root.
int RunChild(const std::string& program, const Request& request, ProgressListener& listener);

/// Asks the service, which finds out itself where updates come from. One that says nothing within
/// `timeToBegin`, because nobody is there behind its socket, is as one that is not there.
int AskService(const std::string& socketPath, Source source, ProgressListener& listener,
               std::chrono::milliseconds timeToBegin = std::chrono::seconds(10));

/// The program in the directory that this code was loaded from; empty when that cannot be told.
std::string ProgramBesideLibrary();

}  // namespace updturl
