#pragma once

#include <cstdint>
#include <string>

#include "reports/virus_log/log_reader.h"

enum class FetchResult {
    kOk,
    kNothingLogged,  ///< there is no log yet
    kFailed,
};

/// Reads the virus log of the installed product through a copy that is gone afterwards. While it
/// waits for another process for longer than a second it says so on standard error.
///
/// kFailed with a line, without newline, that says why. A signal that ends the program meanwhile
/// does so only when no lock and no copy is left behind; this function then does not return. For
/// the main thread, before others are started.
FetchResult FetchLog(VirusLogContents& contents, std::string& problem);

/// How many records the second record file counts in its head: those added during a reset that has
/// not merged them into the log yet. 0 when there is no such file or its head cannot be read. After
/// FetchLog, which finds the product.
std::uint32_t CountWaitingRecords();
