#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <QMessageBox>
#include <QPrintDialog>
#include <QPrinter>
#include <QProgressDialog>
#include <QPushButton>

#include "tests/gui/reports/dlg_report_fixture.h"

// The viewer's report on paper.

namespace fs = std::filesystem;

namespace {

std::string Output(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    for (int byte = fgetc(pipe.get()); byte != EOF; byte = fgetc(pipe.get())) {
        text += static_cast<char>(byte);
    }
    return text;
}

// The text of a PDF file as pdftotext reads it.
std::string PdfText(const std::string& path) {
    return Output("pdftotext -layout '" + path + "' -");
}

class DlgReportPrintTest : public DlgReportTest {
protected:
    // Expects the print dialog, prints into a file and ends the dialog with `result`.
    void Choose(const std::string& pdf, QDialog::DialogCode result) {
        m_driver.Expect([=](QDialog* dialog) {
            auto* print = qobject_cast<QPrintDialog*>(dialog);
            ASSERT_NE(print, nullptr);
            print->printer()->setOutputFormat(QPrinter::PdfFormat);
            print->printer()->setOutputFileName(QString::fromStdString(pdf));
            print->done(result);
        });
    }
    void Print(const std::string& pdf, QDialog::DialogCode result) {
        Choose(pdf, result);
        Find("btnPrint")->click();
    }
    void ExpectFailureAfter(const std::string& pdf) {
        Choose(pdf, QDialog::Accepted);
        m_driver.ExpectMessage(QMessageBox::Critical, "Corvane",
                               "Unable to print the report.\nCheck the printer, or the room for "
                               "the file that is printed to.");
        Find("btnPrint")->click();
    }

    BoxDriver m_driver;
};

TEST_F(DlgReportPrintTest, PrintsEveryLineOntoAsManyPagesAsItTakes) {
    std::string report = "<b>not bold</b>\n";
    for (int i = 0; i < 200; ++i) {
        report += "line " + std::to_string(i) + " of the report\n";
    }
    OpenText(report);
    const std::string pdf = m_folder / "out.pdf";
    Print(pdf, QDialog::Accepted);
    const std::string printed = PdfText(pdf);
    EXPECT_NE(printed.find("<b>not bold</b>"), std::string::npos);
    for (int i = 0; i < 200; ++i) {
        EXPECT_NE(printed.find("line " + std::to_string(i) + " of the report"), std::string::npos);
    }
    EXPECT_GE(std::count(printed.begin(), printed.end(), '\f'), 3) << "pages";
}

TEST_F(DlgReportPrintTest, ALineThatIsWiderThanThePageGoesOnBelow) {
    for (const int letters : {1'000, 10'000}) {
        OpenText(std::string(static_cast<std::size_t>(letters), 'x'));
        const std::string pdf = m_folder / "out.pdf";
        Print(pdf, QDialog::Accepted);
        const std::string printed = PdfText(pdf);
        EXPECT_EQ(std::count(printed.begin(), printed.end(), 'x'), letters);
    }
}

TEST_F(DlgReportPrintTest, EachPageNamesTheReportAndItself) {
    std::string report;
    for (int i = 0; i < 150; ++i) {
        report += "line\n";
    }
    OpenText(report);
    const std::string pdf = m_folder / "out.pdf";
    Print(pdf, QDialog::Accepted);
    const std::string printed = PdfText(pdf);
    const auto pages = std::count(printed.begin(), printed.end(), '\f');
    ASSERT_GE(pages, 2);
    std::size_t begin = 0;
    for (int page = 1; page <= pages; ++page) {
        const std::size_t end = printed.find('\f', begin);
        const std::string text = printed.substr(begin, end - begin);
        EXPECT_EQ(text.rfind("a.log\n", 0), 0U) << text;
        EXPECT_NE(text.find("Page " + std::to_string(page) + " of " + std::to_string(pages) + "\n"),
                  std::string::npos)
            << text;
        begin = end + 1;
    }
}

TEST_F(DlgReportPrintTest, ColumnsLineUpOnPaper) {
    OpenText("Total Files Scanned   = 1\nTotal I/O Errors      = 2\niiiiiiiiiiiiiiiiiiiiii= 3");
    const std::string pdf = m_folder / "out.pdf";
    Print(pdf, QDialog::Accepted);
    // Where each "=" begins on the page.
    const std::string boxes =
        Output("pdftotext -bbox '" + pdf + "' - | grep '>=</word>\\|i=</word>'");
    std::vector<std::string> left;
    for (std::size_t at = boxes.find("xMax=\""); at != std::string::npos;
         at = boxes.find("xMax=\"", at + 1)) {
        left.push_back(boxes.substr(at + 6, 5));
    }
    ASSERT_EQ(left.size(), 3U) << boxes;
    EXPECT_EQ(left[0], left[1]);
    EXPECT_EQ(left[0], left[2]);
}

TEST_F(DlgReportPrintTest, KeepsTheMarks) {
    OpenText("plain");
    const std::string plain = m_folder / "plain.pdf";
    Print(plain, QDialog::Accepted);
    OpenText("plain\nInfected: EICAR");
    const std::string marked = m_folder / "marked.pdf";
    Print(marked, QDialog::Accepted);
    const auto fonts = [](const std::string& pdf) {
        const std::string list = Output("pdffonts '" + pdf + "'");
        return std::count(list.begin(), list.end(), '\n');
    };
    EXPECT_EQ(fonts(marked), fonts(plain) + 1) << "a bold one";
}

TEST_F(DlgReportPrintTest, AFileThatCannotBeMadeIsSaid) {
    OpenText("x");
    ExpectFailureAfter(m_folder / "missing/out.pdf");
    EXPECT_FALSE(fs::exists(m_folder / "missing"));
}

TEST_F(DlgReportPrintTest, AFullDiskIsSaidAndLeavesNoPart) {
    fs::create_directory(m_folder / "disk");
    const TinyDisk disk(m_folder / "disk", "16k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    WriteFile(m_folder / "disk/filler", std::string(12'288, 'f'));
    OpenText(std::string(2000, '\n') + "x");
    ExpectFailureAfter(m_folder / "disk/out.pdf");
    EXPECT_FALSE(fs::exists(m_folder / "disk/out.pdf"));
}

TEST_F(DlgReportPrintTest, CanBeCancelledOnTheWay) {
    std::string report;
    while (report.size() < 4'000'000) {
        report += "Scanning: /home/user/some/file/in/some/folder\n";
    }
    OpenText(report);
    const std::string pdf = m_folder / "out.pdf";
    Choose(pdf, QDialog::Accepted);
    int turns = 0;
    int atCancel = -1;
    m_driver.ExpectProgress([&](QProgressDialog* waiting) {
        EXPECT_EQ(waiting->labelText(), "Printing the report ...");
        atCancel = waiting->value();
        waiting->cancel();
        ++turns;
    });
    Find("btnPrint")->click();
    EXPECT_EQ(turns, 1);
    EXPECT_GE(atCancel, 0);
    EXPECT_LT(atCancel, 1000);
    EXPECT_FALSE(fs::exists(pdf));
}

TEST_F(DlgReportPrintTest, ACancelledPrintDialogPrintsNothing) {
    OpenText("x");
    const std::string pdf = m_folder / "out.pdf";
    Print(pdf, QDialog::Rejected);
    EXPECT_FALSE(fs::exists(pdf));
}

}  // namespace
