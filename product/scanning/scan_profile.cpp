#include "product/scanning/scan_profile.h"

namespace scanning {

namespace {

// The engine's adware level is 7 when the user wants it; 3 and 0 both mean that he does not.
constexpr std::uint16_t kAdwareWanted = 7;

}  // namespace

ScanProfile ProfileFromOptions(const tagSCANAPI_OPTIONS& options) {
    return {
        .archives = options.scanArchives != 0,
        .packed = options.scanPacked != 0,
        .unknownTypes = options.dumbScan != 0,
        .unwanted = options.adwareLevel == kAdwareWanted,
    };
}

cl_scan_options LibraryOptions(const ScanProfile& profile) {
    cl_scan_options library{};
    library.general = CL_SCAN_GENERAL_HEURISTICS;
    library.parse = ~0U;
    if (!profile.archives) {
        library.parse &= ~static_cast<std::uint32_t>(CL_SCAN_PARSE_ARCHIVE);
    }
    if (!profile.packed) {
        // Unpacking belongs to the reader of Windows programs; there is no bit of its own.
        library.parse &= ~static_cast<std::uint32_t>(CL_SCAN_PARSE_PE);
    }
    // These alerts are how the library says that it did not see everything.
    library.heuristic = CL_SCAN_HEURISTIC_EXCEEDS_MAX | CL_SCAN_HEURISTIC_ENCRYPTED_ARCHIVE |
                        CL_SCAN_HEURISTIC_ENCRYPTED_DOC;
    return library;
}

}  // namespace scanning
