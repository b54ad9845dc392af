// bench_reports list|open FOLDER: what the reports page and the viewer cost beside the bare widgets
// of the toolkit that show the same text. FOLDER is an empty one to work in. Prints "ours=SECONDS
// bare=SECONDS", and for the viewer the longest time in which the window did not answer while the
// report's end was gone to and it was searched, and the memory that all of it took, in KiB.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTreeWidget>

#include "bench/measurements.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/dlg_report.h"
#include "reports/files/current_report.h"
#include "reports/files/report_index.h"
#include "reports/find_bar.h"
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
    std::ofstream file(folder + reports::kScanIndexName, std::ios::binary);
    tagReportIndexHeader header{{'Z', 'Q', 'R', 'F'}, 0, kReports};
    file.write(reinterpret_cast<const char*>(&header), sizeof header);
    for (int i = 0; i < kReports; ++i) {
        tagScanIndexEntry entry{};
        common::CopyToField(entry.finished, "21 Nov, 2026, 10:00:00 AM");
        common::CopyToField(entry.subject, "/home/user/some/folder");
        common::CopyToField(entry.reportName, ReportName(i));
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

// Line by line: the memory to be measured is the viewer's.
void WriteLongReport(const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    for (int i = 0; file.tellp() < std::streamoff{kReportSize}; ++i) {
        file << "\n\nScanning: /home/user/some/folder/file" << i
             << "\nInfected: Eicar-Test-Signature\n[Skipped]";
    }
}

double LongestTurn(dlgReport& viewer) {
    double longest = 0;
    const auto turn = [&longest](auto work) {
        const Stopwatch watch;
        work();
        longest = std::max(longest, watch.Seconds());
    };
    const auto press = [&](QWidget* where, int key, Qt::KeyboardModifiers modifiers) {
        turn([&] {
            QKeyEvent event(QEvent::KeyPress, key, modifiers);
            QApplication::sendEvent(where, &event);
            Settle();
        });
    };
    press(viewer.findChild<ReportView*>("edtViewRpt"), Qt::Key_End, Qt::ControlModifier);
    auto* bar = viewer.findChild<FindBar*>();
    bar->Open();
    viewer.findChild<QLineEdit*>("edtFind")->setText("folder/file1");
    press(viewer.findChild<QLineEdit*>("edtFind"), Qt::Key_Return, Qt::ShiftModifier);
    while (!bar->Search().IsWhole()) {
        turn([] { QApplication::processEvents(QEventLoop::WaitForMoreEvents); });
    }
    return longest;
}

// Ours first: the most memory that was in use only grows.
int MeasureOpen(const std::string& folder) {
    const std::string path = folder + "reports/long.log";
    WriteLongReport(path);
    WriteIndex(folder);
    reports::SetCurrentReport(kScanReports, "long.log");
    const long before = PeakMemory();
    double ours = 0;
    double longest = 0;
    {
        const Stopwatch watch;
        dlgReport viewer;
        viewer.show();
        Settle();
        ours = watch.Seconds();
        longest = LongestTurn(viewer);
    }
    const long memory = PeakMemory() - before;
    QPlainTextEdit view;
    view.resize(kWindow);
    view.show();
    Settle();
    const Stopwatch watch;
    std::ifstream file(path, std::ios::binary);
    view.setPlainText(QString::fromStdString(
        std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>())));
    Settle();
    std::printf("ours=%.3f bare=%.3f longest=%.3f memory=%ld\n", ours, watch.Seconds(), longest,
                memory);
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
    if (!common::CopyToField(g_szAppPath, folder)) {
        std::fputs("the folder's path is too long\n", stderr);
        return 2;
    }
    return std::string_view(argv[1]) == "list" ? MeasureList(folder) : MeasureOpen(folder);
}
