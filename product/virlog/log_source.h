#pragma once

#include <string>

#include "reports/virus_log/log_reader.h"

enum class FetchResult {
    kOk,
    kNothingLogged,  ///< there is no log yet
    kFailed,
};

/// Reads the virus log of the installed product through a copy that is gone afterwards, and behind
/// that the records that wait for a merge. While it waits for another process for longer than a
/// second, and when it cannot read those that wait, it says so on standard error.
///
/// kFailed with a line, without newline, that says why. A signal that ends the program meanwhile
/// does so only when no lock and no copy is left behind; this function then does not return. For
/// the main thread, before others are started.
FetchResult FetchLog(virus_log::VirusLogContents& contents, std::string& problem);

/// Makes the log of the installed product the one that is meant, wherever this program lies. False
/// with a line, without newline, when no product is installed.
bool FindProduct(std::string& problem);

/// Whether there may be records, in the main file or waiting for a merge. After FindProduct.
bool IsAnythingLogged();
