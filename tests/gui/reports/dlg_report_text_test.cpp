#include <algorithm>
#include <cmath>
#include <string>

#include <QColor>
#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>

#include "tests/gui/reports/dlg_report_fixture.h"

// How the viewer shows a report: as plain text, from its top, with marks.

namespace {

TEST_F(DlgReportTest, AReportIsPlainTextWhateverItHolds) {
    OpenText("<img src=\"/etc/passwd\"><b>bold</b>\nsecond");
    EXPECT_EQ(Shown(), "<img src=\"/etc/passwd\"><b>bold</b>\nsecond");
    EXPECT_EQ(View()->document()->blockCount(), 2);
}

TEST_F(DlgReportTest, StartsAtTheTop) {
    std::string text;
    for (int i = 0; i < 500; ++i) {
        text += "line\n";
    }
    OpenText(text);
    EXPECT_EQ(View()->textCursor().position(), 0);
    EXPECT_EQ(View()->verticalScrollBar()->value(), 0);
}

TEST_F(DlgReportTest, ItsColumnsLineUp) {
    OpenText("Total Files Scanned   = 1\nTotal I/O Errors      = 2");
    const QFontMetrics metrics(View()->font());
    EXPECT_EQ(metrics.horizontalAdvance("iiii"), metrics.horizontalAdvance("MMMM"));
}

TEST_F(DlgReportTest, NamesItsReportAndCanBeMaximised) {
    OpenMiddle();
    EXPECT_EQ(Find<QLabel>("lblReport")->text(), "b.log");
    EXPECT_NE(Find<QLabel>("lblReport")
                  ->toolTip()
                  .indexOf(QString::fromStdString(m_folder / "reports/b.log")),
              -1);
    Find("btnNext")->click();
    EXPECT_EQ(Find<QLabel>("lblReport")->text(), "c.log");
    EXPECT_TRUE(m_dialog->windowFlags().testFlag(Qt::WindowMaximizeButtonHint));
    EXPECT_EQ(m_dialog->windowTitle(), "Corvane Scan Report");
}

TEST_F(DlgReportTest, ANameIsNoMarkupAndDoesNotWidenTheWindow) {
    const std::string name = "<b>" + std::string(40, 'n') + ".log";
    WriteIndex({{"d", "s", name}});
    WriteReport(name, "x");
    Open(name);
    EXPECT_EQ(Find<QLabel>("lblReport")->text(), QString::fromStdString(name));
    EXPECT_EQ(Find<QLabel>("lblReport")->textFormat(), Qt::PlainText);
    EXPECT_NE(Find<QLabel>("lblReport")->toolTip().indexOf("&lt;b&gt;"), -1);
    EXPECT_EQ(Find<QLabel>("lblReport")->sizePolicy().horizontalPolicy(), QSizePolicy::Ignored);
}

TEST_F(DlgReportTest, MarksTheLinesAReaderLooksFor) {
    OpenText(
        "Scanning: /x\nInfected: EICAR\n[Deleted]\n[Repaired]\n[Skipped]\n[Access denied]\n"
        " Infected: not at the start\nplain");
    const auto marked = [&](int line) {
        const auto formats = View()->document()->findBlockByNumber(line).layout()->formats();
        return formats.isEmpty() ? QTextCharFormat() : formats.first().format;
    };
    for (const int line : {1, 2, 3, 4, 5}) {
        EXPECT_EQ(marked(line).fontWeight(), QFont::Bold) << line;
        EXPECT_NE(marked(line).foreground().color(), View()->palette().color(QPalette::Text));
    }
    EXPECT_TRUE(marked(1).fontUnderline()) << "an infection stands out without its colour too";
    for (const int line : {0, 6, 7}) {
        EXPECT_NE(marked(line).fontWeight(), QFont::Bold) << line;
    }
    EXPECT_NE(marked(1).foreground(), marked(2).foreground());
    EXPECT_NE(marked(2).foreground(), marked(4).foreground());
}

double Luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

// WCAG 2.1, contrast ratio: 4.5 to 1 is its minimum for text.
double Contrast(const QColor& one, const QColor& other) {
    const double first = Luminance(one);
    const double second = Luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

TEST_F(DlgReportTest, TheMarksAreReadableOnLightAndOnDark) {
    OpenText("Infected: a\n[Deleted]\n[Skipped]");
    for (const QColor& base : {QColor(Qt::white), QColor(30, 30, 30)}) {
        QPalette palette = View()->palette();
        palette.setColor(QPalette::Base, base);
        View()->setPalette(palette);
        for (int line = 0; line < 3; ++line) {
            const auto formats = View()->document()->findBlockByNumber(line).layout()->formats();
            ASSERT_FALSE(formats.isEmpty());
            EXPECT_GE(Contrast(formats.first().format.foreground().color(), base), 4.5) << line;
        }
    }
}

}  // namespace
