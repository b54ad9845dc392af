#include "reports/report_view.h"

#include <fstream>
#include <string>

#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>

#include "tests/gui/reports/dlg_report_fixture.h"

// A large report in the viewer: so much of it is laid out, and all of it can be reached.

namespace {

// 40,000 lines of 50 bytes, "line 00000 xxx...".
std::string ManyLines() {
    std::string text;
    for (int i = 0; i < 40'000; ++i) {
        std::string number = std::to_string(i);
        number.insert(0, 5 - number.size(), '0');
        text += "line " + number + " " + std::string(38, 'x') + "\n";
    }
    return text;
}

class LargeReport : public DlgReportTest {
protected:
    QScrollBar* Bar() { return Find<QScrollBar>("barReport"); }
    QScrollBar* Inner() { return View()->verticalScrollBar(); }

    // What is laid out, which is never too much.
    void ExpectBounded() {
        EXPECT_LE(View()->document()->blockCount(), 16384);
        EXPECT_LE(View()->document()->characterCount(), 524288 + 65536);
    }
    // The text of the line at the top of the view.
    std::string TopLine() {
        const auto place = static_cast<std::string::size_type>(View()->TopOffset());
        const std::string& bytes = View()->Report().Bytes();
        return bytes.substr(place, std::min(bytes.find('\n', place) - place, std::size_t{10}));
    }
    void Settle() {
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }
};

TEST_F(LargeReport, ASmallOneIsLaidOutWhole) {
    const std::string text = ManyLines().substr(0, 500'000);
    OpenText(text);
    EXPECT_TRUE(View()->IsWhole());
    EXPECT_EQ(View()->wordWrapMode(), QTextOption::WrapAtWordBoundaryOrAnywhere);
    EXPECT_EQ(Shown(), text);
    EXPECT_FALSE(Bar()->isVisible());
    EXPECT_TRUE(Inner()->isVisible());
}

TEST_F(LargeReport, StartsAtItsTopWithABoundedPart) {
    const std::string text = ManyLines();
    OpenText(text);
    EXPECT_FALSE(View()->IsWhole());
    ExpectBounded();
    EXPECT_EQ(Shown(), text.substr(0, Shown().size()));
    EXPECT_GT(Shown().size(), 400'000U);
    EXPECT_EQ(View()->TopOffset(), 0U);
    EXPECT_TRUE(Bar()->isVisible());
    EXPECT_FALSE(Inner()->isVisible());
    EXPECT_EQ(Bar()->value(), 0);
    EXPECT_EQ(View()->Report().Bytes(), text);
}

TEST_F(LargeReport, ScrollingGoesThroughEveryLineToTheEndAndBack) {
    OpenText(ManyLines());
    std::size_t before = 0;
    int turns = 0;
    while (Bar()->value() < Bar()->maximum() && ++turns < 10'000) {
        Inner()->triggerAction(QAbstractSlider::SliderPageStepAdd);
        Settle();
        const std::size_t top = View()->TopOffset();
        EXPECT_EQ(top % 50, 0U);
        // A page is some 20 lines: none is passed over when the laid out part moves on.
        EXPECT_LE(top - before, 60U * 50U) << before;
        before = top;
        ExpectBounded();
    }
    EXPECT_EQ(Bar()->value(), Bar()->maximum());
    EXPECT_GT(before, 39'900U * 50U);
    for (turns = 0; View()->TopOffset() > 0 && turns < 10'000; ++turns) {
        Inner()->triggerAction(QAbstractSlider::SliderPageStepSub);
        Settle();
        EXPECT_LE(before - View()->TopOffset(), 60U * 50U);
        before = View()->TopOffset();
    }
    EXPECT_EQ(Bar()->value(), 0);
}

TEST_F(LargeReport, ItsScrollBarReachesEveryPlace) {
    OpenText(ManyLines());
    Bar()->setSliderPosition(1'000'020);
    Bar()->triggerAction(QAbstractSlider::SliderMove);
    EXPECT_EQ(TopLine(), "line 20000");
    Settle();
    EXPECT_EQ(TopLine(), "line 20000") << "and stays there";
    ExpectBounded();
    Bar()->triggerAction(QAbstractSlider::SliderSingleStepAdd);
    EXPECT_EQ(TopLine(), "line 20001");
    Bar()->triggerAction(QAbstractSlider::SliderToMaximum);
    EXPECT_EQ(Inner()->value(), Inner()->maximum());
    EXPECT_TRUE(QString::fromStdString(Shown()).endsWith("line 39999 " + QString(38, 'x') + "\n"));
    Bar()->triggerAction(QAbstractSlider::SliderToMinimum);
    EXPECT_EQ(View()->TopOffset(), 0U);
}

TEST_F(LargeReport, KeysReachBothEndsAtOnce) {
    const std::string text = ManyLines();
    OpenText(text);
    View()->setFocus();
    Press(Qt::Key_End, Qt::ControlModifier);
    ExpectBounded();
    EXPECT_EQ(View()->SelectionBegin(), text.size());
    EXPECT_GE(Inner()->value() + 1, Inner()->maximum());
    EXPECT_EQ(Bar()->value(), Bar()->maximum());
    Press(Qt::Key_Up);
    EXPECT_EQ(View()->SelectionBegin(), text.size() - 50);
    Press(Qt::Key_Home, Qt::ControlModifier);
    EXPECT_EQ(View()->SelectionBegin(), 0U);
    EXPECT_EQ(View()->TopOffset(), 0U);
}

TEST_F(LargeReport, WhatIsSelectedAndCopiedIsOfTheWholeReport) {
    const std::string text = ManyLines();
    OpenText(text);
    View()->setFocus();
    const auto copied = [&] {
        View()->copy();
        return QApplication::clipboard()->text().toStdString();
    };
    Press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(copied(), text);
    Press(Qt::Key_Home, Qt::ControlModifier);
    Press(Qt::Key_Down);
    Press(Qt::Key_End, Qt::ControlModifier | Qt::ShiftModifier);
    Press(Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(copied(), text.substr(50, text.size() - 100));
    Press(Qt::Key_Home, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(copied(), text.substr(0, 50));
}

TEST_F(LargeReport, ALongLineIsBrokenToBeShownOnly) {
    const std::string text = "first\n" + std::string(1'000'000, 'x') + "\nlast";
    OpenText(text);
    ExpectBounded();
    for (QTextBlock block = View()->document()->begin(); block.isValid(); block = block.next()) {
        EXPECT_LE(block.length(), 65537);
    }
    EXPECT_EQ(View()->wordWrapMode(), QTextOption::WrapAnywhere) << "looking for words is slow";
    EXPECT_EQ(View()->Report().Bytes(), text);
    Search("last");
    EXPECT_EQ(View()->textCursor().selectedText(), "last");
    EXPECT_EQ(View()->SelectionBegin(), text.size() - 4);
    View()->setFocus();
    Press(Qt::Key_A, Qt::ControlModifier);
    View()->copy();
    EXPECT_EQ(QApplication::clipboard()->text().size(), static_cast<qsizetype>(text.size()));
}

TEST_F(LargeReport, AShorterOneAfterItIsWholeAgain) {
    WriteIndex({{"d", "s", "big.log"}, {"d", "s", "small.log"}});
    WriteReport("big.log", ManyLines());
    WriteReport("small.log", "small");
    Open("big.log");
    View()->setFocus();
    Press(Qt::Key_End, Qt::ControlModifier);
    Find("btnNext")->click();
    Settle();
    EXPECT_EQ(Shown(), "small");
    EXPECT_TRUE(View()->IsWhole());
    EXPECT_FALSE(Bar()->isVisible());
    EXPECT_EQ(View()->textCursor().position(), 0);
}

// KiB from /proc/self/status; writing 5 to clear_refs starts the peak anew.
long Memory(const std::string& what) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(what + ":", 0) == 0) {
            return std::stol(line.substr(what.size() + 1));
        }
    }
    return -1;
}

TEST_F(LargeReport, TakesMemoryForItsBytesAndLittleMore) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "a sanitizer takes memory of its own";
#endif
    constexpr std::size_t kSize = 20'000'000;
    for (const std::string& text :
         {std::string(kSize, '\n'), ManyLines().substr(0, 2'000'000), std::string(kSize, 'x')}) {
        WriteIndex({{"d", "s", "a.log"}});
        WriteReport("a.log", text);
        std::ofstream("/proc/self/clear_refs") << "5" << std::flush;
        const long before = Memory("VmRSS");
        Open("a.log");
        Press(Qt::Key_End, Qt::ControlModifier);
        Search("needle");
        Settle();
        // The bytes, once more while they are read, and 40 MB for the window and what is laid out.
        EXPECT_LE(Memory("VmHWM") - before, static_cast<long>(2 * text.size() / 1024) + 40'000);
        m_dialog.reset();
    }
}

}  // namespace
