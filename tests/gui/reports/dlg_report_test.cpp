#include "reports/dlg_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>

#include "reports/current_report.h"
#include "reports/report_view.h"
#include "reports/scheduled_index.h"
#include "tests/gui/reports/report_fixture.h"
#include "tests/support/modal_driver.h"

namespace fs = std::filesystem;

namespace {

constexpr int kLimit = 20000;  // milliseconds; reached only by a failure

class DlgReportTest : public ReportFixture {
protected:
    // Three listed reports, of which the middle one is open.
    void OpenMiddle() {
        WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}, {"d", "s", "c.log"}});
        for (const char* name : {"a", "b", "c"}) {
            WriteReport(std::string(name) + ".log", std::string("report ") + name);
        }
        Open("b.log");
    }

    void Open(const std::string& name) {
        SetCurrentReport(static_cast<ReportKind>(g_siRptKind), name);
        m_dialog = std::make_unique<dlgReport>();
        m_dialog->show();
        m_dialog->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(m_dialog.get(), kLimit));
    }

    // A single report with this text, open.
    void OpenText(const std::string& text) {
        WriteIndex({{"d", "s", "a.log"}});
        WriteReport("a.log", text);
        Open("a.log");
    }

    template <typename Widget = QPushButton>
    Widget* Find(const char* name) {
        auto* widget = m_dialog->findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }

    ReportView* View() { return Find<ReportView>("edtViewRpt"); }
    std::string Shown() { return View()->toPlainText().toStdString(); }
    // "P" when stepping back is possible, "N" when stepping on is.
    std::string Steps() {
        return std::string(Find("btnPrev")->isEnabled() ? "P" : "") +
               (Find("btnNext")->isEnabled() ? "N" : "");
    }
    void Press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(
            m_dialog->focusWidget() == nullptr ? m_dialog.get() : m_dialog->focusWidget(), key,
            modifiers);
    }
    std::string Matches() { return Find<QLabel>("lblMatches")->text().toStdString(); }

    // Types into the find bar and waits until the matches are counted.
    void Search(const QString& text) {
        Press(Qt::Key_F, Qt::ControlModifier);
        auto* edit = Find<QLineEdit>("edtFind");
        ASSERT_TRUE(QTest::qWaitFor([&] { return edit->hasFocus(); }, kLimit));
        Find<QLabel>("lblMatches")->setText("counting");
        edit->clear();
        QTest::keyClicks(edit, text);
        ASSERT_TRUE(
            QTest::qWaitFor([&] { return Matches() != "counting" && !Matches().empty(); }, kLimit));
    }

    std::unique_ptr<dlgReport> m_dialog;
};

TEST_F(DlgReportTest, HasItsTextsAcceleratorsAndTooltips) {
    OpenMiddle();
    EXPECT_EQ(m_dialog->windowTitle(), "Corvane Scan Report");
    EXPECT_TRUE(m_dialog->isModal());
    EXPECT_TRUE(View()->isReadOnly());
    const struct {
        const char* name;
        const char* text;
        const char* keys;
        const char* tip;
    } buttons[] = {
        {"btnPrev", "<< &Prev", "Alt+P", "Previous report (Alt+P)"},
        {"btnNext", "&Next >>", "Alt+N", "Next report (Alt+N)"},
        {"btnPrint", "P&rint", "Alt+R", "Print report (Alt+R)"},
        {"btnRptSavAs", "Save &As", "Alt+A", "Save As report (Alt+A)"},
        {"btnRptClose", "&Close", "Alt+C", "Close (Alt+C)"},
    };
    for (const auto& button : buttons) {
        EXPECT_EQ(Find(button.name)->text(), button.text);
        EXPECT_EQ(Find(button.name)->shortcut(), QKeySequence(button.keys));
        EXPECT_EQ(Find(button.name)->toolTip(), button.tip);
    }
}

TEST_F(DlgReportTest, StepsThroughTheIndexAndEnablesOnlyPossibleSteps) {
    OpenMiddle();
    EXPECT_EQ(Shown(), "report b");
    EXPECT_EQ(Steps(), "PN");
    Find("btnNext")->click();
    EXPECT_EQ(Shown(), "report c");
    EXPECT_EQ(Steps(), "P");
    EXPECT_EQ(g_szRptPath, m_folder / "reports/c.log");
    Find("btnPrev")->click();
    Find("btnPrev")->click();
    EXPECT_EQ(Shown(), "report a");
    EXPECT_EQ(Steps(), "N");
    m_dialog->OnPrevClick();
    EXPECT_EQ(Shown(), "report a") << "no step before the first";
}

TEST_F(DlgReportTest, AMissingReportIsSaidOnceAndPassedOver) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "gone.log"}, {"d", "s", "c.log"}});
    WriteReport("a.log", "report a");
    WriteReport("c.log", "report c");
    Open("a.log");
    ModalDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    Find("btnNext")->click();
    EXPECT_EQ(Shown(), "report c");
    EXPECT_EQ(Steps(), "P");
}

TEST_F(DlgReportTest, UnreadableReportsUpToTheEndLeaveTheShownOne) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "x.log"}, {"d", "s", "y.log"}});
    WriteReport("a.log", "report a");
    Open("a.log");
    ModalDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    Find("btnNext")->click();
    EXPECT_EQ(Shown(), "report a");
    EXPECT_EQ(Steps(), "P");
}

TEST_F(DlgReportTest, AReportThatIsNotListedIsShownWithoutSteps) {
    WriteIndex({{"d", "s", "a.log"}});
    WriteReport("b.log", "report b");
    Open("b.log");
    EXPECT_EQ(Shown(), "report b");
    EXPECT_EQ(Steps(), "");
    m_dialog->OnNextClick();
    m_dialog->OnPrevClick();
    EXPECT_EQ(Shown(), "report b");
}

TEST_F(DlgReportTest, OfEqualNamesTheFirstInTheIndexIsTheCurrentOne) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}, {"d", "s", "a.log"}});
    WriteReport("a.log", "report a");
    Open("a.log");
    EXPECT_EQ(Steps(), "N");
}

TEST_F(DlgReportTest, NamesAreComparedExactly) {
    WriteIndex({{"d", "s", "A.log"}, {"d", "s", "a.log2"}, {"d", "s", "c.log"}});
    WriteReport("a.log", "report a");
    Open("a.log");
    EXPECT_EQ(Shown(), "report a");
    EXPECT_EQ(Steps(), "");
}

TEST_F(DlgReportTest, AReportMadeEndlessIsNotTakenIntoMemory) {
    WriteIndex({{"d", "s", "a.log"}});
    WriteReport("a.log", "report a");
    fs::resize_file(m_folder / "reports/a.log", std::uintmax_t{1} << 40U);  // a hole
    ModalDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
    Open("a.log");
    EXPECT_EQ(Shown(), "");
}

TEST_F(DlgReportTest, AMissingIndexIsSaidAndTheReportShown) {
    WriteReport("b.log", "report b");
    ModalDriver driver;
    driver.ExpectMessage(QMessageBox::Critical, "Corvane", "Unable to open report file");
    Open("b.log");
    EXPECT_EQ(Shown(), "report b");
    EXPECT_EQ(Steps(), "");
}

TEST_F(DlgReportTest, AFifoOrAFolderInAReportsPlaceIsNotWaitedFor) {
    WriteIndex({});
    ASSERT_EQ(mkfifo((m_folder / "reports/f.log").c_str(), 0600), 0);
    fs::create_directory(m_folder / "reports/d.log");
    for (const char* name : {"f.log", "d.log"}) {
        ModalDriver driver;
        driver.ExpectMessage(QMessageBox::Critical, "Corvane Scan", "Unable to open report file");
        Open(name);
    }
}

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

TEST_F(DlgReportTest, ALargeReportIsShownAtOnceAndFilledInWhileTheWindowLives) {
    std::string text;
    while (text.size() < 4'000'000) {
        text += "Scanning: /home/user/some/file/in/some/folder\n";
    }
    text += "the end";
    OpenText(text);
    EXPECT_TRUE(View()->IsFilling()) << "opening does not wait for the whole text";
    EXPECT_GT(View()->document()->blockCount(), 100) << "but its beginning is there";
    ASSERT_TRUE(QTest::qWaitFor([&] { return !View()->IsFilling(); }, kLimit));
    EXPECT_EQ(Shown(), text);
    EXPECT_EQ(View()->textCursor().position(), 0);
    EXPECT_EQ(View()->verticalScrollBar()->value(), 0);
}

TEST_F(DlgReportTest, AnotherReportReplacesOneThatIsStillFillingIn) {
    WriteIndex({{"d", "s", "big.log"}, {"d", "s", "small.log"}});
    WriteReport("big.log", std::string(3'000'000, '\n'));
    WriteReport("small.log", "small");
    Open("big.log");
    ASSERT_TRUE(View()->IsFilling());
    Find("btnNext")->click();
    EXPECT_FALSE(View()->IsFilling());
    QTest::qWait(20);
    EXPECT_EQ(Shown(), "small");
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

TEST_F(DlgReportTest, FindCountsMatchesInBothCasesAndGoesRoundThem) {
    OpenText("abc Abc\nxABCx");
    EXPECT_FALSE(Find<QLineEdit>("edtFind")->isVisible());
    Search("abc");
    EXPECT_EQ(Matches(), "1 of 3");
    Press(Qt::Key_F3);
    EXPECT_EQ(Matches(), "2 of 3");
    EXPECT_EQ(View()->textCursor().selectionStart(), 4);
    EXPECT_EQ(View()->textCursor().selectedText(), "Abc");
    Press(Qt::Key_F3);
    EXPECT_EQ(View()->textCursor().selectionStart(), 9);
    Press(Qt::Key_F3);
    EXPECT_EQ(Matches(), "1 of 3") << "round the end";
    Press(Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(Matches(), "3 of 3") << "and back";
    Press(Qt::Key_Return);
    EXPECT_EQ(Matches(), "1 of 3");
    EXPECT_TRUE(m_dialog->isVisible()) << "Return in the find bar presses no button";
}

TEST_F(DlgReportTest, FindSaysThatThereIsNoMatch) {
    OpenText("abc");
    Search("xyz");
    EXPECT_EQ(Matches(), "No match");
    EXPECT_FALSE(Find<QWidget>("btnFindNext")->isEnabled());
    Press(Qt::Key_F3);
    EXPECT_EQ(Matches(), "No match");
}

TEST_F(DlgReportTest, F3OpensAnEmptyFindBarAndEscapeClosesItAlone) {
    OpenText("abc");
    Press(Qt::Key_F3);
    EXPECT_TRUE(Find<QLineEdit>("edtFind")->isVisible());
    QTest::keyClick(Find<QLineEdit>("edtFind"), Qt::Key_Escape);
    EXPECT_FALSE(Find<QLineEdit>("edtFind")->isVisible());
    EXPECT_TRUE(m_dialog->isVisible());
}

TEST_F(DlgReportTest, TabGoesFromTheReportThroughTheFindBarToTheButtons) {
    OpenMiddle();
    Search("report");
    View()->setFocus();
    std::vector<std::string> order;
    for (int i = 0; i < 9; ++i) {
        Press(Qt::Key_Tab);
        order.push_back(m_dialog->focusWidget()->objectName().toStdString());
    }
    EXPECT_EQ(order, (std::vector<std::string>{"edtFind", "btnFindPrev", "btnFindNext",
                                               "btnFindClose", "btnPrev", "btnNext", "btnPrint",
                                               "btnRptSavAs", "btnRptClose"}));
}

TEST_F(DlgReportTest, FindReachesWhatIsNotFilledInYet) {
    OpenText(std::string(3'000'000, '\n') + "needle");
    Press(Qt::Key_F, Qt::ControlModifier);
    Find<QLineEdit>("edtFind")->setText("needle");
    Press(Qt::Key_F3);
    EXPECT_EQ(View()->textCursor().selectedText(), "needle");
    EXPECT_EQ(Matches(), "1 of 1");
}

TEST_F(DlgReportTest, FindIsRightBehindCarriageReturns) {
    OpenText("one\rtwo\r\r\nthree\r\nneedle");
    Search("needle");
    EXPECT_EQ(View()->textCursor().selectedText(), "needle");
}

TEST_F(DlgReportTest, SteppingCountsTheMatchesOfTheNewReport) {
    WriteIndex({{"d", "s", "a.log"}, {"d", "s", "b.log"}});
    WriteReport("a.log", "x x");
    WriteReport("b.log", "x x x");
    Open("a.log");
    Search("x");
    EXPECT_EQ(Matches(), "1 of 2");
    Find("btnNext")->click();
    EXPECT_EQ(Matches(), "3 matches");
}

// The text of a PDF file as pdftotext reads it.
std::string PdfText(const std::string& path) {
    const std::string command = "pdftotext -layout '" + path + "' -";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    for (int byte = fgetc(pipe.get()); byte != EOF; byte = fgetc(pipe.get())) {
        text += static_cast<char>(byte);
    }
    return text;
}

TEST_F(DlgReportTest, PrintsEveryLineOntoAsManyPagesAsItTakes) {
    std::string report = "<b>not bold</b>\n";
    for (int i = 0; i < 200; ++i) {
        report += "line " + std::to_string(i) + " of the report\n";
    }
    OpenText(report);
    const std::string pdf = m_folder / "out.pdf";
    ModalDriver driver;
    driver.Expect([&](QDialog* dialog) {
        auto* print = qobject_cast<QPrintDialog*>(dialog);
        ASSERT_NE(print, nullptr);
        print->printer()->setOutputFormat(QPrinter::PdfFormat);
        print->printer()->setOutputFileName(QString::fromStdString(pdf));
        print->done(QDialog::Accepted);
    });
    Find("btnPrint")->click();
    const std::string printed = PdfText(pdf);
    EXPECT_NE(printed.find("<b>not bold</b>"), std::string::npos);
    for (int i = 0; i < 200; ++i) {
        EXPECT_NE(printed.find("line " + std::to_string(i) + " of the report"), std::string::npos);
    }
    EXPECT_GE(std::count(printed.begin(), printed.end(), '\f'), 3) << "pages";
}

TEST_F(DlgReportTest, ACancelledPrintDialogPrintsNothing) {
    OpenText("x");
    const std::string pdf = m_folder / "out.pdf";
    ModalDriver driver;
    driver.Expect([&](QDialog* dialog) {
        auto* print = qobject_cast<QPrintDialog*>(dialog);
        ASSERT_NE(print, nullptr);
        print->printer()->setOutputFormat(QPrinter::PdfFormat);
        print->printer()->setOutputFileName(QString::fromStdString(pdf));
        print->done(QDialog::Rejected);
    });
    Find("btnPrint")->click();
    EXPECT_FALSE(fs::exists(pdf));
}

class SaveAsTest : public DlgReportTest {
protected:
    SaveAsTest() { m_driver.Ignore<dlgReport>(); }

    // The save dialog appears; `fileName` is chosen in it, or it is cancelled.
    void Choose(const std::string& fileName) {
        m_driver.Expect([=, this](QDialog* dialog) {
            auto* save = qobject_cast<QFileDialog*>(dialog);
            ASSERT_NE(save, nullptr);
            EXPECT_EQ(save->acceptMode(), QFileDialog::AcceptSave);
            EXPECT_EQ(save->nameFilters(), QStringList("All Files (*)"));
            m_proposed = save->selectedFiles().value(0).toStdString();
            if (fileName.empty()) {
                save->reject();
            } else {
                save->selectFile(QString::fromStdString(fileName));
                static_cast<QDialog*>(save)->accept();
            }
        });
    }

    void AnswerReplace(const std::string& fileName, const QString& button) {
        m_driver.Expect([=](QDialog* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->icon(), QMessageBox::Warning);
            EXPECT_EQ(box->windowTitle(), "Corvane");
            EXPECT_EQ(box->text(),
                      QString::fromStdString("The File ' " + fileName +
                                             " ' already exists.\nDo you want to replace the "
                                             "existing file?"));
            QStringList buttons;
            for (auto* each : box->buttons()) {
                buttons.append(each->text());
                if (each->text() == button) {
                    QTimer::singleShot(0, each, &QAbstractButton::click);
                }
            }
            buttons.sort();
            EXPECT_EQ(buttons, (QStringList{"&No", "&Yes"}));
        });
    }

    ModalDriver m_driver;
    std::string m_proposed;
};

TEST_F(SaveAsTest, WritesTheTextThatIsShown) {
    OpenText("one\r\ntwo\n\xE9 three");
    const std::string target = m_folder / "copy.txt";
    Choose(target);
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "one\ntwo\n\xE9 three");
}

TEST_F(SaveAsTest, WritesTheWholeTextWhileItIsStillFillingIn) {
    const std::string text(3'000'000, '\n');
    OpenText(text);
    const std::string target = m_folder / "copy.txt";
    Choose(target);
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target).size(), text.size());
}

TEST_F(SaveAsTest, ProposesANameByTheKind) {
    const struct {
        ReportKind kind;
        const char* proposed;
    } kinds[] = {{kScanReports, "/home/Scan Report.txt"},
                 {kUpdateReports, "/home/Update Report.txt"},
                 {kScheduledReports, "/home/Schedule Report.txt"}};
    WriteIndex({});
    WriteIndex({}, "updt.rpt");
    WriteFile(m_folder / "reports/a.log", "x");
    for (const auto& [kind, proposed] : kinds) {
        g_siRptKind = kind;
        SetCurrentReport(kind, kind == kScheduledReports ? m_folder / "reports/a.log" : "a.log");
        m_dialog = std::make_unique<dlgReport>();
        m_dialog->show();
        Choose("");
        Find("btnRptSavAs")->click();
        EXPECT_EQ(m_proposed, proposed);
    }
}

TEST_F(SaveAsTest, AnExistingFileIsReplacedOnlyAfterYes) {
    OpenText("new");
    const std::string target = m_folder / "copy.txt";
    WriteFile(target, "old and longer");
    Choose(target);
    AnswerReplace(target, "&No");
    Choose("");  // after No the dialog appears again
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "old and longer");
    Choose(target);
    AnswerReplace(target, "&Yes");
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "new");
}

TEST_F(SaveAsTest, AFullDiskIsSaidAndTheOldFileStays) {
    fs::create_directory(m_folder / "disk");
    const TinyDisk disk(m_folder / "disk", "64k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    OpenText(std::string(200'000, 'x'));
    const std::string target = m_folder / "disk/copy.txt";
    WriteFile(target, "old");
    Choose(target);
    AnswerReplace(target, "&Yes");
    m_driver.Expect([](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->icon(), QMessageBox::Critical);
        EXPECT_TRUE(box->text().startsWith("Unable to save the report as ' "));
        box->done(QMessageBox::Ok);
    });
    Choose("");
    Find("btnRptSavAs")->click();
    EXPECT_EQ(ReadFile(target), "old");
}

TEST_F(DlgReportTest, CloseCloses) {
    OpenText("x");
    Find("btnRptClose")->click();
    EXPECT_FALSE(m_dialog->isVisible());
}

TEST_F(DlgReportTest, ScheduledReportsStepByTheirFullPaths) {
    if (!InSandbox()) {
        GTEST_SKIP() << "the index has a fixed path; run inside tests/support/sandbox";
    }
    const std::string folder = "/usr/lib/Corvane/Corvane/reports/";
    fs::remove_all(folder);
    fs::create_directories(folder);
    for (const char* name : {"schd0001.rpt", "schd0002.rpt"}) {
        WriteFile(folder + name, name);
        tagReportIndexEntry entry{};
        CopyToField(entry.reportPath, folder + name);
        entry.userId = getuid();
        ASSERT_TRUE(ScanReports().MakeIndexEntry(&entry));
    }
    g_siRptKind = kScheduledReports;
    Open(folder + "schd0001.rpt");
    EXPECT_EQ(Shown(), "schd0001.rpt");
    EXPECT_EQ(Steps(), "N");
    Find("btnNext")->click();
    EXPECT_EQ(Shown(), "schd0002.rpt");
    EXPECT_EQ(g_szRptPath, folder + "schd0002.rpt");
    EXPECT_EQ(Steps(), "P");
}

}  // namespace
