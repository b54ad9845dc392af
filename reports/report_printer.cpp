#include "reports/report_printer.h"

#include <algorithm>

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QFontMetricsF>
#include <QPainter>
#include <QPalette>
#include <QPrinter>
#include <QTemporaryDir>
#include <QTextLayout>

#include "reports/files/save_copy.h"
#include "reports/report_highlighter.h"
#include "reports/report_text.h"

namespace {

// Paper takes smaller letters than a screen: lines of 71 characters fit its width.
constexpr qreal kPointSize = 9;
constexpr int kWholeWork = 1000;

QTextOption Wrapped(QTextOption::WrapMode mode) {
    QTextOption option;
    option.setWrapMode(mode);
    return option;
}

QPalette BlackOnWhite() {
    QPalette palette;
    palette.setColor(QPalette::Base, Qt::white);
    return palette;
}

/// Lays the report out for one device, and draws it there when told to.
class Pages {
public:
    Pages(QPrinter& printer, const ReportText& report, const QString& name, const QFont& font,
          const PrintProgress& progress)
        : m_printer(printer),
          m_report(report),
          m_name(name),
          m_font(font, &printer),
          m_progress(progress) {
        m_font.setPointSizeF(kPointSize);
        const QFontMetricsF metrics(m_font, &printer);
        m_lineHeight = metrics.lineSpacing();
        m_paper = QRectF(QPointF(0, 0),
                         printer.pageLayout().paintRectPixels(printer.resolution()).size());
        m_name = metrics.elidedText(name, Qt::ElideMiddle, m_paper.width());
        // A line and a half for what stands at the top, and as much at the bottom.
        m_text = m_paper.adjusted(0, 1.5 * m_lineHeight, 0, -1.5 * m_lineHeight);
    }

    /// Whether a page has room for a line at all.
    [[nodiscard]] bool HaveRoom() const {
        return m_text.height() >= m_lineHeight && m_text.width() >= m_lineHeight;
    }

    PrintResult Count() {
        const PrintResult result = Run(nullptr, 0);
        m_pages = m_page;
        return result;
    }

    PrintResult Draw(QPainter& painter) { return Run(&painter, kWholeWork / 2); }

private:
    PrintResult Run(QPainter* painter, int done) {
        m_page = 1;
        m_top = m_text.top();
        DrawMargins(painter);
        ReportText::Line line = m_report.LineAt(0);
        while (true) {
            if (const PrintResult result = PutLine(painter, line);
                result != PrintResult::kPrinted) {
                return result;
            }
            if (line.isLast) {
                return PrintResult::kPrinted;
            }
            const int part = static_cast<int>(line.next * (kWholeWork / 2) / m_report.Size());
            if (part != m_lastPart && !m_progress(done + part)) {
                return PrintResult::kCancelled;
            }
            m_lastPart = part;
            line = m_report.LineAt(line.next);
        }
    }

    PrintResult PutLine(QPainter* painter, const ReportText::Line& line) {
        QTextLayout layout(ShownText(m_report.Between(line.begin, line.end)), m_font, &m_printer);
        if (const QTextCharFormat* mark = m_marks.Of(layout.text())) {
            layout.setFormats({{0, static_cast<int>(layout.text().size()), *mark}});
        }
        layout.setTextOption(Wrapped(WrapModeFor(line.end - line.begin)));
        layout.beginLayout();
        for (QTextLine row = layout.createLine(); row.isValid(); row = layout.createLine()) {
            row.setLineWidth(m_text.width());
            if (m_top + m_lineHeight > m_text.bottom() && !TurnPage(painter)) {
                return PrintResult::kFailed;
            }
            if (painter != nullptr) {
                row.draw(painter, QPointF(m_text.left(), m_top));
            }
            m_top += m_lineHeight;
        }
        layout.endLayout();
        return PrintResult::kPrinted;
    }

    bool TurnPage(QPainter* painter) {
        if (painter != nullptr && !m_printer.newPage()) {
            return false;
        }
        ++m_page;
        m_top = m_text.top();
        DrawMargins(painter);
        return true;
    }

    void DrawMargins(QPainter* painter) const {
        if (painter == nullptr) {
            return;
        }
        painter->setFont(m_font);
        painter->drawText(m_paper, Qt::AlignTop | Qt::AlignLeft | Qt::TextSingleLine, m_name);
        painter->drawText(
            m_paper, Qt::AlignBottom | Qt::AlignRight | Qt::TextSingleLine,
            QCoreApplication::translate("ReportPrinter", "Page %1 of %2").arg(m_page).arg(m_pages));
    }

    QPrinter& m_printer;
    const ReportText& m_report;
    QString m_name;
    QFont m_font;
    const PrintProgress& m_progress;
    const ReportMarks m_marks{BlackOnWhite()};
    QRectF m_paper;
    QRectF m_text;
    qreal m_lineHeight = 0;
    qreal m_top = 0;
    int m_page = 1;
    int m_pages = 1;
    int m_lastPart = -1;
};

PrintResult Print(QPrinter& printer, Pages& pages) {
    if (!pages.HaveRoom()) {
        return PrintResult::kFailed;
    }
    if (const PrintResult counted = pages.Count(); counted != PrintResult::kPrinted) {
        return counted;
    }
    QPainter painter;
    if (!painter.begin(&printer)) {
        return PrintResult::kFailed;
    }
    const PrintResult drawn = pages.Draw(painter);
    if (drawn != PrintResult::kPrinted) {
        (void)printer.abort();
    }
    const bool isEnded = painter.end() && printer.printerState() != QPrinter::Error;
    return drawn == PrintResult::kPrinted && !isEnded ? PrintResult::kFailed : drawn;
}

// The toolkit does not tell when a disk was full: whether the file has its end does.
bool IsWhole(QFile& file) {
    constexpr qint64 kTail = 32;
    return file.seek(std::max<qint64>(0, file.size() - kTail)) && file.readAll().contains("%%EOF");
}

// Gives what was printed to the person's file.
bool HandOver(const QString& printed, const QString& target) {
    QFile file(printed);
    if (!file.open(QIODevice::ReadOnly) || !IsWhole(file)) {
        return false;
    }
    const uchar* bytes = file.map(0, file.size());
    return bytes != nullptr && reports::SaveCopy(QFile::encodeName(target).toStdString(),
                                                 {reinterpret_cast<const char*>(bytes),
                                                  static_cast<std::size_t>(file.size())})
                                       .kind == reports::SaveOutcome::kSaved;
}

// Whether there is any sense in laying out a report for this file, which may take minutes.
bool MayHold(const QFileInfo& target) {
    return target.exists() ? target.isFile() && target.isWritable()
                           : QFileInfo(target.path()).isWritable();
}

// The printer writes a file of its own. The person's is touched only once that is whole, so that it
// keeps what it held when the printing ends before.
PrintResult PrintToFile(QPrinter& printer, Pages& pages) {
    const QString target = printer.outputFileName();
    const QTemporaryDir folder;
    if (!folder.isValid() || !MayHold(QFileInfo(target))) {
        return PrintResult::kFailed;
    }
    const QString own = folder.filePath("report");
    printer.setOutputFileName(own);
    const PrintResult result = Print(printer, pages);
    printer.setOutputFileName(target);
    return result == PrintResult::kPrinted && !HandOver(own, target) ? PrintResult::kFailed
                                                                     : result;
}

}  // namespace

PrintResult PrintReport(QPrinter& printer, const ReportText& report, const QString& name,
                        const QFont& font, const PrintProgress& progress) {
    printer.setDocName(name);
    Pages pages(printer, report, name, font, progress);
    return printer.outputFileName().isEmpty() ? Print(printer, pages) : PrintToFile(printer, pages);
}
