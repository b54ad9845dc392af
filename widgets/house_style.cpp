#include "widgets/house_style.h"

#include <algorithm>
#include <cmath>

#include <QPainter>
#include <QStyleOption>

namespace {

constexpr double kOutlineContrast = 3.5;  // a little more than the least, for rounding
constexpr int kSteps = 16;
constexpr qreal kCornerRadius = 2.5;

// Linear light of one channel, as the contrast of the web's accessibility guidelines has it.
double LinearLight(double channel) {
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour) {
    return 0.2126 * LinearLight(colour.redF()) + 0.7152 * LinearLight(colour.greenF()) +
           0.0722 * LinearLight(colour.blueF());
}

int Between(int from, int to, int step) {
    return from + (to - from) * step / kSteps;
}

// Half a pixel inwards, so that a line one pixel wide covers whole pixels.
QRectF OnPixels(const QRect& rect) {
    return QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5);
}

QColor OutlineIn(const QPalette& palette, QPalette::ColorRole text, QPalette::ColorRole behind) {
    return OutlineColour(palette.color(text), palette.color(behind));
}

}  // namespace

double ContrastRatio(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({Luminance(one), Luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor OutlineColour(const QColor& text, const QColor& background) {
    for (int step = 1; step < kSteps; ++step) {
        const QColor colour(Between(background.red(), text.red(), step),
                            Between(background.green(), text.green(), step),
                            Between(background.blue(), text.blue(), step));
        if (ContrastRatio(colour, background) >= kOutlineContrast) {
            return colour;
        }
    }
    return text;
}

void HouseStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                               QPainter* painter, const QWidget* widget) const {
    QProxyStyle::drawPrimitive(element, option, painter, widget);
    const bool isInList = element == PE_IndicatorItemViewItemCheck;
    const bool isRound = element == PE_IndicatorRadioButton;
    if (!isInList && !isRound && element != PE_IndicatorCheckBox) {
        return;
    }
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setBrush(Qt::NoBrush);
    painter->setPen(isInList ? OutlineIn(option->palette, QPalette::Text, QPalette::Base)
                             : OutlineIn(option->palette, QPalette::WindowText, QPalette::Window));
    if (isRound) {
        painter->drawEllipse(OnPixels(option->rect));
    } else {
        painter->drawRoundedRect(OnPixels(option->rect), kCornerRadius, kCornerRadius);
    }
    painter->restore();
}
