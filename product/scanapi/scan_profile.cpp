#include "product/scanapi/scan_profile.h"

namespace scanapi {

namespace {

// The engine's adware level is 7 when the user wants it; 3 and 0 both mean that he does not.
constexpr std::uint16_t kAdwareWanted = 7;

}  // namespace

ScanProfile ProfileFromOptions(const tagSCANAPI_OPTIONS& options) {
    ScanProfile profile;
    profile.library.general = CL_SCAN_GENERAL_HEURISTICS;
    profile.library.parse = ~0U;
    if (options.scanArchives == 0) {
        profile.library.parse &= ~static_cast<std::uint32_t>(CL_SCAN_PARSE_ARCHIVE);
    }
    if (options.scanPacked == 0) {
        // Unpacking belongs to the reader of Windows programs; there is no bit of its own.
        profile.library.parse &= ~static_cast<std::uint32_t>(CL_SCAN_PARSE_PE);
    }
    // These alerts are how the library says that it did not see everything.
    profile.library.heuristic = CL_SCAN_HEURISTIC_EXCEEDS_MAX |
                                CL_SCAN_HEURISTIC_ENCRYPTED_ARCHIVE |
                                CL_SCAN_HEURISTIC_ENCRYPTED_DOC;
    profile.readUnknownTypes = options.dumbScan != 0;
    profile.reportUnwanted = options.adwareLevel == kAdwareWanted;
    return profile;
}

}  // namespace scanapi
