#include "update/update_now.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "common/locks.h"
#include "common/paths.h"
#include "reports/files/update_report.h"
#include "update/dlg_update.h"
#include "update/run/start_log.h"
#include "update/run/status_library.h"
#include "widgets/messages.h"

namespace {

/// Keeps other updates out, the automatic ones above all.
class UpdateLock {
public:
    UpdateLock() : m_lock(common::InProgramDirectory("updt.lck").c_str()) {}
    ~UpdateLock() { m_lock.ReleaseLock(); }
    UpdateLock(const UpdateLock&) = delete;
    UpdateLock& operator=(const UpdateLock&) = delete;

    bool Take() { return m_lock.AcquireLock() == 0; }

private:
    ZQFileLock m_lock;
};

void Log(const std::string& what) {
    update::LogUpdateStart("In dlgMain::OnUpdateNowClick(): " + what);
}

void WriteReport(const char* status) {
    if (!WriteUpdtFile(status)) {
        Log("Error Generating update Report file");
    }
}

}  // namespace

void UpdateNow::Run() {
    reports::CaptureOldVersion();
    UpdateLock lock;
    if (!lock.Take()) {
        Log(std::string("no lock: ") + std::strerror(errno));
        ShowWarning(m_parent, tr("Rapid Update"),
                    tr("Rapid Update is already running in automatic mode."));
        return;
    }
    dlgUpdate dialog(m_parent);
    dialog.Myexec();
    ActOn(dialog.Run().State().outcome);
}

void UpdateNow::ActOn(std::int16_t outcome) {
    const QString title = tr("Rapid Update");
    switch (outcome) {
        case kUpdaterFailed:
            WriteReport("UPDATE ERROR");
            ShowWarning(m_parent, title, tr("Error retrieving updates."));
            break;
        case kUpdaterUpdated:
            WriteReport("UPDATED SUCCESSFULLY");
            (void)std::system("pkill -SIGUSR2 websecd");  // to load the definitions anew
            ShowInformation(m_parent, title,
                            tr("Corvane Endpoint Protection is successfully updated."));
            update::NotifyStatusChange(kStatusUpdateChanged);
            break;
        case kUpdaterUpToDate:
            WriteReport("UP-TO-DATE");
            ShowInformation(
                m_parent, title,
                tr("The version of Corvane Endpoint Protection you have is up-to-date. \n"
                   "Use Rapid Update regularly to keep your copy updated."));
            break;
        case kUpdaterInterrupted:
            ShowInformation(m_parent, title, tr("Update process interrupted by user."));
            break;
        case kUpdaterInvalidFiles:
            ShowWarning(m_parent, title, tr("Specify valid definition files."));
            break;
        default:
            Log("g_siUpdateRetFlag == -1");
            break;
    }
}
