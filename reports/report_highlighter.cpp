#include "reports/report_highlighter.h"

#include <QFont>
#include <QPalette>

namespace {

QTextCharFormat Marked(const QColor& color) {
    QTextCharFormat format;
    format.setForeground(color);
    format.setFontWeight(QFont::Bold);
    return format;
}

}  // namespace

ReportMarks::ReportMarks(const QPalette& palette) {
    const bool isDark = palette.color(QPalette::Base).lightness() < 128;
    m_infected = Marked(isDark ? QColor(0xFF, 0x8A, 0x80) : QColor(0xB0, 0x00, 0x20));
    m_infected.setFontUnderline(true);
    m_handled = Marked(isDark ? QColor(0x81, 0xC7, 0x84) : QColor(0x1B, 0x5E, 0x20));
    m_left = Marked(isDark ? QColor(0xFF, 0xCC, 0x80) : QColor(0x8A, 0x4B, 0x00));
}

const QTextCharFormat* ReportMarks::Of(const QString& line) const {
    if (line.startsWith(QLatin1String("Infected:"))) {
        return &m_infected;
    }
    if (line.startsWith(QLatin1String("[Deleted]")) ||
        line.startsWith(QLatin1String("[Repaired]"))) {
        return &m_handled;
    }
    if (line.startsWith(QLatin1String("[Skipped]")) ||
        line.startsWith(QLatin1String("[Access denied]"))) {
        return &m_left;
    }
    return nullptr;
}

ReportHighlighter::ReportHighlighter(QTextDocument* document)
    : QSyntaxHighlighter(document), m_marks(QPalette()) {}

void ReportHighlighter::UsePalette(const QPalette& palette) {
    m_marks = ReportMarks(palette);
    rehighlight();
}

void ReportHighlighter::highlightBlock(const QString& line) {
    if (const QTextCharFormat* mark = m_marks.Of(line)) {
        setFormat(0, static_cast<int>(line.size()), *mark);
    }
}
