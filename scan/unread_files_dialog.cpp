#include "scan/unread_files_dialog.h"

#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>

#include "ui_unread_files_dialog.h"

#include "widgets/display_name.h"
#include "widgets/name_label.h"
#include "widgets/whats_this_key.h"

namespace {

enum Column { kFile, kReason };

}  // namespace

UnreadFilesDialog::UnreadFilesDialog(const scan::UnreadFiles& files, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<Ui::UnreadFilesDialog>()) {
    m_ui->setupUi(this);
    ExplainOnF1(*this);
    Explain(files);
    Fill(files);
    m_ui->lstUnread->header()->resizeSection(kFile, width() / 2);
    connect(m_ui->btnCopy, &QPushButton::clicked, this, &UnreadFilesDialog::CopyAll);
    connect(m_ui->btnClose, &QPushButton::clicked, this, &QDialog::accept);
}

UnreadFilesDialog::~UnreadFilesDialog() = default;

void UnreadFilesDialog::Explain(const scan::UnreadFiles& files) {
    QString text =
        tr("Nothing is known about these files: they were not read, or not to their end.");
    if (files.Count() > files.Known().size()) {
        text += u' ' +
                tr("The first %1 of %2 are listed.").arg(files.Known().size()).arg(files.Count());
    }
    m_ui->lblExplanation->setText(text);
}

void UnreadFilesDialog::Fill(const scan::UnreadFiles& files) {
    QList<QTreeWidgetItem*> rows;
    rows.reserve(static_cast<qsizetype>(files.Known().size()));
    for (const scan::UnreadFile& file : files.Known()) {
        auto* row = new QTreeWidgetItem({DisplayName(file.path), DisplayName(file.reason)});
        row->setToolTip(kFile, PlainToolTip(row->text(kFile)));
        row->setToolTip(kReason, PlainToolTip(row->text(kReason)));
        rows.append(row);
    }
    m_ui->lstUnread->addTopLevelItems(rows);
    m_ui->lstUnread->setCurrentItem(m_ui->lstUnread->topLevelItem(0));
}

void UnreadFilesDialog::CopyAll() const {
    QString all;
    for (int i = 0; i < m_ui->lstUnread->topLevelItemCount(); ++i) {
        const QTreeWidgetItem* row = m_ui->lstUnread->topLevelItem(i);
        all += row->text(kFile) + u'\t' + row->text(kReason) + u'\n';
    }
    QApplication::clipboard()->setText(all);
}
