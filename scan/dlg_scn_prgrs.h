#pragma once

#include <memory>

#include <QBasicTimer>
#include <QString>

#include "abi/scanapi.h"
#include "common/path_list.h"
#include "scan/progress_view.h"
#include "scan/scan_dialog.h"

class QEventLoop;
class QMovie;
class ScanThrd;
class ZqEvent;
namespace Ui {
class dlgScnPrgrs;
}

/// Shown while an on-demand scan runs: owns the scan thread, turns its events into counters, labels
/// and lines of the report in g_pRptObj, and asks the user what the scan has to know.
///
/// GUI thread, except for m_stop and GetPathListToScan().
class dlgScnPrgrs : public ScanDialog {
    Q_OBJECT

public:
    explicit dlgScnPrgrs(QWidget* parent = nullptr, const char* name = nullptr, bool modal = true,
                         Qt::WindowFlags flags = {});
    ~dlgScnPrgrs() override;

    /// The paths to scan, which stay the caller's and outlive myexec(). Null is ignored.
    void SetPathListToScan(tagPathList* paths);

    /// Gives the list back; a null argument is ignored. Any thread, once the scan has been started.
    void GetPathListToScan(tagPathList** paths);

    /// Starts the scan and shows the dialog until it is closed. The scan is over when this returns.
    int myexec();

    /// Asks what to do about g_zqFileInfo; Cancel sets the stop flag.
    void showvirus();

public slots:
    void OnStopClick();
    void MyReject();
    void OnViewRptClick();
    void OnScnCloseClick();

protected:
    void customEvent(QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void init();
    void destroy();

    void OnScanningFile(const ZqEvent& event);
    void OnScanFinished();
    void OnInfected(const ZqEvent& event);
    void OnPrompt(const ZqEvent& event);
    void OnNeedsDecision(const ZqEvent& event);
    void OnConfirmStop();

    /// The user has closed the dialog, with the stop flag set, before the scan was over: that is
    /// the answer to whatever the scan still asks.
    [[nodiscard]] bool IsClosedOverScan() const;

    /// Shows what changed, now or with the next picture.
    void ShowSoon();

    /// Lets a scan whose dialog was closed come to its end, events included.
    void WaitForScan();

    /// Ends the thread without handling its events.
    void EndThread();

    std::unique_ptr<Ui::dlgScnPrgrs> m_ui;
    ProgressView m_view;
    QBasicTimer m_showTimer;
    QString m_movieFile;
    std::unique_ptr<QMovie> m_movie;
    std::unique_ptr<ScanThrd> m_thread;
    tagPathList* m_paths = nullptr;
    tagZQFILEINFO m_asked{};           // what the prompt asks about
    bool m_running = false;            // until kEvtScanFinished has been handled
    QEventLoop* m_waitLoop = nullptr;  // of WaitForScan()
};
