#include "update/run/start_log.h"

#include <syslog.h>

#include "common/log.h"
#include "common/run_state.h"

namespace update {

void LogUpdateStart(const std::string& line) {
    WriteToLog(g_szLogFile, line.c_str());
    ::syslog(LOG_USER | LOG_NOTICE, "corvane: %s", line.c_str());
}

}  // namespace update
