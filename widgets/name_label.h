#pragma once

#include <QLabel>

/// Shows a file or virus name in the room there is, and gives the whole of it to whoever asks: in
/// the tooltip, to screen readers, and to the clipboard. The text can be selected by mouse and
/// keyboard; where the label is narrower than its text, an ellipsis is painted in the middle.
class NameLabel : public QLabel {
    Q_OBJECT

public:
    explicit NameLabel(QWidget* parent = nullptr);

    /// Shows `shown`, which stands for `whole`. Both are plain text, whatever they look like.
    void SetName(const QString& shown, const QString& whole);

    [[nodiscard]] const QString& WholeName() const { return m_whole; }

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void CopyName() const;
    void SetTexts();

    QString m_whole;
    QAction* m_copy;
};

/// A tooltip that shows `text` as it stands. The toolkit takes a text that looks like markup for
/// markup, and a file can be named "<img src=...>".
QString PlainToolTip(const QString& text);
