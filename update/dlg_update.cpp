#include "update/dlg_update.h"

#include <new>
#include <string_view>

#include <QCloseEvent>
#include <QKeyEvent>

#include "ui_dlg_update.h"

#include "common/exception_log.h"
#include "common/text_field.h"
#include "update/run/start_log.h"
#include "update/upd_thrd.h"
#include "widgets/display_name.h"
#include "widgets/name_label.h"
#include "widgets/whats_this_key.h"

namespace {

constexpr std::string_view kNamePrefix = "Downloading \t";
constexpr std::size_t kMaxStatus = 255;  // bytes
constexpr std::size_t kMaxNameInStatus = kMaxStatus - kNamePrefix.size();

/// As much of `text` as fits into `size` bytes, less the character that the cut goes through.
std::string_view CutBetweenCharacters(std::string_view text, std::size_t size) {
    constexpr std::size_t kMaxContinuation = 3;
    if (text.size() <= size) {
        return text;
    }
    const auto isContinuation = [text](std::size_t index) {
        return (static_cast<unsigned char>(text[index]) & 0xC0U) == 0x80U;
    };
    std::size_t end = size;
    while (size - end < kMaxContinuation && isContinuation(end)) {
        --end;
    }
    // Bytes that are no text are cut where the room ends.
    return text.substr(0, isContinuation(end) ? size : end);
}

QString NameStatus(const tagUPDATEINFO& info) {
    return QString::fromLatin1(kNamePrefix.data(), kNamePrefix.size()) +
           DisplayName(CutBetweenCharacters(common::FieldText(info.fileName), kMaxNameInStatus));
}

}  // namespace

dlgUpdate::dlgUpdate(QWidget* parent, const char* name, bool modal, Qt::WindowFlags flags)
    : UpdateDialog(parent, flags), m_ui(std::make_unique<Ui::dlgUpdate>()) {
    m_ui->setupUi(this);
    ExplainOnF1(*this);
    if (name != nullptr) {
        setObjectName(QString::fromUtf8(name));
    }
    setModal(modal);
    connect(m_ui->btnStop, &QPushButton::clicked, this, &dlgUpdate::OnStopClick);
}

dlgUpdate::~dlgUpdate() {
    destroy();
}

void dlgUpdate::destroy() {
    if (m_thread != nullptr) {
        Run().Stop();   // should it still run
        CloseEvents();  // nobody takes what it still tells
        m_thread->Join();
        m_thread.reset();
    }
}

int dlgUpdate::Myexec() {
    try {
        m_thread = std::make_unique<UpdThrd>(this);
    } catch (const std::bad_alloc&) {
        common::LogException("dlgUpdate::Myexec()");
        return -1;
    }
    connect(m_thread.get(), &QThread::finished, this, &dlgUpdate::EndIfSilent);
    m_ui->btnStop->setFocus();
    m_thread->start();
    if (!m_thread->isRunning() && !m_thread->isFinished()) {
        // Nothing would ever close the dialog.
        update::LogUpdateStart("In dlgUpdate::Myexec(): the thread of the update was not started");
        m_thread.reset();
        return -1;
    }
    const int result = exec();
    // The program may be quitting, which no event loop outlasts.
    destroy();
    return result;
}

void dlgUpdate::stop() {
    End(Accepted);
}

void dlgUpdate::End(int result) {
    if (m_thread != nullptr) {
        m_thread->Join();
    }
    done(result);
}

void dlgUpdate::EndIfSilent() {
    if (Run().IsSilent() && Run().IsStopped()) {
        Run().State().outcome = kUpdaterInterrupted;
        End(Rejected);
    }
}

void dlgUpdate::OnStopClick() {
    Run().Stop();
    EndIfSilent();
}

void dlgUpdate::customEvent(QEvent* event) {
    const ZqEvent* step = AsZqEvent(event, kEvtUpdateFinished, kEvtUpdateFromPath);
    if (step == nullptr) {
        return;
    }
    const auto told = static_cast<UpdateEvent>(step->type());
    switch (told) {
        case kEvtUpdateFinished:
            stop();
            break;
        case kEvtUpdateNotStarted:
            End(Rejected);
            break;
        case kEvtUpdateUnshown:
            break;
        default:
            ShowStatus(told);
            break;
    }
}

void dlgUpdate::ShowStatus(UpdateEvent event) {
    m_shown = event;
    const QString text = TextOf(event);
    m_ui->statusLabel->setText(text);
    m_ui->statusLabel->setToolTip(event == kEvtUpdateLoadingNamedFile ? PlainToolTip(text)
                                                                      : QString());
}

QString dlgUpdate::TextOf(UpdateEvent event) {
    // Spelt as they are known by.
    switch (event) {
        case kEvtUpdateConnecting:
            return tr("Connecting to Corvane Internet Centre");
        case kEvtUpdateLoadingFiles:
            return tr("Downloading update files");
        case kEvtUpdateLoadingIndex:
            return tr("Downloding index files");
        case kEvtUpdateProcessingFailed:
            return tr("Dat files Processing errors");
        case kEvtUpdateLoadingDefinitions:
            return tr("Downloading Dat files.");
        case kEvtUpdateInstalling:
            return tr("Updating Corvane Engine");
        case kEvtUpdateLoadingNamedFile:
            return NameStatus(Run().LastInfo());
        case kEvtUpdateFromPath:
            return QStringLiteral("Please wait while Rapid Update retrieves updates.");
        default:
            return {};
    }
}

void dlgUpdate::languageChange() {
    m_ui->retranslateUi(this);
    if (m_shown.has_value()) {
        ShowStatus(*m_shown);
    }
}

void dlgUpdate::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        languageChange();
    }
    UpdateDialog::changeEvent(event);
}

void dlgUpdate::closeEvent(QCloseEvent* event) {
    event->ignore();
}

void dlgUpdate::keyPressEvent(QKeyEvent* event) {
    // Every key ends here on purpose: none of them closes the dialog.
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        event->ignore();
    }
}
