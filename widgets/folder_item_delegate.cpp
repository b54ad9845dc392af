#include "widgets/folder_item_delegate.h"

#include <QApplication>
#include <QPainter>

namespace {

constexpr int kRowPadding = 4;
constexpr qreal kCornerRadius = 2.5;
constexpr int kOutlineAlpha = 110;

// Half a pixel inwards, so that a line one pixel wide covers whole pixels.
QRectF OnPixels(const QRect& rect) {
    return QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5);
}

}  // namespace

void FolderItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                               const QModelIndex& index) const {
    QStyledItemDelegate::paint(painter, option, index);

    QStyleOptionViewItem item = option;
    initStyleOption(&item, index);
    const QStyle* style = item.widget != nullptr ? item.widget->style() : QApplication::style();

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QColor outline = item.palette.color(QPalette::Text);
    outline.setAlpha(kOutlineAlpha);
    painter->setPen(outline);
    painter->drawRoundedRect(
        OnPixels(style->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &item, item.widget)),
        kCornerRadius, kCornerRadius);
    painter->restore();
}

QSize FolderItemDelegate::sizeHint(const QStyleOptionViewItem& option,
                                   const QModelIndex& index) const {
    return QStyledItemDelegate::sizeHint(option, index) + QSize(0, kRowPadding);
}
