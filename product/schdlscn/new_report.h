#pragma once

#include <string>
#include <sys/types.h>

#include "common/file_descriptor.h"

namespace schdlscn {

/// Makes an empty report, "schdNNNN.rpt", that belongs to the user, with mode 0600, in the open
/// folder `reports`: with that user's rights, as a file that was not there before. Not open on
/// failure, with the reason in errno. For root or the user, and a process of one thread.
common::FileDescriptor MakeReport(int reports, uid_t uid, gid_t gid, std::string& name);

}  // namespace schdlscn
