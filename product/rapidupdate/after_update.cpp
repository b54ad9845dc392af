#include "product/rapidupdate/after_update.h"

#include <cstdlib>
#include <syslog.h>

#include "common/run_state.h"
#include "common/version_record.h"
#include "reports/files/update_report.h"
#include "update/run/status_library.h"

namespace rapidupdate {

namespace {

/// What the report asks the engine in the window. The engine itself would load its whole database
/// for the answer.
void VersionOfDefinitions(tagZQVERINFO* version) {
    (void)GetVDBInfo(version);
}

void Report(const char* status) {
    if (!WriteUpdtFile(status)) {
        ::syslog(LOG_WARNING, "the update report could not be written");
    }
}

}  // namespace

void RememberOldVersion() {
    pfnGetVer = &VersionOfDefinitions;
    reports::CaptureOldVersion();
}

Outcome FinishUpdate(UpdaterResult result) {
    switch (result) {
        case kUpdaterUpdated:
            ::syslog(LOG_NOTICE, "new virus definitions are installed");
            Report("UPDATED SUCCESSFULLY");
            // Nobody there to be told is no failure.
            (void)std::system("pkill -SIGUSR2 websecd");
            (void)update::NotifyStatusChange(kStatusUpdateChanged);
            return Outcome::kDone;
        case kUpdaterUpToDate:
            ::syslog(LOG_INFO, "the virus definitions are up to date");
            Report("UP-TO-DATE");
            return Outcome::kDone;
        case kUpdaterInterrupted:
            ::syslog(LOG_INFO, "the update was interrupted");
            return Outcome::kFailed;
        case kUpdaterInvalidFiles:
            ::syslog(LOG_ERR, "no valid definition files were found");
            return Outcome::kFailed;
        case kUpdaterFailed:
            break;
    }
    ::syslog(LOG_ERR, "the update failed");
    Report("UPDATE ERROR");
    return Outcome::kFailed;
}

}  // namespace rapidupdate
