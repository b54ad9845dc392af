#pragma once

#include <memory>

#include <QPointer>
#include <QWidget>

#include "common/scan_settings.h"
#include "update/files/update_options.h"
#include "widgets/masked_typing.h"
#include "widgets/password_lock.h"

class QSplashScreen;
class QTreeWidgetItem;
class dlgHelp;

namespace Ui {
class dlgMain;
}

/// The program's only top-level window, a switchboard: buttons on the left choose one of six pages,
/// and every slot is handed to the page that owns it. GUI thread only.
class dlgMain : public QWidget {
    Q_OBJECT

public:
    /// The places of the pages in the stack.
    enum Page {
        kScanPage = 0,
        kSettingsPage = 1,
        kReportsPage = 2,
        kUpdatePage = 3,
        kAboutPage = 4,
        kSchedulePage = 5,
    };

    /// Loads the options and the scan engine behind a splash screen. Where the program cannot run,
    /// this gives the single-instance lock back and ends the process with status 0.
    dlgMain();
    ~dlgMain() override;

    /// Settles unsaved scanner settings. True when the settings page may be left.
    virtual bool SaveOrNot();

    /// Settles unsaved update settings. True when the update page may be left.
    virtual bool ApplyNetSettingsOrNot();

    bool eventFilter(QObject* watched, QEvent* event) override;

public slots:
    // The slot table: other programs' scripts and the tests know the slots by their place in it.
    virtual bool LoadScnOptions(PSCNOPTS options);
    virtual void LoadUpdtOptions();
    virtual void updateUiChange(P_UPDTOPTS options);
    virtual void IntCentreSelected(bool selected);
    virtual void OnBkupChecked(bool checked);
    void closeEvent(QCloseEvent* event) override;
    virtual void OnScnClick();
    virtual void OnOptClick();
    virtual void OnRptClick();
    virtual void OnSchClick();
    virtual void OnNewSchClick();
    virtual void OnEditSchClick();
    virtual void OnRemoveSchClick();
    virtual void OnUpdtClicked();
    virtual void OnAbtClick();
    virtual void OnScnDirClick();
    virtual void OnScnFlClick();
    virtual void OnRptRwClick(int button, int row, int column, const QPoint& position);
    virtual void OnRptRwDblClick(QTreeWidgetItem* row, const QPoint& position, int column);
    virtual void OnSchScnRwDblClick(QTreeWidgetItem* row, const QPoint& position, int column);
    virtual void OnRptShwClick();
    virtual void OnRptDelClick();
    virtual void DelEntry();
    virtual void OnScnCmpChkd();
    virtual void OnScnadspChkd();
    virtual void OnScndmbChkd();
    virtual void OnScnPackChkd();
    virtual void OnSaveOptsClick();
    virtual void OnCnclSvClick();
    virtual void OnActChange();
    virtual void OnEnableApplyBtn(bool enable);
    virtual void OnUpdateNowClick();
    virtual void UpdateChange();
    virtual void OnCancelUpdClick();
    virtual bool OnApplyOptClick();
    virtual void OnReportToggle();
    virtual void OnHelpClick();
    virtual void OnUrlClicked();
    virtual void OnUpdtPathClicked();
    virtual void OnBkupFolderClicked();
    virtual void OnIntSettingClicked();
    virtual void EnableApplyOnTxtChange();
    virtual void languageChange();

protected:
    void changeEvent(QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void ScanDropped(const QList<QUrl>& places);

    void ConnectButtons();
    void ConnectPages();
    void ConnectUpdatePage();
    void ConnectSchedulePage();

    void init();
    void destroy();
    [[noreturn]] void EndProcess();
    void CentreOnDesktop();
    void MakeReportIndexes(std::unique_ptr<QSplashScreen>& splash);

    /// The guard in front of a page: shows the page that must be settled first.
    bool SettlePages();
    void ShowPage(Page page);
    void MarkCurrentPage();

    /// The window's help viewer, made anew when its user has closed it.
    dlgHelp& Viewer();
    void ShowViewer();
    /// Opens the help on the page about the page that is shown.
    void ExplainPage();
    void CloseViewers();

    std::unique_ptr<Ui::dlgMain> m_ui;
    const MaskedTyping m_maskedTyping;
    PasswordLock m_passwordLock;
    QPointer<dlgHelp> m_viewer;  // it deletes itself when it is closed
};
