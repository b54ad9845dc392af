#include "widgets/folder_item_delegate.h"

namespace {

constexpr int kRowPadding = 4;

}  // namespace

QSize FolderItemDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    return QStyledItemDelegate::sizeHint(option, index) + QSize(0, kRowPadding);
}
