#include "reports/dlg_report.h"

#include <algorithm>

#include <QEvent>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressDialog>
#include <QShortcut>

#include "ui_dlg_report.h"

#include "common/text_field.h"
#include "reports/files/current_report.h"
#include "reports/files/save_copy.h"
#include "reports/find_bar.h"
#include "reports/report_printer.h"
#include "widgets/display_name.h"
#include "widgets/messages.h"
#include "widgets/name_label.h"
#include "widgets/whats_this_key.h"

namespace {

// A name that was chosen, with what could mislead made visible.
QString ShownName(const QString& fileName) {
    return DisplayName(QFile::encodeName(fileName).toStdString());
}

}  // namespace

dlgReport::dlgReport(QWidget* parent)
    : QDialog(parent),
      m_ui(std::make_unique<Ui::dlgReport>()),
      m_kind(static_cast<ReportKind>(g_siRptKind)) {
    m_ui->setupUi(this);
    ExplainOnF1(*this);
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    m_findBar = new FindBar(m_ui->edtViewRpt, this);
    m_ui->layout->insertWidget(m_ui->layout->indexOf(m_ui->edtViewRpt) + 1, m_findBar);
    m_findBar->TabBetween(m_ui->edtViewRpt, m_ui->btnPrev);
    connect(m_ui->btnPrev, &QPushButton::clicked, this, &dlgReport::OnPrevClick);
    connect(m_ui->btnNext, &QPushButton::clicked, this, &dlgReport::OnNextClick);
    connect(m_ui->btnPrint, &QPushButton::clicked, this, &dlgReport::OnPrint);
    connect(m_ui->btnRptSavAs, &QPushButton::clicked, this, &dlgReport::OnSavAsClick);
    connect(m_ui->btnRptClose, &QPushButton::clicked, this, &dlgReport::OnRptCloseClick);
    AddShortcuts();
    init();
}

dlgReport::~dlgReport() {
    destroy();
}

void dlgReport::AddShortcuts() {
    const auto add = [this](const QKeySequence& keys, void (FindBar::*act)()) {
        connect(new QShortcut(keys, this), &QShortcut::activated, m_findBar, act);
    };
    add(QKeySequence(Qt::CTRL | Qt::Key_F), &FindBar::Open);
    add(QKeySequence(Qt::Key_F3), &FindBar::FindNext);
    add(QKeySequence(Qt::SHIFT | Qt::Key_F3), &FindBar::FindPrevious);
}

void dlgReport::init() {
    m_printer = std::make_unique<QPrinter>();
    // The page has looked at the index's count; the steps go by the records themselves.
    if (auto listed = reports::ListReports(m_kind, reports::IndexCount::kIgnored)) {
        m_reports = std::move(*listed);
        FindCurrentReport();
    } else if (m_kind != kScheduledReports) {
        ShowCritical(this, "Corvane", tr("Unable to open report file"));
    }
    ShowStepsPossible();
    setModal(true);
    DisplayReport();
    m_ui->edtViewRpt->setFocus();
}

void dlgReport::destroy() {
    m_reports.clear();
    m_printer.reset();
}

// The report may be in none of the lists, as after its index was rewritten: it is shown all the
// same.
void dlgReport::FindCurrentReport() {
    const auto found = std::find_if(m_reports.begin(), m_reports.end(), [](const auto& listing) {
        return listing.report == common::FieldText(g_szRptName);
    });
    m_current = found == m_reports.end() ? -1 : found - m_reports.begin();
}

bool dlgReport::CanStep(int direction) const {
    const std::ptrdiff_t target = m_current + direction;
    return m_current >= 0 && target >= 0 && target < static_cast<std::ptrdiff_t>(m_reports.size());
}

void dlgReport::ShowStepsPossible() {
    m_ui->btnPrev->setEnabled(CanStep(-1));
    m_ui->btnNext->setEnabled(CanStep(1));
}

bool dlgReport::DisplayReport() {
    auto text = reports::ReadReportText(std::string(common::FieldText(g_szRptPath)));
    if (!text) {
        ShowCritical(this, "Corvane Scan", tr("Unable to open report file"));
        return false;
    }
    m_ui->edtViewRpt->SetReport(std::move(*text));
    m_findBar->ReportChanged();
    ShowName();
    return true;
}

void dlgReport::ShowName() {
    const std::string_view path = common::FieldText(g_szRptPath);
    m_ui->lblReport->setText(DisplayName(path.substr(path.rfind('/') + 1)));
    m_ui->lblReport->setToolTip(PlainToolTip(DisplayName(path)));
}

void dlgReport::OnNextClick() {
    Step(1);
}

void dlgReport::OnPrevClick() {
    Step(-1);
}

// Passes over reports that cannot be read, to the next readable one or the end of the list.
void dlgReport::Step(int direction) {
    while (CanStep(direction)) {
        m_current += direction;
        ShowStepsPossible();
        reports::SetCurrentReport(m_kind, m_reports[static_cast<std::size_t>(m_current)].report);
        if (DisplayReport()) {
            return;
        }
    }
}

void dlgReport::OnPrint() {
    QPrintDialog dialog(m_printer.get(), this);
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    QProgressDialog waiting(tr("Printing the report ..."), tr("Cancel"), 0, 1000, this);
    waiting.setWindowTitle(windowTitle());
    waiting.setWindowModality(Qt::WindowModal);
    waiting.setMinimumDuration(300);  // milliseconds; a few pages are printed before that
    const auto progress = [&waiting](int done) {
        waiting.setValue(done);  // lets the window answer, too
        return !waiting.wasCanceled();
    };
    const PrintResult result =
        PrintReport(*m_printer, m_ui->edtViewRpt->Report(), m_ui->lblReport->text(),
                    m_ui->edtViewRpt->font(), progress);
    waiting.reset();
    if (result == PrintResult::kFailed) {
        ShowCritical(this, "Corvane",
                     tr("Unable to print the report.\nCheck the printer, or the room for the file "
                        "that is printed to."));
    }
}

QString dlgReport::ProposedFileName() const {
    switch (m_kind) {
        case kUpdateReports:
            return QStringLiteral("/home/Update Report.txt");
        case kScheduledReports:
            return QStringLiteral("/home/Schedule Report.txt");
        default:
            return QStringLiteral("/home/Scan Report.txt");
    }
}

void dlgReport::OnSavAsClick() {
    while (true) {
        // The question about an existing file is our own, with our own words.
        const QString fileName = QFileDialog::getSaveFileName(
            this, tr("Save As"), ProposedFileName(), tr("All Files (*)"), nullptr,
            QFileDialog::DontConfirmOverwrite);
        if (fileName.isEmpty()) {
            return;
        }
        if (QFileInfo::exists(fileName) &&
            !AskYesNo(
                this, "Corvane",
                tr("The File ' %1 ' already exists.\nDo you want to replace the existing file?")
                    .arg(ShownName(fileName)))) {
            continue;
        }
        if (SaveReport(fileName)) {
            return;
        }
    }
}

bool dlgReport::SaveReport(const QString& fileName) {
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const reports::SaveOutcome outcome = reports::SaveCopy(
        QFile::encodeName(fileName).toStdString(), m_ui->edtViewRpt->Report().Bytes());
    QGuiApplication::restoreOverrideCursor();
    if (outcome.kind == reports::SaveOutcome::kSaved) {
        return true;
    }
    QString reason = outcome.kind == reports::SaveOutcome::kNotRegular
                         ? tr("It is not a file that can hold a text.")
                         : qt_error_string(outcome.error);
    if (outcome.kind == reports::SaveOutcome::kLostOldBytes) {
        reason += '\n' + tr("What the file held before is lost.");
    }
    ShowCritical(this, "Corvane",
                 tr("Unable to save the report as ' %1 '.\n%2").arg(ShownName(fileName), reason));
    return false;
}

void dlgReport::OnRptCloseClick() {
    close();
}

void dlgReport::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
    }
    QDialog::changeEvent(event);
}
