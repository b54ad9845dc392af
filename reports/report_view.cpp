#include "reports/report_view.h"

#include <algorithm>

#include <QElapsedTimer>
#include <QEvent>
#include <QTextCursor>

#include "reports/report_highlighter.h"

namespace {

// As much as is laid out in a few milliseconds.
constexpr qsizetype kPiece = 32768;
// How long the window may be kept from answering while the rest is filled in.
constexpr qint64 kFillMilliseconds = 8;

}  // namespace

ReportView::ReportView(QWidget* parent)
    : QPlainTextEdit(parent), m_highlighter(new ReportHighlighter(document())) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    // Read-only, but the keyboard still moves a cursor to select with.
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    m_highlighter->UsePalette(palette());
    connect(&m_fillTimer, &QTimer::timeout, this, &ReportView::FillSome);
}

ReportView::~ReportView() = default;

void ReportView::SetReport(std::string bytes) {
    m_fillTimer.stop();
    m_bytes = std::move(bytes);
    m_text = QString::fromUtf8(m_bytes.data(), static_cast<qsizetype>(m_bytes.size()));
    // A carriage return of its own breaks the line too. The document takes one before a newline for
    // nothing, and every match behind it would be looked for one place too far.
    m_text.replace('\r', '\n');
    m_filled = 0;
    clear();
    FillUpTo(std::min(kPiece, m_text.size()));
    moveCursor(QTextCursor::Start);
    if (IsFilling()) {
        m_fillTimer.start(0);
    }
}

void ReportView::FillUpTo(qsizetype position) {
    if (position <= m_filled) {
        return;
    }
    // A cursor of its own: what the reader has selected and scrolled to stays.
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    end.insertText(m_text.mid(m_filled, position - m_filled));
    m_filled = position;
}

void ReportView::FillSome() {
    QElapsedTimer timer;
    timer.start();
    while (IsFilling() && timer.elapsed() < kFillMilliseconds) {
        FillUpTo(std::min(m_filled + kPiece, m_text.size()));
    }
    if (!IsFilling()) {
        m_fillTimer.stop();
    }
}

void ReportView::ShowMatch(qsizetype position, qsizetype length) {
    FillUpTo(std::min(position + length + kPiece, m_text.size()));
    QTextCursor match(document());
    match.setPosition(static_cast<int>(position));
    match.setPosition(static_cast<int>(position + length), QTextCursor::KeepAnchor);
    setTextCursor(match);
    ensureCursorVisible();
}

void ReportView::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        m_highlighter->UsePalette(palette());
    }
}
