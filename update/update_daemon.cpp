#include "update/update_daemon.h"

#include <cstdlib>

#include "common/services.h"

int StartStopUpdtDaemon(bool start) {
    const std::string script = common::ServiceScript("rapidupdate");
    if (script.empty()) {
        return 0;
    }
    (void)std::system((script + (start ? " start" : " stop")).c_str());
    return 1;
}
