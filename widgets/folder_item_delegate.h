#pragma once

#include <QStyledItemDelegate>

/// Draws the folders of the tree: with room between the rows, and behind the name of a closed
/// folder what is ticked inside it.
class FolderItemDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};
