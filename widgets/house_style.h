#pragma once

#include <QColor>
#include <QProxyStyle>

/// The desktop's style, with an outline round every check box and radio button, in the palette's
/// own colours: in dark palettes some styles draw the box in nearly the colour of its background.
class HouseStyle : public QProxyStyle {
    Q_OBJECT

public:
    using QProxyStyle::QProxyStyle;

    void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                       const QWidget* widget = nullptr) const override;
};

/// How far two opaque colours are apart for the eye: 1 for equal ones, 21 for black and white.
/// 3 is the least for the outline of a control to be found, 4.5 for a text to be read.
double ContrastRatio(const QColor& one, const QColor& other);

/// The colour nearest to `background` on its way to `text` that can be seen as an outline on it;
/// `text` itself when none before it can.
QColor OutlineColour(const QColor& text, const QColor& background);
