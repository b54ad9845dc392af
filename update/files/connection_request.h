#pragma once

#include <string>

#include "abi/updturl.h"

namespace update {

/// What `corvane-update --test` is asked on its standard input: whether the addresses that updates
/// come from can be reached with `settings`. Lines "key value" with the value percent-encoded, and
/// the line "go".
///
/// The addresses are those of the source that "zqupdate.opt" names, and of the Internet centre for
/// updates from a path. GUI thread.
std::string ConnectionRequest(const tagZQINETCONFIG& settings);

}  // namespace update
