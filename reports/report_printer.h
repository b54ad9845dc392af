#pragma once

#include <functional>

#include <QFont>
#include <QString>

class QPrinter;
class ReportText;

enum class PrintResult {
    kPrinted,
    kCancelled,
    kFailed,  ///< the printer, or the file it prints to, took not all of it
};

/// Called now and then with how much of the work is done, of `PrintReport`'s 0 to 1000. False ends
/// the printing.
using PrintProgress = std::function<bool(int)>;

/// Prints a report line by line onto as many pages as it takes, with the marks that the viewer
/// shows, in black on white. Each page has `name` at its top, and at its bottom which of how many
/// it is. No more than a line is laid out at a time.
///
/// A file that is printed to is first made elsewhere and then saved as SaveCopy does: it is what it
/// was, or missing as it was, when the printing is cancelled or fails. What is no regular file, or
/// may not be written, is refused at once. GUI thread.
PrintResult PrintReport(QPrinter& printer, const ReportText& report, const QString& name,
                        const QFont& font, const PrintProgress& progress);
