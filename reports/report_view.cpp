#include "reports/report_view.h"

#include <algorithm>
#include <memory>
#include <utility>

#include <QAbstractTextDocumentLayout>
#include <QAction>
#include <QContextMenuEvent>
#include <QEvent>
#include <QFontDatabase>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>

#include "reports/report_highlighter.h"

namespace {

// So near to the window's edge it moves on, in lines: more than a screen shows.
constexpr std::size_t kEdge = 256;

}  // namespace

ReportView::ReportView(QWidget* parent)
    : QPlainTextEdit(parent),
      m_highlighter(new ReportHighlighter(document())),
      m_bar(new QScrollBar(this)),
      m_lines{ReportText::Line{0, 0, 1, true}} {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    // Read-only, but the keyboard still moves a cursor to select with.
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    // The columns of a report are made with spaces.
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_highlighter->UsePalette(palette());
    m_bar->setObjectName("barReport");
    m_bar->hide();
    m_moving.setSingleShot(true);
    m_moving.setInterval(0);
    connect(&m_moving, &QTimer::timeout, this, &ReportView::MoveWindow);
    connect(this, &QPlainTextEdit::cursorPositionChanged, this, &ReportView::TakeCursor);
    connect(this, &QPlainTextEdit::selectionChanged, this, &ReportView::TakeCursor);
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, &ReportView::ShowPlace);
    // Of a page up or down, and of the keys, its scroll bar says nothing.
    connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect&, int scrolled) {
        if (scrolled != 0) {
            ShowPlace();
        }
    });
    connect(m_bar, &QScrollBar::actionTriggered, this, &ReportView::ObeyBar);
}

ReportView::~ReportView() = default;

void ReportView::SetReport(std::string bytes) {
    m_moving.stop();
    m_report = ReportText(std::move(bytes));
    m_anchor = 0;
    m_cursor = 0;
    Load(0);
    m_bar->setVisible(!IsWhole());
    m_bar->setRange(0, static_cast<int>(m_report.Size()));
    setVerticalScrollBarPolicy(IsWhole() ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff);
    PlaceBar();
    ScrollTo(0, 0);
}

// ---- The window

void ReportView::Load(std::size_t begin) {
    m_lines.clear();
    QString text;
    std::size_t longest = 0;
    ReportText::Line line = m_report.LineAt(begin);
    while (true) {
        m_lines.push_back(line);
        longest = std::max(longest, line.end - line.begin);
        text += ShownText(m_report.Between(line.begin, line.end));
        if (line.isLast || m_lines.size() == kMostLines) {
            break;
        }
        const ReportText::Line next = m_report.LineAt(line.next);
        if (next.end - begin > kMostBytes) {
            break;
        }
        text += u'\n';
        line = next;
    }
    {
        const QScopedValueRollback placing(m_isPlacing, true);
        setWordWrapMode(WrapModeFor(longest));
        setPlainText(text);
    }
    PlaceCursor();
}

// Half of the window lies before the line of `offset`.
bool ReportView::LoadAround(std::size_t offset) {
    const std::size_t line = m_report.LineStart(offset);
    std::size_t begin = line;
    for (std::size_t lines = 0; begin > 0 && lines < kMostLines / 2; ++lines) {
        const std::size_t before = m_report.LineStart(begin - 1);
        if (line - before > kMostBytes / 2) {
            break;
        }
        begin = before;
    }
    if (begin == m_lines.front().begin) {
        return false;
    }
    Load(begin);
    return true;
}

bool ReportView::IsWhole() const {
    return m_lines.front().begin == 0 && m_lines.back().isLast;
}

bool ReportView::IsLoaded(std::size_t offset) const {
    return offset >= m_lines.front().begin && offset <= m_lines.back().end;
}

bool ReportView::IsTopNearAnEdge() const {
    const std::size_t edge = std::clamp(m_lines.size() / 4, std::size_t{1}, kEdge);
    const std::size_t top = LineOf(TopOffset());
    return (top < edge && m_lines.front().begin > 0) ||
           (top + edge >= m_lines.size() && !m_lines.back().isLast);
}

void ReportView::MoveWindow() {
    const std::size_t top = TopOffset();
    const int lineInBlock = verticalScrollBar()->value() - firstVisibleBlock().firstLineNumber();
    if (LoadAround(top)) {
        ScrollTo(top, lineInBlock);
    }
}

void ReportView::ScrollTo(std::size_t offset, int lineInBlock) {
    const QTextBlock block = document()->findBlockByNumber(static_cast<int>(LineOf(offset)));
    // Before it is laid out a block counts for one line of the scroll bar.
    (void)blockBoundingRect(block);
    verticalScrollBar()->setValue(block.firstLineNumber() + lineInBlock);
    ShowPlace();
}

std::size_t ReportView::TopOffset() const {
    const auto line = static_cast<std::size_t>(firstVisibleBlock().blockNumber());
    return m_lines.at(std::min(line, m_lines.size() - 1)).begin;
}

// ---- The selection

std::size_t ReportView::LineOf(std::size_t offset) const {
    const auto behind = std::upper_bound(
        m_lines.begin() + 1, m_lines.end(), offset,
        [](std::size_t wanted, const ReportText::Line& line) { return wanted < line.begin; });
    return static_cast<std::size_t>(std::prev(behind) - m_lines.begin());
}

int ReportView::PositionOf(std::size_t offset) const {
    const std::size_t number = LineOf(offset);
    const ReportText::Line& line = m_lines.at(number);
    const std::size_t inLine = std::clamp(offset, line.begin, line.end);
    return document()->findBlockByNumber(static_cast<int>(number)).position() +
           static_cast<int>(ShownUnits(m_report.Between(line.begin, inLine)));
}

std::size_t ReportView::OffsetOf(int position) const {
    const QTextBlock block = document()->findBlock(position);
    const ReportText::Line& line = m_lines.at(static_cast<std::size_t>(block.blockNumber()));
    return line.begin +
           BytesOfUnits(m_report.Between(line.begin, line.end), position - block.position());
}

std::size_t ReportView::SelectionBegin() const {
    return std::min(m_anchor, m_cursor);
}

// An end that the reader has not moved stays where it is in the report.
void ReportView::TakeCursor() {
    if (m_isPlacing) {
        return;
    }
    const QTextCursor cursor = textCursor();
    if (cursor.anchor() != m_placedAnchor) {
        m_placedAnchor = cursor.anchor();
        m_anchor = OffsetOf(m_placedAnchor);
    }
    if (cursor.position() != m_placedCursor) {
        m_placedCursor = cursor.position();
        m_cursor = OffsetOf(m_placedCursor);
    }
}

void ReportView::PlaceCursor() {
    const QScopedValueRollback placing(m_isPlacing, true);
    m_placedAnchor = PositionOf(m_anchor);
    m_placedCursor = PositionOf(m_cursor);
    QTextCursor cursor(document());
    cursor.setPosition(m_placedAnchor);
    cursor.setPosition(m_placedCursor, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

void ReportView::MoveCursorTo(std::size_t offset, QTextCursor::MoveMode mode) {
    m_cursor = offset;
    if (mode == QTextCursor::MoveAnchor) {
        m_anchor = offset;
    }
    if (!IsLoaded(offset)) {
        LoadAround(offset);
    }
    PlaceCursor();
    ensureCursorVisible();
    ShowPlace();
}

void ReportView::ShowRange(std::size_t begin, std::size_t end) {
    m_anchor = begin;
    MoveCursorTo(end, QTextCursor::KeepAnchor);
}

void ReportView::SelectWholeReport() {
    m_anchor = 0;
    m_cursor = m_report.Size();
    PlaceCursor();
}

QMimeData* ReportView::createMimeDataFromSelection() const {
    auto selected = std::make_unique<QMimeData>();
    selected->setText(ShownText(m_report.Between(SelectionBegin(), std::max(m_anchor, m_cursor))));
    return selected.release();
}

void ReportView::keyPressEvent(QKeyEvent* event) {
    const auto isFor = [event](QKeySequence::StandardKey key) { return event->matches(key); };
    if (isFor(QKeySequence::MoveToStartOfDocument)) {
        MoveCursorTo(0, QTextCursor::MoveAnchor);
    } else if (isFor(QKeySequence::MoveToEndOfDocument)) {
        MoveCursorTo(m_report.Size(), QTextCursor::MoveAnchor);
    } else if (isFor(QKeySequence::SelectStartOfDocument)) {
        MoveCursorTo(0, QTextCursor::KeepAnchor);
    } else if (isFor(QKeySequence::SelectEndOfDocument)) {
        MoveCursorTo(m_report.Size(), QTextCursor::KeepAnchor);
    } else if (isFor(QKeySequence::SelectAll)) {
        SelectWholeReport();
    } else {
        QPlainTextEdit::keyPressEvent(event);
    }
}

void ReportView::contextMenuEvent(QContextMenuEvent* event) {
    const std::unique_ptr<QMenu> menu(createStandardContextMenu());
    if (auto* selectAll = menu->findChild<QAction*>("select-all")) {
        selectAll->disconnect();
        connect(selectAll, &QAction::triggered, this, &ReportView::SelectWholeReport);
    }
    menu->exec(event->globalPos());
}

// ---- The scroll bar for the whole report

void ReportView::ShowPlace() {
    if (IsWhole() || m_isPlacing) {
        return;
    }
    if (IsTopNearAnEdge()) {
        m_moving.start();
    }
    if (!m_bar->isSliderDown()) {
        const QScrollBar* inner = verticalScrollBar();
        // The cursor's last line is in view one line before the end of the scroll bar.
        const bool isAtEnd = m_lines.back().isLast && inner->value() + 1 >= inner->maximum();
        m_bar->setValue(static_cast<int>(isAtEnd ? m_report.Size() : TopOffset()));
    }
}

void ReportView::ObeyBar(int action) {
    const auto place = static_cast<std::size_t>(std::max(0, m_bar->sliderPosition()));
    switch (action) {
        case QAbstractSlider::SliderSingleStepAdd:
        case QAbstractSlider::SliderSingleStepSub:
        case QAbstractSlider::SliderPageStepAdd:
        case QAbstractSlider::SliderPageStepSub:
            verticalScrollBar()->triggerAction(static_cast<QAbstractSlider::SliderAction>(action));
            ShowPlace();
            m_bar->setSliderPosition(m_bar->value());
            break;
        default:
            if (!IsLoaded(place)) {
                LoadAround(place);
            }
            ScrollTo(m_report.LineStart(place), 0);
            break;
    }
}

void ReportView::PlaceBar() {
    const int width = IsWhole() ? 0 : m_bar->sizeHint().width();
    setViewportMargins(0, 0, width, 0);
    const QRect inside = contentsRect();
    m_bar->setGeometry(inside.right() + 1 - width, inside.top(), width, inside.height());
    m_bar->setPageStep(std::max(1, static_cast<int>(m_report.Size() / 50)));
}

void ReportView::resizeEvent(QResizeEvent* event) {
    QPlainTextEdit::resizeEvent(event);
    PlaceBar();
}

void ReportView::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        m_highlighter->UsePalette(palette());
    }
}
