#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <QPlainTextEdit>
#include <QTimer>

#include "reports/report_text.h"

class QScrollBar;
class ReportHighlighter;

/// Shows the text of a report, read-only and never as rich text, in letters of one width.
///
/// Only a window of a large report is laid out: so many lines and bytes around what the reader
/// looks at. It moves along as they scroll, and a scroll bar of its own stands for the whole
/// report. Selecting, copying and finding mean the whole report too. GUI thread only.
class ReportView : public QPlainTextEdit {
    Q_OBJECT

public:
    /// The most that is laid out at once. A report within both is laid out whole.
    static constexpr std::size_t kMostBytes = 524288;
    static constexpr std::size_t kMostLines = 16384;

    explicit ReportView(QWidget* parent = nullptr);
    ~ReportView() override;

    /// Shows `bytes` from the top. What is not UTF-8 is shown as replacement characters.
    void SetReport(std::string bytes);

    /// The report that is shown, laid out or not.
    [[nodiscard]] const ReportText& Report() const { return m_report; }

    /// Selects the bytes from `begin` to `end` and brings them into view.
    void ShowRange(std::size_t begin, std::size_t end);

    /// Where the selection, or else the cursor, begins in the report, in bytes.
    [[nodiscard]] std::size_t SelectionBegin() const;

    /// Where the line begins that is at the top of the view, in bytes.
    [[nodiscard]] std::size_t TopOffset() const;

    /// Whether all of the report is laid out.
    [[nodiscard]] bool IsWhole() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override;

private:
    void Load(std::size_t begin);
    bool LoadAround(std::size_t offset);
    [[nodiscard]] bool IsLoaded(std::size_t offset) const;
    [[nodiscard]] bool IsTopNearAnEdge() const;
    void MoveWindow();
    void ScrollTo(std::size_t offset, int lineInBlock);

    void TakeCursor();
    void PlaceCursor();
    void MoveCursorTo(std::size_t offset, QTextCursor::MoveMode mode);
    void SelectWholeReport();
    [[nodiscard]] std::size_t LineOf(std::size_t offset) const;
    [[nodiscard]] int PositionOf(std::size_t offset) const;
    [[nodiscard]] std::size_t OffsetOf(int position) const;

    void ShowPlace();
    void ObeyBar(int action);
    void PlaceBar();

    ReportHighlighter* m_highlighter;  // owned by the document
    QScrollBar* m_bar;                 // the place in the whole report, in bytes
    QTimer m_moving;                   // the window moves when the toolkit is done scrolling
    ReportText m_report;
    std::vector<ReportText::Line> m_lines;  // one for each block of the document
    // The selection in the report. Its ends may lie outside the window; in the document they are
    // then at the window's edge.
    std::size_t m_anchor = 0;
    std::size_t m_cursor = 0;
    int m_placedAnchor = 0;
    int m_placedCursor = 0;
    bool m_isPlacing = false;
};
