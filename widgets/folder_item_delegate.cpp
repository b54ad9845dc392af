#include "widgets/folder_item_delegate.h"

#include "widgets/ticked_folders.h"

namespace {

constexpr int kRowPadding = 4;
constexpr QChar kEnDash(0x2013);

}  // namespace

void FolderItemDelegate::initStyleOption(QStyleOptionViewItem* option,
                                         const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    const QString note = index.data(kTickedInsideRole).toString();
    if (!note.isEmpty()) {
        option->text += QStringLiteral("  ") + kEnDash + QStringLiteral("  ") + note;
        option->font.setBold(true);
        option->fontMetrics = QFontMetrics(option->font);
    }
}

QSize FolderItemDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    return QStyledItemDelegate::sizeHint(option, index) + QSize(0, kRowPadding);
}
