#pragma once

#include "abi/updturl.h"

namespace update {

/// Reads how the Internet is reached from "zqinet.opt" in the application directory: the part that
/// the updater is given, kUpdaterSettingsSize bytes. False, with the record all zero (no proxy),
/// when the file cannot be read or is shorter than a whole record. Any thread.
bool ReadUpdaterSettings(tagZQINETCONFIG& settings);

}  // namespace update
