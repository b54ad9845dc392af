#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>

#include "tests/gui/reports/dlg_report_fixture.h"

// The viewer's report on paper.

namespace fs = std::filesystem;

namespace {

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

class DlgReportPrintTest : public DlgReportTest {
protected:
    // Prints into a file and ends the print dialog with `result`.
    void Print(const std::string& pdf, QDialog::DialogCode result) {
        BoxDriver driver;
        driver.Expect([&](QDialog* dialog) {
            auto* print = qobject_cast<QPrintDialog*>(dialog);
            ASSERT_NE(print, nullptr);
            print->printer()->setOutputFormat(QPrinter::PdfFormat);
            print->printer()->setOutputFileName(QString::fromStdString(pdf));
            print->done(result);
        });
        Find("btnPrint")->click();
    }
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

TEST_F(DlgReportPrintTest, ACancelledPrintDialogPrintsNothing) {
    OpenText("x");
    const std::string pdf = m_folder / "out.pdf";
    Print(pdf, QDialog::Rejected);
    EXPECT_FALSE(fs::exists(pdf));
}

}  // namespace
