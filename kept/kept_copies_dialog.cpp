#include "kept/kept_copies_dialog.h"

#include <algorithm>
#include <utility>

#include <QDateTime>
#include <QHeaderView>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QPushButton>
#include <QTreeWidget>

#include "ui_kept_copies_dialog.h"

#include "widgets/messages.h"
#include "widgets/moments.h"
#include "widgets/name_label.h"

namespace {

enum Column { kPath, kVirus, kKept, kSize, kOwner };

constexpr int kItemRole = Qt::UserRole;       // of the first column: the item's name
constexpr int kReadableRole = kItemRole + 1;  // of the first column: whether it can be brought back

// A question names this many files.
constexpr qsizetype kMostNamed = 10;

}  // namespace

KeptCopiesDialog::KeptCopiesDialog(QWidget* parent, const QString& program)
    : QDialog(parent), m_ui(std::make_unique<Ui::KeptCopiesDialog>()), m_command(nullptr, program) {
    m_ui->setupUi(this);
    // Names share what dates, sizes and owners leave them.
    QHeaderView* header = m_ui->lstKept->header();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(kPath, QHeaderView::Stretch);
    header->setSectionResizeMode(kVirus, QHeaderView::Interactive);
    header->resizeSection(kVirus, width() / 4);
    connect(&m_command, &VaultCommand::Finished, this, &KeptCopiesDialog::Take);
    connect(m_ui->edtSearch, &QLineEdit::textChanged, this, &KeptCopiesDialog::Filter);
    connect(m_ui->lstKept, &QTreeWidget::itemSelectionChanged, this,
            &KeptCopiesDialog::EnableButtons);
    connect(m_ui->btnRestore, &QPushButton::clicked, this, &KeptCopiesDialog::RestoreSelected);
    connect(m_ui->btnRemove, &QPushButton::clicked, this, &KeptCopiesDialog::RemoveSelected);
    connect(m_ui->btnClose, &QPushButton::clicked, this, &QDialog::accept);
    Refresh();
}

KeptCopiesDialog::~KeptCopiesDialog() = default;

void KeptCopiesDialog::Refresh() {
    Start(Step::kList, {QStringLiteral("list"), QStringLiteral("--json")});
}

void KeptCopiesDialog::Start(Step step, const QStringList& arguments) {
    if (m_command.IsRunning()) {
        return;
    }
    m_step = step;
    Say(tr("One moment..."));
    m_command.Start(arguments);
    EnableButtons();
}

// While something is brought back or deleted the window stays: it tells how that went.
void KeptCopiesDialog::done(int result) {
    if (!m_command.IsRunning() || m_step == Step::kList) {
        QDialog::done(result);
    }
}

void KeptCopiesDialog::Take(const VaultCommand::Result& result) {
    const Step step = std::exchange(m_step, Step::kNone);
    if (step == Step::kList) {
        Fill(result.output);
        SayHowMany();
    } else if (step == Step::kRestore && !result.output.isEmpty()) {
        ShowInformation(this, tr("Kept copies"),
                        tr("Brought back:\n%1").arg(QString::fromUtf8(result.output).trimmed()));
    }
    if (!result.problem.isEmpty()) {
        ShowWarning(this, tr("Kept copies"), result.problem);
    }
    if (step != Step::kList) {
        Refresh();
        return;
    }
    EnableButtons();
    emit Settled();
}

// ---- The list

void KeptCopiesDialog::Fill(const QByteArray& lines) {
    QList<QTreeWidgetItem*> rows;
    for (const QByteArray& line : lines.split('\n')) {
        AddRow(line, rows);
    }
    std::reverse(rows.begin(), rows.end());  // the newest first
    m_ui->lstKept->clear();
    m_ui->lstKept->addTopLevelItems(rows);
    m_ui->lstKept->setCurrentItem(m_ui->lstKept->topLevelItem(0), kPath,
                                  QItemSelectionModel::NoUpdate);
    Filter();
}

void KeptCopiesDialog::AddRow(const QByteArray& line, QList<QTreeWidgetItem*>& rows) const {
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    const QString item = object.value(QStringLiteral("item")).toString();
    if (item.isEmpty()) {
        return;
    }
    const QString problem = object.value(QStringLiteral("problem")).toString();
    auto* row = new QTreeWidgetItem;
    row->setData(kPath, kItemRole, item);
    row->setData(kPath, kReadableRole, problem.isEmpty());
    row->setText(kPath, problem.isEmpty() ? object.value(QStringLiteral("path")).toString()
                                          : tr("Cannot be read: %1").arg(problem));
    row->setText(kVirus, object.value(QStringLiteral("virus")).toString());
    row->setText(kKept, Moments::Minute(QDateTime::fromSecsSinceEpoch(
                            object.value(QStringLiteral("kept")).toInteger())));
    if (problem.isEmpty()) {
        row->setText(kSize,
                     QLocale().formattedDataSize(object.value(QStringLiteral("size")).toInteger()));
    }
    row->setText(kOwner, object.value(QStringLiteral("owner")).toString());
    for (const Column column : {kPath, kVirus}) {
        row->setToolTip(column, PlainToolTip(row->text(column)));
    }
    rows.append(row);
}

void KeptCopiesDialog::Filter() {
    const QString wanted = m_ui->edtSearch->text();
    for (int i = 0; i < m_ui->lstKept->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = m_ui->lstKept->topLevelItem(i);
        const bool isFound = row->text(kPath).contains(wanted, Qt::CaseInsensitive) ||
                             row->text(kVirus).contains(wanted, Qt::CaseInsensitive);
        row->setHidden(!isFound);
        // What cannot be seen is not brought back or deleted.
        row->setSelected(row->isSelected() && isFound);
    }
}

void KeptCopiesDialog::Say(const QString& text) {
    m_ui->lblState->setText(text);
}

void KeptCopiesDialog::SayHowMany() {
    const int count = m_ui->lstKept->topLevelItemCount();
    Say(count == 0 ? tr("Nothing is kept. Before an infected file is deleted, a copy of it is kept "
                        "here.")
                   : tr("%n file(s) kept", "", count));
}

// ---- What is done with them

QList<QTreeWidgetItem*> KeptCopiesDialog::Selected() const {
    return m_ui->lstKept->selectedItems();
}

QStringList KeptCopiesDialog::SelectedItems() const {
    QStringList items;
    for (const QTreeWidgetItem* row : Selected()) {
        items << row->data(kPath, kItemRole).toString();
    }
    return items;
}

void KeptCopiesDialog::EnableButtons() {
    const QList<QTreeWidgetItem*> rows = Selected();
    const bool isFree = !m_command.IsRunning() && !rows.isEmpty();
    m_ui->btnRemove->setEnabled(isFree);
    m_ui->btnRestore->setEnabled(
        isFree && std::all_of(rows.begin(), rows.end(), [](const QTreeWidgetItem* row) {
            return row->data(kPath, kReadableRole).toBool();
        }));
}

void KeptCopiesDialog::RestoreSelected() {
    if (AskYesNo(
            this, windowTitle(),
            tr("These files were called infected. Do you want to bring them back to where they "
               "were?\n\n%1")
                .arg(Named()))) {
        Start(Step::kRestore, QStringList{QStringLiteral("restore")} + SelectedItems());
    }
}

void KeptCopiesDialog::RemoveSelected() {
    if (AskYesNo(this, tr("Kept copies"),
                 tr("Do you want to delete these files for good? They cannot be brought back "
                    "then.\n\n%1")
                     .arg(Named()))) {
        Start(Step::kRemove,
              QStringList{QStringLiteral("empty"), QStringLiteral("--yes")} + SelectedItems());
    }
}

QString KeptCopiesDialog::Named() const {
    const QList<QTreeWidgetItem*> rows = Selected();
    QStringList names;
    for (const QTreeWidgetItem* row : rows.mid(0, kMostNamed)) {
        names << row->text(kPath);
    }
    if (rows.size() > kMostNamed) {
        names << tr("and %n more", "", static_cast<int>(rows.size() - kMostNamed));
    }
    return names.join(u'\n');
}
