#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>

#include "tests/gui/reports/dlg_report_fixture.h"
#include "tests/support/modal_driver.h"

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

}  // namespace
