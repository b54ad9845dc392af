#pragma once

#include <memory>
#include <string_view>

#include <QWizard>

#include "abi/schdlscn.h"
#include "common/schedule_entries.h"
#include "schedule/scheduler_library.h"

namespace Ui {
class dlgschedulescan;
}

/// What the wizard does, in iEditMode.
enum ScheduleMode : int {
    kScheduleNew = 0,
    kScheduleEdit = 1,
};

// Of the one wizard that there is at a time. GUI thread only.
extern int iEditMode;                                  ///< ScheduleMode
extern tagSCHEDULE_SCAN_ENTRY* g_pPScheduleScanEntry;  ///< null without a wizard

/// The wizard that makes a scheduled scan or changes one. It fills one record and hands it to the
/// scheduler's library, which keeps the list of scans. Modal; GUI thread only.
class dlgschedulescan : public QWizard {
    Q_OBJECT

public:
    /// The pages in their order.
    enum Page {
        kFoldersPage = 0,
        kTimesPage = 1,
        kSummaryPage = 2,
    };

    /// Loads the library; where that fails the user has seen why.
    explicit dlgschedulescan(QWidget* parent = nullptr);
    ~dlgschedulescan() override;

    /// Rejected at once when there is no library to hand the scan to.
    int exec() override;

    /// Takes what the page in front holds, which may refuse to be left.
    bool validateCurrentPage() override;

public slots:
    /// Shows a new scan: daily, without repetition, with the scanner settings a new user has.
    void init();

    /// Loads the library with all that the wizard needs of it. 0 on success, 1 when something is
    /// missing, which the user has seen.
    int LoadLib();

    /// Shows the scan of this name, to be changed. When it cannot be had the user sees why, and the
    /// wizard stays empty.
    void editMode(const QString& name);

    /// Puts what the pages hold into the record, and the record onto the summary.
    void OnNextBtnClick();

    /// Has the library keep the scan, and says whether it did; closes the wizard either way.
    void accept() override;
    void reject() override;

    /// Asks the library whether a new scan may have this name. False when not, which the user has
    /// seen.
    bool OnTaskNameChange();

    void OnFrequencyChange(int frequency);
    void OnStartAtClick();
    void OnStartAtBootClick();
    void OnRepScnCheckChange();
    void OnRepScnComboChange(int unit);

    /// Lets the user tick folders, and adds those that can be scanned.
    void OnAddFoldersClick();
    /// Puts all folders of the list into the record.
    void AddScheduleDir();
    void OnRemoveFoldersClick();
    void OnRemoveAllClick();
    /// Takes the folder at this place of the list as the one to remove.
    void OnScanLocationListClick(int row);

protected:
    void changeEvent(QEvent* event) override;

private:
    struct Scheduler {
        PFNVALIDATETASKNAME validateName = nullptr;
        PFNADDSCHEDULESCANTASK add = nullptr;
        PFNVALIDATEDIRECTORYPATH validateFolder = nullptr;
        PFNGETSCHEDULESCANTASKDETAILS getDetails = nullptr;
        PFNMODIFYSCHEDULESCANTASK modify = nullptr;
    };

    void ConnectControls();
    void SetButtonTexts();
    void CloseLib();

    /// Adds a folder that can be scanned, and says why another cannot. False when no further one is
    /// to be looked at.
    bool TakeFolder(std::string_view path);
    void AppendFolder(std::string_view path);
    void EnableRemoving();

    // Between the record and the controls.
    void TakeTimes();
    void TakeOptions();
    void ShowRecord();
    void ShowTimes();
    void ShowOptions();
    void ShowSummary();

    std::unique_ptr<Ui::dlgschedulescan> m_ui;
    common::OwnedScheduleEntry m_entry;
    SchedulerLibrary m_library;
    Scheduler m_scheduler;
    bool m_isUsable = false;
};
