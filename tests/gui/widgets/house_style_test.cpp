// The outlines of check boxes, and how colours are told apart.
#include "widgets/house_style.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QRadioButton>

#include "tests/support/rendered_box.h"

namespace {

TEST(Contrast, IsThatOfTheAccessibilityGuidelines) {
    EXPECT_DOUBLE_EQ(ContrastRatio(Qt::black, Qt::white), 21);
    EXPECT_DOUBLE_EQ(ContrastRatio(Qt::white, Qt::black), 21);
    EXPECT_DOUBLE_EQ(ContrastRatio(QColor(77, 77, 77), QColor(77, 77, 77)), 1);
    // Known pairs: the lightest grey that a text on white may have is #767676, at 4.54.
    EXPECT_NEAR(ContrastRatio(QColor(0x76, 0x76, 0x76), Qt::white), 4.54, 0.01);
    EXPECT_NEAR(ContrastRatio(QColor(255, 0, 0), Qt::white), 4.00, 0.01);
    EXPECT_NEAR(ContrastRatio(QColor(0, 0, 255), Qt::white), 8.59, 0.01);
}

TEST(Outline, IsAsQuietAsItMayBe) {
    const struct {
        QColor text;
        QColor background;
    } kPairs[] = {{Qt::black, Qt::white},
                  {Qt::white, Qt::black},
                  {Qt::white, QColor(53, 53, 53)},
                  {QColor(170, 178, 191), QColor(24, 26, 32)}};
    for (const auto& pair : kPairs) {
        const QColor outline = OutlineColour(pair.text, pair.background);
        EXPECT_GE(ContrastRatio(outline, pair.background), 3.0);
        EXPECT_LE(ContrastRatio(outline, pair.background), 6.0);
    }
}

TEST(Outline, IsTheTextItselfWhereThatIsHardToSeeAlready) {
    const QColor text(120, 120, 120);
    EXPECT_EQ(OutlineColour(text, QColor(90, 90, 90)), text);
}

TEST(HouseStyle, OutlinesWhatCanBeTickedInEveryPalette) {
    HouseStyle style;
    QWidget window;
    auto* box = new QCheckBox(QStringLiteral("box"), &window);
    auto* radio = new QRadioButton(QStringLiteral("radio"), &window);
    for (const QPalette& palette : {LightPalette(), DarkPalette(), DimPalette()}) {
        for (QAbstractButton* button :
             {static_cast<QAbstractButton*>(box), static_cast<QAbstractButton*>(radio)}) {
            button->setStyle(&style);
            for (const bool isTicked : {false, true}) {
                window.setPalette(palette);
                button->setChecked(isTicked);
                button->resize(button->sizeHint());
                const QImage picture = button->grab().toImage();
                const QColor behind = palette.color(QPalette::Window);
                EXPECT_GE(EdgeContrast(picture, IndicatorOf(*button), behind, ContrastRatio), 3.0)
                    << button->text().toStdString() << " on " << behind.name().toStdString();
            }
        }
    }
}

}  // namespace
