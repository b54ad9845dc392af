#pragma once

#include <string>
#include <sys/types.h>

#include "common/file_descriptor.h"

namespace schdlscn {

// Reports, "schdNNNN.rpt" in the open folder `reports`, each with its owner's rights. For root or
// the owner, and a process of one thread.

/// A name that nothing there has. Empty without one, or without that folder; the reason is in
/// errno.
std::string FreeReportName(int reports);

/// Makes an empty report of that name that belongs to the user, with mode 0600, as a file that was
/// not there before. Not open on failure, with the reason in errno.
common::FileDescriptor MakeReport(int reports, uid_t uid, gid_t gid, const std::string& name);

/// Opens one that was made so before. Not open when it is not there, or not such a file.
common::FileDescriptor OpenReport(int reports, uid_t uid, const std::string& name);

/// Removes the user's own of that name, when it is there; what else has the name stays.
bool RemoveReport(int reports, uid_t uid, const std::string& name);

}  // namespace schdlscn
