#include "product/updturl/update_log.h"

#include <string>
#include <syslog.h>

#include "common/escaped_text.h"
#include "common/log.h"
#include "update/files/update_links.h"

namespace updturl {
void LogUpdate(std::string_view text) {
    const std::string line = "Update: " + common::Escaped(text);
    WriteToLog(update::kUpdateLog, line.c_str());
    ::syslog(LOG_USER | LOG_NOTICE, "corvane: %s", line.c_str());
}

}  // namespace updturl
