#pragma once

#include <QStyledItemDelegate>

/// Draws the folders of the tree, with an outline round each check box: in dark palettes some
/// styles draw the box itself in nearly the colour of its background.
class FolderItemDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};
