#include "help/page_printer.h"

#include <cstdlib>
#include <sstream>

#include <QMessageBox>
#include <QPrintDialog>
#include <QPrinter>

#include "tests/gui/help/dlg_help_fixture.h"
#include "tests/support/command_output.h"

// The viewer's page on paper.

namespace {

constexpr double kPoints = 72 / 2.54;  // of a centimetre
constexpr double kPaperWidth = 21.0 * kPoints;
constexpr double kPaperHeight = 29.7 * kPoints;
constexpr double kMargin = 2 * kPoints;

struct Word {
    double left;
    double top;
    double right;
    double bottom;
    std::string text;
};

double Attribute(const std::string& line, const std::string& name) {
    const auto at = line.find(name + "=\"");
    return at == std::string::npos ? -1 : std::strtod(line.c_str() + at + name.size() + 2, nullptr);
}

// The words of each sheet, in points from the top left corner of the paper.
std::vector<std::vector<Word>> Sheets(const std::string& pdf) {
    std::istringstream lines(OutputOf("pdftotext -bbox '" + pdf + "' -"));
    std::vector<std::vector<Word>> sheets;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("<page ") != std::string::npos) {
            sheets.emplace_back();
        }
        if (line.find("<word ") == std::string::npos || sheets.empty()) {
            continue;
        }
        const auto begin = line.find('>') + 1;
        sheets.back().push_back({Attribute(line, "xMin"), Attribute(line, "yMin"),
                                 Attribute(line, "xMax"), Attribute(line, "yMax"),
                                 line.substr(begin, line.find('<', begin) - begin)});
    }
    return sheets;
}

std::string Paragraphs(int count) {
    std::string text;
    for (int i = 1; i <= count; ++i) {
        text += "<p>paragraph" + std::to_string(i) + "</p>";
    }
    return text;
}

class PagePrinterTest : public DlgHelpTest {
protected:
    [[nodiscard]] std::string Pdf() const { return m_scratch / "out.pdf"; }

    // The dialog prints into the file, or is ended otherwise.
    void ExpectDialog(ModalDriver& user, const std::string& pdf, QDialog::DialogCode result) {
        user.Expect([=](QDialog* dialog) {
            auto* print = qobject_cast<QPrintDialog*>(dialog);
            ASSERT_NE(print, nullptr);
            EXPECT_TRUE(print->printer()->fullPage());
            print->printer()->setOutputFormat(QPrinter::PdfFormat);
            print->printer()->setPageSize(QPageSize(QPageSize::A4));
            print->printer()->setOutputFileName(QString::fromStdString(pdf));
            print->done(result);
        });
    }
    std::vector<std::vector<Word>> Printed(const std::string& body) {
        PutPage("app/doc/html/home.htm", "Home of the help", body);
        Open();
        ModalDriver user;
        ExpectDialog(user, Pdf(), QDialog::Accepted);
        Trigger("actPrint");
        return Sheets(Pdf());
    }
};

TEST_F(PagePrinterTest, LeavesTwoCentimetresOnEverySide) {
    std::string words = "start";
    for (int i = 0; i < 400; ++i) {
        words += " word";
    }
    const auto sheets = Printed("<p>" + words + "</p>" + Paragraphs(100));
    ASSERT_GE(sheets.size(), 2U);
    EXPECT_EQ(sheets[0].front().text, "start");
    EXPECT_NEAR(sheets[0].front().left, kMargin, 1.5);
    double rightmost = 0;
    for (const auto& sheet : sheets) {
        for (std::size_t i = 0; i + 1 < sheet.size(); ++i) {
            EXPECT_GE(sheet[i].left, kMargin - 1);
            EXPECT_GE(sheet[i].top, kMargin - 2);
            EXPECT_LE(sheet[i].right, kPaperWidth - kMargin + 1);
            EXPECT_LE(sheet[i].bottom, kPaperHeight - kMargin + 1) << sheet[i].text;
            rightmost = std::max(rightmost, sheet[i].right);
        }
    }
    EXPECT_GT(rightmost, kPaperWidth - kMargin - 40) << "the lines are too short";
}

TEST_F(PagePrinterTest, NumbersEverySheetBelowTheTextAtTheRight) {
    const auto sheets = Printed(Paragraphs(150));
    ASSERT_GE(sheets.size(), 3U);
    for (std::size_t i = 0; i < sheets.size(); ++i) {
        const Word& number = sheets[i].back();
        EXPECT_EQ(number.text, std::to_string(i + 1));
        EXPECT_GE(number.top, kPaperHeight - kMargin);
        EXPECT_LE(number.bottom, kPaperHeight);
        EXPECT_NEAR(number.right, kPaperWidth - kMargin, 2);
    }
}

TEST_F(PagePrinterTest, PrintsEveryLineOnce) {
    const auto sheets = Printed(Paragraphs(150));
    int next = 1;
    for (const auto& sheet : sheets) {
        for (std::size_t i = 0; i + 1 < sheet.size(); ++i) {
            EXPECT_EQ(sheet[i].text, "paragraph" + std::to_string(next++));
        }
    }
    EXPECT_EQ(next, 151);
}

TEST_F(PagePrinterTest, AShortPageTakesOneSheet) {
    EXPECT_EQ(Printed("short").size(), 1U);
}

TEST_F(PagePrinterTest, ACancelledDialogPrintsNothing) {
    Open();
    ModalDriver user;
    ExpectDialog(user, Pdf(), QDialog::Rejected);
    Trigger("actPrint");
    EXPECT_FALSE(Exists(Pdf()));
}

TEST_F(PagePrinterTest, SaysWhenThePrinterTakesNothing) {
    Open();
    ModalDriver user;
    ExpectDialog(user, m_scratch / "missing/out.pdf", QDialog::Accepted);
    user.ExpectMessage(QMessageBox::Critical, "Corvane",
                       "Unable to print the page.\nCheck the printer, or the room for the file "
                       "that is printed to.");
    Trigger("actPrint");
}

// The colours of the window are no matter of the paper's.
TEST_F(PagePrinterTest, PrintsBlackOnWhiteFromADarkWindow) {
    const QPalette before = QApplication::palette();
    QPalette dark = before;
    dark.setColor(QPalette::Base, Qt::black);
    dark.setColor(QPalette::Text, Qt::white);
    dark.setColor(QPalette::Link, Qt::yellow);
    QApplication::setPalette(dark);
    PutPage("app/doc/html/home.htm", "Home", R"(text <a href="scanning.htm">link</a> text)");
    Open();
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(Pdf()));
    EXPECT_TRUE(PrintPage(printer, Browser()));
    QApplication::setPalette(before);
    ASSERT_EQ(OutputOf("pdftoppm -r 72 -png -singlefile '" + Pdf() + "' '" + (m_scratch / "sheet") +
                       "' && echo done"),
              "done\n");
    const QImage sheet(Path("sheet.png"));
    ASSERT_FALSE(sheet.isNull());
    int darkDots = 0;
    for (int y = 0; y < sheet.height(); ++y) {
        for (int x = 0; x < sheet.width(); ++x) {
            const QColor dot = sheet.pixelColor(x, y);
            EXPECT_EQ(dot.hsvSaturation(), 0) << x << ' ' << y;
            darkDots += dot.lightness() < 100 ? 1 : 0;
        }
    }
    EXPECT_GT(darkDots, 20);
    EXPECT_EQ(sheet.pixelColor(0, 0), QColor(Qt::white));
}

}  // namespace
