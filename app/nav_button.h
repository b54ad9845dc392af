#pragma once

#include <QToolButton>

/// A large button of the main window's left column: picture and name side by side, and a bar in the
/// palette's highlight colour while its page is the current one.
class NavButton : public QToolButton {
    Q_OBJECT

public:
    explicit NavButton(QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

    /// A click presses nothing by itself: the page may be refused, so the window sets the mark.
    void nextCheckState() override {}
};
