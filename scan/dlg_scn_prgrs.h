#pragma once

#include <memory>

#include <QBasicTimer>
#include <QString>

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

/// Shown while an on-demand scan runs: owns the scan thread, hands its events to the scan's own
/// records, shows what they change, and asks the user what the scan has to know.
///
/// GUI thread, except for m_stop.
class dlgScnPrgrs : public ScanDialog {
    Q_OBJECT

public:
    explicit dlgScnPrgrs(QWidget* parent = nullptr, const char* name = nullptr, bool modal = true,
                         Qt::WindowFlags flags = {});
    ~dlgScnPrgrs() override;

    /// The paths to scan, which stay the caller's and outlive myexec(). Null is ignored.
    void SetPathListToScan(tagPathList* paths);

    /// Gives the list back; a null argument is ignored. The scan's threads do not need it: they ask
    /// their ScanRun.
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
    void ShowUnreadFiles();

    /// Shows a step and `count`, the new value of the counter that it raised.
    void ShowStep(const ZqEvent& event, std::uint32_t count, bool wasStopped);
    void ShowScanningFile(const ZqEvent& event, std::uint32_t count);
    void ShowInfected(const ZqEvent& event, std::uint32_t count);
    void ShowScanFinished(bool wasStopped);
    void OnPrompt();
    void OnConfirmStop();

    /// False when the user has closed the dialog, with the stop flag set, before the scan was over,
    /// or the program is quitting: that is the answer to whatever the scan still asks.
    [[nodiscard]] bool IsThereToAnswer();

    /// Sets the stop flag and tells the user so: the question comes only after the file under way.
    void RequestStop();

    /// Out of the task bar, before a question that could not be seen there.
    void ComeBack();

    /// Shows what changed, now or with the next picture.
    void ShowSoon();

    /// Lets a scan whose dialog was closed come to its end, events included.
    void WaitForScan();

    /// Ends the thread, if it has not come to its end, and hands its last events on. No wait for a
    /// named mutex of this process lasts then.
    void EndThread();

    std::unique_ptr<Ui::dlgScnPrgrs> m_ui;
    ProgressView m_view;
    QBasicTimer m_showTimer;
    QString m_movieFile;
    std::unique_ptr<QMovie> m_movie;
    std::unique_ptr<ScanThrd> m_thread;
    bool m_running = false;            // until kEvtScanFinished has been handled
    QEventLoop* m_waitLoop = nullptr;  // of WaitForScan()
};
