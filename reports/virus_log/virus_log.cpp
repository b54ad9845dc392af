#include "reports/virus_log/virus_log.h"

bool ZQVRAddRecVirusReport(unsigned int /*component*/, const char* /*filePath*/,
                           const char* /*virusName*/, const char* /*action*/) {
    return false;
}
