#pragma once

#include <optional>
#include <string>

#include "product/updturl/request.h"

// Where updates come from, as this machine's own files say it. Any thread.

namespace updated {

/// The files of the product in `directory`, which ends in "/": the request that they make for an
/// update from `source`. Unreadable Internet settings mean no proxy, and a list that cannot be read
/// is none, as for the window. None when the options cannot be read.
std::optional<updturl::Request> ReadSources(const std::string& directory, updturl::Source source);

/// Whether one of the addresses is an official mirror, which wants to be asked seldom.
bool AsksOfficialMirror(const updturl::Request& request);

}  // namespace updated
