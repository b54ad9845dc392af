#include "widgets/name_label.h"

#include <QAction>
#include <QClipboard>
#include <QEvent>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QStylePainter>

QString PlainToolTip(const QString& text) {
    return text.isEmpty() ? QString()
                          : QStringLiteral("<p style=\"white-space:pre-wrap\">") +
                                text.toHtmlEscaped() + QStringLiteral("</p>");
}

NameLabel::NameLabel(QWidget* parent) : QLabel(parent), m_copy(new QAction(this)) {
    setTextFormat(Qt::PlainText);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setFocusPolicy(Qt::StrongFocus);  // a label's own is for the mouse alone
    m_copy->setShortcut(QKeySequence::Copy);
    m_copy->setShortcutContext(Qt::WidgetShortcut);
    connect(m_copy, &QAction::triggered, this, &NameLabel::CopyName);
    addAction(m_copy);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    SetTexts();
}

void NameLabel::SetName(const QString& shown, const QString& whole) {
    m_whole = whole;
    setText(shown);
    setToolTip(PlainToolTip(whole));
    if (accessibleName() != whole) {
        setAccessibleName(whole);  // tells screen readers, each time it is called
    }
}

void NameLabel::SetTexts() {
    m_copy->setText(tr("&Copy"));
}

void NameLabel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        SetTexts();
    }
    QLabel::changeEvent(event);
}

// A part of the text is copied as it was selected. All of it, or nothing, stands for the whole
// name.
void NameLabel::CopyName() const {
    const bool isPart = hasSelectedText() && selectedText() != text();
    QGuiApplication::clipboard()->setText(isPart ? selectedText() : m_whole);
}

QSize NameLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 8, QLabel::minimumSizeHint().height()};
}

void NameLabel::focusInEvent(QFocusEvent* event) {
    QLabel::focusInEvent(event);
    const bool byKey =
        event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    if (byKey && !text().isEmpty()) {
        setSelection(0, static_cast<int>(text().size()));
    }
}

void NameLabel::paintEvent(QPaintEvent* event) {
    const QString fitting =
        fontMetrics().elidedText(text(), Qt::ElideMiddle, contentsRect().width());
    // A selection is painted where its characters stand, so the text must stand there in full.
    if (fitting == text() || hasSelectedText()) {
        QLabel::paintEvent(event);
        return;
    }
    QStylePainter painter(this);
    const auto place = QStyle::visualAlignment(layoutDirection(), alignment());
    painter.drawItemText(contentsRect(), static_cast<int>(place), palette(), isEnabled(), fitting,
                         foregroundRole());
}
