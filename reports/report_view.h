#pragma once

#include <string>

#include <QPlainTextEdit>
#include <QTimer>

class ReportHighlighter;

/// Shows the text of a report, read-only and never as rich text.
///
/// A text of any size is there at once: its beginning is shown and the rest is filled in a little
/// at a time while the window stays usable. GUI thread only.
class ReportView : public QPlainTextEdit {
    Q_OBJECT

public:
    explicit ReportView(QWidget* parent = nullptr);
    ~ReportView() override;

    /// Shows `bytes` from the top. What is not UTF-8 is shown as replacement characters.
    void SetReport(std::string bytes);

    /// The bytes that are shown, as they were given.
    [[nodiscard]] const std::string& ReportBytes() const { return m_bytes; }

    /// The whole text, shown yet or not.
    [[nodiscard]] const QString& ReportText() const { return m_text; }

    /// True while a part of the text is still to be filled in.
    [[nodiscard]] bool IsFilling() const { return m_filled < m_text.size(); }

    /// Selects `length` characters from `position` on and brings them into view.
    void ShowMatch(qsizetype position, qsizetype length);

protected:
    void changeEvent(QEvent* event) override;

private:
    void FillUpTo(qsizetype position);
    void FillSome();

    ReportHighlighter* m_highlighter;  // owned by the document
    QTimer m_fillTimer;
    std::string m_bytes;
    QString m_text;
    qsizetype m_filled = 0;
};
