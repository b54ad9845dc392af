// bench_reports list|open FOLDER: what the reports page and the viewer cost beside the bare widgets
// of the toolkit that show the same text. FOLDER is an empty one to work in. Prints "ours=SECONDS
// bare=SECONDS", and for the viewer how long the whole text took and the longest time in which the
// window did not answer.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include <QApplication>
#include <QPlainTextEdit>
#include <QTreeWidget>

#include "bench/measurements.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/dlg_report.h"
#include "reports/files/current_report.h"
#include "reports/files/report_index.h"
#include "reports/report_view.h"
#include "reports/reports_page.h"

namespace {

constexpr int kReports = 10'000;
constexpr std::size_t kReportSize = 50'000'000;
constexpr QSize kWindow(720, 520);

// Until everything that is due is painted.
void Settle() {
    QApplication::processEvents();
}

std::string ReportName(int number) {
    return "scn" + std::to_string(number) + ".log";
}

void WriteIndex(const std::string& folder) {
    std::ofstream file(folder + kScanIndexName, std::ios::binary);
    tagReportIndexHeader header{{'Z', 'Q', 'R', 'F'}, 0, kReports};
    file.write(reinterpret_cast<const char*>(&header), sizeof header);
    for (int i = 0; i < kReports; ++i) {
        tagScanIndexEntry entry{};
        CopyToField(entry.finished, "21 Nov, 2026, 10:00:00 AM");
        CopyToField(entry.subject, "/home/user/some/folder");
        CopyToField(entry.reportName, ReportName(i));
        file.write(reinterpret_cast<const char*>(&entry), sizeof entry);
    }
}

int MeasureList(const std::string& folder) {
    WriteIndex(folder);
    double bare = 0;
    {
        QTreeWidget list;
        list.setColumnCount(3);
        list.setUniformRowHeights(true);
        list.resize(kWindow);
        list.show();
        Settle();
        const Stopwatch watch;
        QList<QTreeWidgetItem*> rows;
        for (int i = 0; i < kReports; ++i) {
            rows.append(new QTreeWidgetItem({"21 Nov, 2026, 10:00:00 AM", "/home/user/some/folder",
                                             QString::fromStdString(ReportName(i))}));
        }
        list.addTopLevelItems(rows);
        Settle();
        bare = watch.Seconds();
    }
    ReportsPage page;
    page.resize(kWindow);
    page.show();
    Settle();
    const Stopwatch watch;
    page.Fill();
    Settle();
    const double ours = watch.Seconds();
    std::printf("ours=%.3f bare=%.3f rows=%d\n", ours, bare, page.List()->topLevelItemCount());
    return page.List()->topLevelItemCount() == kReports ? 0 : 1;
}

std::string LongReport() {
    std::string text;
    text.reserve(kReportSize + 100);
    for (int i = 0; text.size() < kReportSize; ++i) {
        text += "\n\nScanning: /home/user/some/folder/file" + std::to_string(i) +
                "\nInfected: Eicar-Test-Signature\n[Skipped]";
    }
    return text;
}

int MeasureOpen(const std::string& folder) {
    const std::string text = LongReport();
    std::ofstream(folder + "reports/long.log", std::ios::binary) << text;
    WriteIndex(folder);
    double bare = 0;
    {
        QPlainTextEdit view;
        view.resize(kWindow);
        view.show();
        Settle();
        const Stopwatch watch;
        std::ifstream file(folder + "reports/long.log", std::ios::binary);
        view.setPlainText(QString::fromStdString(
            std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>())));
        Settle();
        bare = watch.Seconds();
    }
    SetCurrentReport(kScanReports, "long.log");
    const Stopwatch watch;
    dlgReport viewer;
    viewer.show();
    Settle();
    const double ours = watch.Seconds();
    double longest = 0;
    const auto* view = viewer.findChild<ReportView*>("edtViewRpt");
    while (view->IsFilling()) {
        const Stopwatch turn;
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        longest = std::max(longest, turn.Seconds());
    }
    std::printf("ours=%.3f bare=%.3f whole=%.3f longest=%.3f\n", ours, bare, watch.Seconds(),
                longest);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    if (argc != 3) {
        std::fputs("bench_reports list|open FOLDER\n", stderr);
        return 2;
    }
    std::string folder(argv[2]);
    if (folder.back() != '/') {
        folder += '/';
    }
    if (!CopyToField(g_szAppPath, folder)) {
        std::fputs("the folder's path is too long\n", stderr);
        return 2;
    }
    return std::string_view(argv[1]) == "list" ? MeasureList(folder) : MeasureOpen(folder);
}
