#include "app/nav_button.h"

#include <QPainter>
#include <QStyleOptionToolButton>
#include <QStylePainter>

namespace {

constexpr int kMarkWidth = 4;
constexpr int kMarkRoom = 10;  // the mark and the gap behind it
constexpr int kPadding = 8;
constexpr int kRounding = 6;

}  // namespace

NavButton::NavButton(QWidget* parent) : QToolButton(parent) {
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setAutoRaise(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

QSize NavButton::sizeHint() const {
    return QToolButton::sizeHint() + QSize(kMarkRoom + kPadding, kPadding);
}

void NavButton::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);

    if (isChecked()) {
        painter.setRenderHint(QPainter::Antialiasing);
        QColor wash = palette().color(QPalette::Highlight);
        painter.setPen(Qt::NoPen);
        painter.setBrush(wash);
        painter.drawRoundedRect(QRect(0, height() / 5, kMarkWidth, height() - 2 * (height() / 5)),
                                kMarkWidth / 2.0, kMarkWidth / 2.0);
        wash.setAlphaF(0.16F);
        painter.setBrush(wash);
        painter.drawRoundedRect(rect().adjusted(kMarkRoom - kPadding / 2, 0, 0, 0), kRounding,
                                kRounding);
        // The mark says it all: the style need not draw the button pressed as well.
        option.state &= ~(QStyle::State_On | QStyle::State_Sunken);
    }
    option.rect = rect().adjusted(kMarkRoom, 0, 0, 0);
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
}
