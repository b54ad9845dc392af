#pragma once

#include <span>
#include <string>

#include "common/file_descriptor.h"

namespace definitions {

/// Opens the folder `path`, from the root on, one component after the other: none of them is a
/// link, and each belongs to root, to the user we are or, for root, to the updater's user, and can
/// be written by nobody else. A sticky folder that everybody may write to is not enough: names in
/// it can be taken by others first. Nor does the path lead through one of the open folders
/// `closed`, under whatever name.
///
/// Not open when that does not hold, with the reason in `why`, or for a path that is not absolute
/// or has ".." in it. Any thread.
common::FileDescriptor OpenTrustedFolder(const std::string& path, std::string& why,
                                         std::span<const int> closed = {});

}  // namespace definitions
