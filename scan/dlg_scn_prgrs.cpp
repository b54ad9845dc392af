#include "scan/dlg_scn_prgrs.h"

#include <string>
#include <utility>

#include <QApplication>
#include <QCloseEvent>
#include <QEventLoop>
#include <QFile>
#include <QKeyEvent>
#include <QMovie>
#include <QPixmap>

#include "ui_dlg_scn_prgrs.h"

#include "common/named_mutex.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/dlg_report.h"
#include "scan/dlg_vir_fnd.h"
#include "scan/run/file_count.h"
#include "scan/scan_event.h"
#include "scan/scan_thread.h"
#include "scan/unread_files_dialog.h"
#include "widgets/messages.h"
#include "widgets/whats_this_key.h"

namespace {

constexpr int kCurrentFileWidth = 70;
constexpr int kLastInfectedWidth = 50;
constexpr int kShowInterval = 33;     // milliseconds: some thirty pictures a second
constexpr int kEndPollInterval = 10;  // milliseconds

std::string FileNameOf(const ZqEvent& event) {
    return std::string(common::FieldText(event.Info().fileName));
}

/// What waits to be drawn. Not what the user did: a second click of the button that started the
/// scan, before this dialog is there to keep it off, would start another.
void ProcessPendingEvents() {
    QApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

QString AnimationFile(qreal pixelRatio) {
    const QString directory = QFile::decodeName(g_szAppPath) + QStringLiteral("qimages/");
    const QString sharp = directory + QStringLiteral("bl3@2x.gif");
    return pixelRatio > 1 && QFile::exists(sharp) ? sharp : directory + QStringLiteral("bl3.gif");
}

}  // namespace

dlgScnPrgrs::dlgScnPrgrs(QWidget* parent, const char* name, bool modal, Qt::WindowFlags flags)
    : ScanDialog(parent, flags), m_ui(std::make_unique<Ui::dlgScnPrgrs>()) {
    m_ui->setupUi(this);
    ExplainOnF1(*this);
    if (name != nullptr) {
        setObjectName(QString::fromUtf8(name));
    }
    setModal(modal);
    setWindowFlag(Qt::WindowMinimizeButtonHint);  // a scan may take hours
    m_view.Attach(ProgressView::kCurrentFile, m_ui->currentFileLabel);
    m_view.Attach(ProgressView::kLastInfected, m_ui->lastInfectedLabel);
    m_view.Attach(ProgressView::kLastVirus, m_ui->lastVirusLabel);
    m_view.Attach(ProgressView::kScanned, m_ui->scannedLabel);
    m_view.Attach(ProgressView::kInfected, m_ui->infectedLabel);
    m_view.Attach(ProgressView::kRepaired, m_ui->repairedLabel);
    m_view.Attach(ProgressView::kDeleted, m_ui->deletedLabel);
    m_view.Attach(ProgressView::kSkipped, m_ui->skippedLabel);
    m_view.Attach(m_ui->progressBar);
    connect(m_ui->btnStop, &QPushButton::clicked, this, &dlgScnPrgrs::OnStopClick);
    connect(m_ui->btnViewRpt, &QPushButton::clicked, this, &dlgScnPrgrs::OnViewRptClick);
    connect(m_ui->btnClose, &QPushButton::clicked, this, &dlgScnPrgrs::OnScnCloseClick);
    connect(m_ui->btnNotRead, &QPushButton::clicked, this, &dlgScnPrgrs::ShowUnreadFiles);
    init();
}

dlgScnPrgrs::~dlgScnPrgrs() {
    destroy();
}

void dlgScnPrgrs::init() {
    m_movieFile = AnimationFile(devicePixelRatioF());
    m_movie = std::make_unique<QMovie>(m_movieFile);
    m_ui->animationLabel->setMovie(m_movie.get());
    ProcessPendingEvents();
    m_stop.Clear();
    m_thread.reset();
    Run().SetPaths(nullptr);
    m_ui->btnStop->setEnabled(false);
}

void dlgScnPrgrs::destroy() {
    if (m_thread != nullptr) {
        EndThread();
    }
    m_thread.reset();
}

void dlgScnPrgrs::SetPathListToScan(tagPathList* paths) {
    if (paths != nullptr) {
        Run().SetPaths(paths);
    }
}

void dlgScnPrgrs::GetPathListToScan(tagPathList** paths) {
    if (paths != nullptr) {
        *paths = Run().Paths();
    }
}

int dlgScnPrgrs::myexec() {
    m_ui->animationLabel->setMovie(m_movie.get());
    m_movie->start();
    ProcessPendingEvents();
    m_ui->btnClose->setEnabled(false);
    m_ui->btnViewRpt->setEnabled(false);
    m_ui->btnStop->setEnabled(true);
    m_ui->btnStop->setFocus();
    Run().ForgetTotal();
    m_view.ResetBar(scan::kUnknownTotal);
    m_view.Show();
    m_thread = std::make_unique<ScanThrd>(Run());
    m_running = true;
    m_thread->start();
    try {
        const int result = exec();
        // The caller frees the paths and the report next.
        WaitForScan();
        return result;
    } catch (...) {
        EndThread();  // it may tell this dialog something until then, which cannot go away before
        throw;
    }
}

void dlgScnPrgrs::WaitForScan() {
    if (m_running) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        QEventLoop loop;
        m_waitLoop = &loop;
        loop.exec(QEventLoop::ExcludeUserInputEvents);
        m_waitLoop = nullptr;
        QApplication::restoreOverrideCursor();
    }
    EndThread();  // the scan is over, or the program is quitting, which no event loop outlasts
}

void dlgScnPrgrs::EndThread() {
    if (!m_running) {
        m_thread->Join();  // it has nothing left to tell
        return;
    }
    if (m_thread->isRunning()) {
        // Nobody wants to wait now for the virus log that a dead process keeps locked; while a stop
        // is only asked for, the record of what was done still matters.
        common::EndMutexWaits();
        Run().Abandon();
    }
    // Its last steps belong into the report, and so does the summary.
    while (!m_thread->wait(kEndPollInterval)) {
        Deliver();
    }
    m_thread->Join();
    Deliver();
    m_running = false;
}

void dlgScnPrgrs::customEvent(QEvent* event) {
    const ZqEvent* step = AsScanEvent(event);
    if (step == nullptr) {
        return;
    }
    const bool wasStopped = m_stop.IsSet();  // the end of the scan sets the flag, too
    ShowStep(*step, Run().Apply(StepOf(*step)), wasStopped);
    ShowSoon();
}

void dlgScnPrgrs::ShowStep(const ZqEvent& event, std::uint32_t count, bool wasStopped) {
    switch (StepOf(event).type) {
        case kEvtScanningFile:
            ShowScanningFile(event, count);
            break;
        case kEvtScanFinished:
            ShowScanFinished(wasStopped);
            break;
        case kEvtInfected:
            ShowInfected(event, count);
            break;
        case kEvtPrompt:
            OnPrompt();
            break;
        case kEvtDeleted:
            m_view.SetCount(ProgressView::kDeleted, count);
            break;
        case kEvtRepaired:
            m_view.SetCount(ProgressView::kRepaired, count);
            break;
        case kEvtSkipped:
            m_view.SetCount(ProgressView::kSkipped, count);
            break;
        case kEvtConfirmStop:
            OnConfirmStop();
            break;
        case kEvtAdvance:
            m_view.Advance();
            break;
        case kEvtCountingDone:
            m_view.SetTotal(Run().State().total);
            break;
        case kEvtFillBar:
            m_view.SetProgress(Run().State().total);
            break;
        case kEvtPathStarted:
        case kEvtPathDone:
        case kEvtUnreadable:
        case kEvtNeedsDecision:
            break;  // no label shows them
    }
}

void dlgScnPrgrs::ShowSoon() {
    if (m_view.IsHoldingBack() && !m_showTimer.isActive()) {
        m_view.Show();
        m_showTimer.start(kShowInterval, this);
    }
}

void dlgScnPrgrs::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_showTimer.timerId()) {
        ScanDialog::timerEvent(event);
        return;
    }
    m_showTimer.stop();
    ShowSoon();
}

void dlgScnPrgrs::ShowScanningFile(const ZqEvent& event, std::uint32_t count) {
    m_view.SetPath(ProgressView::kCurrentFile,
                   event.Text() != nullptr ? event.Text() : FileNameOf(event).c_str(),
                   kCurrentFileWidth);
    m_view.SetCount(ProgressView::kScanned, count);
}

void dlgScnPrgrs::ShowScanFinished(bool wasStopped) {
    const std::size_t unread = Run().Unread().Count();
    m_ui->scanNote->ShowOutcome(Run().State().infected, unread, wasStopped);
    m_ui->btnNotRead->setText(tr("&Not read: %1...").arg(unread));
    m_ui->btnNotRead->setVisible(unread != 0);
    QApplication::alert(this);  // the user may be elsewhere by now
    m_running = false;
    m_showTimer.stop();
    m_view.Show();
    m_ui->btnClose->setEnabled(true);
    m_ui->btnViewRpt->setEnabled(true);
    m_ui->btnClose->setFocus();
    m_ui->btnStop->setEnabled(false);
    // After a stop too.
    m_ui->statusLabel->setText(tr("Scanning completed successfully"));
    m_movie->setPaused(true);
    m_ui->animationLabel->setPixmap(QPixmap(m_movieFile));
    if (m_waitLoop != nullptr) {
        m_waitLoop->quit();
    }
}

void dlgScnPrgrs::ShowInfected(const ZqEvent& event, std::uint32_t count) {
    m_view.SetPath(ProgressView::kLastInfected, FileNameOf(event).c_str(), kLastInfectedWidth);
    m_view.SetText(ProgressView::kLastVirus, common::FieldText(event.Info().virusName));
    m_view.SetCount(ProgressView::kInfected, count);
}

bool dlgScnPrgrs::IsThereToAnswer() {
    return !Run().IsAbandoned() && (!m_running || isVisible());
}

void dlgScnPrgrs::OnPrompt() {
    m_movie->setPaused(true);
    if (IsThereToAnswer()) {
        ComeBack();
        showvirus();
    }
    Run().Answer();
    m_movie->setPaused(false);
}

void dlgScnPrgrs::showvirus() {
    dlgVirFnd prompt(this);
    if (prompt.exec() == QDialog::Rejected) {
        RequestStop();
    }
}

void dlgScnPrgrs::OnConfirmStop() {
    m_movie->setPaused(true);
    if (IsThereToAnswer()) {
        ComeBack();
        // Quitting the program over the question ends it too, and is no refusal.
        if (AskWithoutDefault(this, tr("Corvane Scan"), tr("Do you want to stop scan?")) ==
            Answer::kNo) {
            m_ui->scanNote->Clear();
            m_movie->setPaused(false);
            m_stop.Clear();
        }
    }
    Run().Answer();
}

void dlgScnPrgrs::ComeBack() {
    if (isMinimized()) {
        showNormal();
    }
}

void dlgScnPrgrs::RequestStop() {
    m_stop.Set();
    m_ui->scanNote->ShowStopping();
}

void dlgScnPrgrs::OnStopClick() {
    RequestStop();
}

void dlgScnPrgrs::MyReject() {
    close();
}

void dlgScnPrgrs::OnScnCloseClick() {
    done(Accepted);
}

void dlgScnPrgrs::OnViewRptClick() {
    // This is the report of a scan, whatever kind the reports page lists.
    const short listedKind = std::exchange(g_siRptKind, kScanReports);
    dlgReport(this).exec();
    g_siRptKind = listedKind;
}

void dlgScnPrgrs::ShowUnreadFiles() {
    UnreadFilesDialog(Run().Unread(), this).exec();
}

void dlgScnPrgrs::closeEvent(QCloseEvent* event) {
    if (!m_stop.IsSet()) {
        RequestStop();  // the scan is asked to stop first
        event->ignore();
        return;
    }
    event->accept();
}

void dlgScnPrgrs::keyPressEvent(QKeyEvent* event) {
    // Every other key ends here on purpose, and so does Escape with a modifier while scanning.
    if (event->key() != Qt::Key_Escape) {
        return;
    }
    if (m_stop.IsSet()) {
        event->accept();
        close();
    } else if (event->modifiers() == Qt::NoModifier) {
        RequestStop();
        event->ignore();
    }
}
