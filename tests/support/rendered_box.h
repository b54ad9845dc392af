#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QImage>
#include <QPalette>
#include <QStyleOptionButton>
#include <QWidget>

/// Palettes of desktops, light, dark and one of low contrast.
inline QPalette PaletteOf(const QColor& window, const QColor& base, const QColor& text) {
    QPalette palette(window);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::Base, base);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, text);
    }
    return palette;
}
inline QPalette LightPalette() {
    return PaletteOf(QColor(239, 239, 239), Qt::white, Qt::black);
}
inline QPalette DarkPalette() {
    return PaletteOf(QColor(53, 53, 53), QColor(35, 35, 35), Qt::white);
}
inline QPalette DimPalette() {
    return PaletteOf(QColor(30, 34, 42), QColor(24, 26, 32), QColor(170, 178, 191));
}

/// Where the box of a check box lies in it.
inline QRect IndicatorOf(const QAbstractButton& button) {
    QStyleOptionButton option;
    option.initFrom(&button);
    option.text = button.text();
    return button.style()->subElementRect(QStyle::SE_CheckBoxIndicator, &option, &button);
}

/// The contrast of a box's left and right edge, half way down, with `background`: the lesser of
/// the two. `contrast` compares two colours.
template <typename Contrast>
double EdgeContrast(const QImage& picture, const QRect& box, const QColor& background,
                    Contrast contrast) {
    const qreal ratio = picture.devicePixelRatio();
    const auto at = [&](int x) {
        return contrast(picture.pixelColor(static_cast<int>(x * ratio),
                                           static_cast<int>(box.center().y() * ratio)),
                        background);
    };
    return std::min(at(box.left()), at(box.right()));
}
