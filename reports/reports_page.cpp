#include "reports/reports_page.h"

#include <algorithm>
#include <unistd.h>
#include <vector>

#include <QEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>
#include <QStyle>
#include <QTreeWidget>

#include "ui_reports_page.h"

#include "common/text_field.h"
#include "reports/dlg_report.h"
#include "reports/files/current_report.h"
#include "reports/files/scheduled_removal.h"
#include "widgets/display_name.h"
#include "widgets/messages.h"
#include "widgets/name_label.h"

namespace {

enum Column { kFinished, kSubject, kReport };

// The bytes behind a column's text, which may not be UTF-8.
constexpr int kBytesRole = Qt::UserRole;

ReportKind CurrentKind() {
    return static_cast<ReportKind>(g_siRptKind);
}

void SetColumn(QTreeWidgetItem* row, Column column, const std::string& bytes) {
    const QString text = DisplayName(bytes);
    row->setText(column, text);
    if (column != kFinished) {
        row->setToolTip(column, PlainToolTip(text));
    }
    row->setData(column, kBytesRole,
                 QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

std::string ColumnBytes(const QTreeWidgetItem* row, Column column) {
    return row->data(column, kBytesRole).toByteArray().toStdString();
}

}  // namespace

ReportsPage::ReportsPage(QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::ReportsPage>()) {
    m_ui->setupUi(this);
    QTreeWidget* list = m_ui->lstReports;
    list->header()->setMinimumSectionSize(1);
    list->installEventFilter(this);
    list->viewport()->installEventFilter(this);
    connect(m_ui->cmbReports, &QComboBox::currentIndexChanged, this, &ReportsPage::KindChosen);
    connect(list, &QTreeWidget::itemDoubleClicked, this, &ReportsPage::RowDoubleClicked);
    connect(list, &QTreeWidget::itemClicked, this, &ReportsPage::RowClicked);
    connect(m_ui->btnShwRpt, &QPushButton::clicked, this, &ReportsPage::ShowClicked);
    connect(m_ui->btnDelRpt, &QPushButton::clicked, this, &ReportsPage::DeleteClicked);
    connect(list, &QTreeWidget::itemSelectionChanged, m_ui->lblHint, &QLabel::hide);
    SayWhatIsEmpty();
}

ReportsPage::~ReportsPage() = default;

QTreeWidget* ReportsPage::List() const {
    return m_ui->lstReports;
}

void ReportsPage::TakeKind() {
    g_siRptKind = static_cast<short>(m_ui->cmbReports->currentIndex());
    Fill();
}

void ReportsPage::Fill() {
    QTreeWidget* list = m_ui->lstReports;
    list->clear();
    list->setSortingEnabled(false);  // rows stay in the order of the index
    m_ui->lblHint->hide();
    const auto reports = reports::ListReports(CurrentKind(), reports::IndexCount::kNoneMeansEmpty);
    m_isReadable = reports.has_value();
    if (!reports) {
        EnableButtons();
        if (CurrentKind() != kScheduledReports) {
            ShowCritical(this, "Corvane",
                         tr("Unable to open Report File. \n Close all the application and try "
                            "again"));
        }
        return;
    }
    QList<QTreeWidgetItem*> rows;
    rows.reserve(static_cast<qsizetype>(reports->size()));
    for (const reports::ReportListing& report : *reports) {
        auto* row = new QTreeWidgetItem;
        SetColumn(row, kFinished, report.finished);
        SetColumn(row, kSubject, report.subject);
        SetColumn(row, kReport, report.report);
        rows.append(row);
    }
    list->addTopLevelItems(rows);
    EnableButtons();
    FitColumns();
    GoToNewest();
}

// Indexes are written from the oldest report to the newest.
void ReportsPage::GoToNewest() {
    QTreeWidget* list = m_ui->lstReports;
    if (QTreeWidgetItem* newest = list->topLevelItem(list->topLevelItemCount() - 1)) {
        list->setCurrentItem(newest, kFinished, QItemSelectionModel::NoUpdate);
        list->scrollToItem(newest);
    }
}

// The date and a report's name are seen whole where the page is wide enough; what was scanned takes
// the rest and is cut in its middle. Full paths of reports share that rest.
void ReportsPage::FitColumns() {
    QTreeWidget* list = m_ui->lstReports;
    QHeaderView* header = list->header();
    const int spare = 2 * (list->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1) +
                      list->fontMetrics().averageCharWidth();
    const auto wide = [&](Column column, const char* sample) {
        return std::max(header->sectionSizeHint(column),
                        list->fontMetrics().horizontalAdvance(QLatin1String(sample)) + spare);
    };
    const int all = list->viewport()->width();
    const int date = std::min(wide(kFinished, "28 Mar, 2026, 10:00:00 PM"), all / 2);
    const int name = CurrentKind() == kScheduledReports
                         ? (all - date) / 2
                         : std::min(wide(kReport, "updt0000.log"), (all - date) / 2);
    header->resizeSection(kFinished, date);
    header->resizeSection(kSubject, all - date - name);
    header->resizeSection(kReport, name);
}

void ReportsPage::ShowSelected() {
    ShowRow(SelectedRow());
}

void ReportsPage::ShowRow(const QTreeWidgetItem* row) {
    if (row == nullptr) {
        SayNothingIsSelected();
        return;
    }
    reports::SetCurrentReport(CurrentKind(), ColumnBytes(row, kReport));
    dlgReport(this).exec();
}

void ReportsPage::DeleteSelected() {
    QTreeWidgetItem* row = SelectedRow();
    if (row == nullptr) {
        SayNothingIsSelected();
        return;
    }
    if (CurrentKind() == kScheduledReports) {
        if (!DeleteScheduledReport(row)) {
            return;
        }
        SelectNeighbour(row);
        delete row;
    } else {
        SelectNeighbour(row);
        if (const auto path = reports::ReportPath(CurrentKind(), ColumnBytes(row, kReport))) {
            unlink(path->c_str());
        }
        delete row;
        RewriteIndex();
    }
    EnableButtons();
}

bool ReportsPage::DeleteScheduledReport(const QTreeWidgetItem* row) {
    if (reports::RemoveScheduledReport(ColumnBytes(row, kReport), getuid())) {
        return true;
    }
    ShowWarning(this, tr("Schedule Scan"), tr("Error in report delete."));
    return false;
}

void ReportsPage::RewriteIndex() {
    if (CurrentKind() == kScheduledReports) {
        return;  // its records hold more than the rows show
    }
    const QTreeWidget* list = m_ui->lstReports;
    std::vector<tagScanIndexEntry> entries(static_cast<std::size_t>(list->topLevelItemCount()));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const QTreeWidgetItem* row = list->topLevelItem(static_cast<int>(i));
        common::CopyToUnterminatedField(entries[i].finished, ColumnBytes(row, kFinished));
        common::CopyToUnterminatedField(entries[i].subject, ColumnBytes(row, kSubject));
        common::CopyToUnterminatedField(entries[i].reportName, ColumnBytes(row, kReport));
    }
    if (!reports::RewriteReportIndex(reports::ReportIndexPath(CurrentKind()).c_str(), entries)) {
        ShowCritical(this, "Corvane",
                     tr("Unable to open Report File. \n Close all the application and try again"));
    }
}

QTreeWidgetItem* ReportsPage::SelectedRow() const {
    const QList<QTreeWidgetItem*> selected = m_ui->lstReports->selectedItems();
    return selected.isEmpty() ? nullptr : selected.first();
}

void ReportsPage::SelectNeighbour(const QTreeWidgetItem* row) {
    QTreeWidget* list = m_ui->lstReports;
    QTreeWidgetItem* neighbour = list->itemBelow(row);
    if (neighbour == nullptr) {
        neighbour = list->itemAbove(row);
    }
    list->setCurrentItem(neighbour);
}

void ReportsPage::EnableButtons() {
    const bool hasReports = m_ui->lstReports->topLevelItemCount() != 0;
    m_ui->btnDelRpt->setEnabled(hasReports);
    m_ui->btnShwRpt->setEnabled(hasReports);
    SayWhatIsEmpty();
}

void ReportsPage::SayWhatIsEmpty() {
    const bool isEmpty = m_ui->lstReports->topLevelItemCount() == 0;
    m_ui->listOrEmpty->setCurrentWidget(isEmpty ? static_cast<QWidget*>(m_ui->pageEmpty)
                                                : m_ui->lstReports);
    if (!m_isReadable) {
        m_ui->lblEmpty->setText(tr("The list of these reports cannot be read."));
        return;
    }
    switch (CurrentKind()) {
        case kUpdateReports:
            m_ui->lblEmpty->setText(
                tr("No update reports yet.\nEvery update of the virus database leaves one here."));
            break;
        case kScheduledReports:
            m_ui->lblEmpty->setText(
                tr("No reports of scheduled scans yet.\nEvery scheduled scan leaves one here."));
            break;
        default:
            m_ui->lblEmpty->setText(
                tr("No scan reports yet.\nScan a file or a folder: its report will be here."));
            break;
    }
}

void ReportsPage::SayNothingIsSelected() {
    if (m_ui->lstReports->topLevelItemCount() != 0) {
        m_ui->lblHint->setText(tr("Select a report in the list first."));
        m_ui->lblHint->show();
    }
}

// Return shows the report that the keys have reached, selected or not.
bool ReportsPage::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_ui->lstReports->viewport() && event->type() == QEvent::Resize) {
        FitColumns();
    }
    QTreeWidgetItem* current = m_ui->lstReports->currentItem();
    if (watched == m_ui->lstReports && event->type() == QEvent::KeyPress && current != nullptr) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) {
            m_ui->lstReports->setCurrentItem(current);
            emit RowDoubleClicked(current, kFinished);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void ReportsPage::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        m_ui->retranslateUi(this);
        m_ui->lblHint->hide();
        SayWhatIsEmpty();
        FitColumns();
    }
    QWidget::changeEvent(event);
}
