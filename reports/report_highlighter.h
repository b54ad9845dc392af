#pragma once

#include <QSyntaxHighlighter>
#include <QTextCharFormat>

class QPalette;

/// The looks of the lines of a report that a reader looks for: what was infected and what became of
/// it. They stand out by their weight (an infection is underlined as well) and, for those who see
/// it, by a colour chosen for the palette's background.
class ReportMarks {
public:
    explicit ReportMarks(const QPalette& palette);

    /// The look of a whole line; null for a line without a mark.
    [[nodiscard]] const QTextCharFormat* Of(const QString& line) const;

private:
    QTextCharFormat m_infected;  ///< "Infected:"
    QTextCharFormat m_handled;   ///< "[Deleted]", "[Repaired]"
    QTextCharFormat m_left;      ///< "[Skipped]", "[Access denied]"
};

/// Marks the lines of a report in a document.
class ReportHighlighter : public QSyntaxHighlighter {
    Q_OBJECT

public:
    explicit ReportHighlighter(QTextDocument* document);

    /// Chooses the colours for this palette and marks everything anew.
    void UsePalette(const QPalette& palette);

protected:
    void highlightBlock(const QString& line) override;

private:
    ReportMarks m_marks;
};
