#pragma once

#include "abi/updturl.h"
#include "common/option_file.h"

// How the Internet is reached: "zqinet.opt" in the application directory, 788 bytes. GUI thread.

namespace update {

/// Reads the settings. A short file leaves zeros in what it does not hold; a missing one is made,
/// all zero. All zero, too, when the file can neither be opened nor made.
tagZQINETCONFIG LoadInternetSettings();

/// Writes the settings over the start of the file, which is made when it is missing.
common::FileOutcome SaveInternetSettings(const tagZQINETCONFIG& settings);

/// Has this machine ask for a new identifier, since it may reach the network another way now:
/// "zqguid.dat" in the product directory becomes "0". Not where "zqadminexclusion.dat" beside it is
/// missing or begins with "1". Says nothing when the file cannot be written.
void ResetEndpointIdentifier();

/// Tells the web protection that the settings have changed, with a command of the shell.
void TellWebProtection();

}  // namespace update
