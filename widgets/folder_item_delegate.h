#pragma once

#include <QStyledItemDelegate>

/// Draws the folders of the tree with room between the rows.
class FolderItemDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
