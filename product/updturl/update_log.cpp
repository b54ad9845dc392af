#include "product/updturl/update_log.h"

#include <algorithm>
#include <string>
#include <syslog.h>

#include "common/log.h"
#include "update/files/update_links.h"

namespace updturl {
namespace {

bool IsControl(char byte) {
    return (byte >= '\0' && byte < ' ') || byte == '\x7f';
}

}  // namespace

void LogUpdate(std::string_view text) {
    std::string line = "Update: ";
    line += text;
    std::replace_if(line.begin(), line.end(), IsControl, '?');
    WriteToLog(kUpdateLog, line.c_str());
    ::syslog(LOG_USER | LOG_NOTICE, "corvane: %s", line.c_str());
}

}  // namespace updturl
