#include "app/nav_button.h"

#include <QPainter>
#include <QStyleOptionToolButton>
#include <QStylePainter>

namespace {

constexpr int kMarkWidth = 4;
constexpr int kRounding = 6;

}  // namespace

NavButton::NavButton(QWidget* parent) : QToolButton(parent) {
    setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    setAutoRaise(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
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
        painter.drawRoundedRect(rect().adjusted(kMarkWidth + 2, 0, 0, 0), kRounding, kRounding);
        // The mark says it all: the style need not draw the button pressed as well.
        option.state &= ~(QStyle::State_On | QStyle::State_Sunken);
    }
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
}
