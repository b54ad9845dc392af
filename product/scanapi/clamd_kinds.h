#pragma once

#include <cstddef>
#include <span>

#include "product/scanapi/clamd_config.h"
#include "product/scanning/scan_profile.h"

namespace scanapi {

/// Whether a file with the contents `all` has to be scanned by our own worker. A clamd names no
/// members, and keeps what kind of file it took it for to itself. So it gets what is known to be
/// plain, and nothing else:
///
/// - ELF programs, and PNG, JPEG and GIF images;
/// - ASCII text, but no mail, nothing encoded, no XML, PDF, RTF or PostScript, all of which may
///   hold files.
///
/// And of those none in which something shows that archives, installers or disks begin with, no
/// text that is larger than what it looks at in all forms, and nothing when unwanted programs count
/// and it does not look for all of them. Any thread.
bool WantsOwnWorker(std::span<const std::byte> all, const scanning::ScanProfile& profile,
                    const ClamdLimits& limits);

}  // namespace scanapi
