#include "reports/virus_log.h"

// The virus log is not kept yet: nothing is recorded, and every caller is told so.
bool ZQVRAddRecVirusReport(unsigned int /*component*/, const char* /*filePath*/,
                           const char* /*virusName*/, const char* /*action*/) {
    return false;
}
