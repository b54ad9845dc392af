#include "app/action_card.h"

#include <algorithm>

#include <QStyleOptionButton>
#include <QStyleOptionFocusRect>
#include <QStylePainter>

namespace {

constexpr int kMargin = 18;
constexpr int kLineGap = 4;

}  // namespace

ActionCard::ActionCard(QWidget* parent) : QPushButton(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void ActionCard::SetDescription(const QString& description) {
    m_description = description;
    setAccessibleDescription(description);
    updateGeometry();
    update();
}

QFont ActionCard::NameFont() const {
    QFont bold = font();
    bold.setBold(true);
    return bold;
}

QSize ActionCard::sizeHint() const {
    const QFontMetrics nameMetrics(NameFont());
    const int textWidth = std::max(nameMetrics.horizontalAdvance(text()),
                                   fontMetrics().horizontalAdvance(m_description));
    const int textHeight = nameMetrics.height() + kLineGap + fontMetrics().height();
    return {3 * kMargin + iconSize().width() + textWidth,
            2 * kMargin + std::max(iconSize().height(), textHeight)};
}

QSize ActionCard::minimumSizeHint() const {
    return sizeHint();
}

void ActionCard::paintEvent(QPaintEvent* /*event*/) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    painter.drawControl(QStyle::CE_PushButtonBevel, option);
    if (option.state.testFlag(QStyle::State_HasFocus) &&
        option.state.testFlag(QStyle::State_KeyboardFocusChange)) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.rect = rect().adjusted(4, 4, -4, -4);
        painter.drawPrimitive(QStyle::PE_FrameFocusRect, focus);
    }

    const QRect content = rect().adjusted(kMargin, 0, -kMargin, 0);
    const QRect iconPlace = QStyle::alignedRect(layoutDirection(), Qt::AlignVCenter | Qt::AlignLeft,
                                                iconSize(), content);
    icon().paint(&painter, iconPlace);

    const QFontMetrics nameMetrics(NameFont());
    const int textHeight = nameMetrics.height() + kLineGap + fontMetrics().height();
    const QRect textPlace = QStyle::visualRect(
        layoutDirection(), content,
        QRect(content.left() + iconSize().width() + kMargin, (height() - textHeight) / 2,
              content.width() - iconSize().width() - kMargin, textHeight));
    painter.setPen(palette().color(QPalette::ButtonText));
    painter.setFont(NameFont());
    const int alignment =
        static_cast<int>(QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft | Qt::AlignTop));
    painter.drawText(textPlace, alignment | Qt::TextShowMnemonic, text());
    painter.setFont(font());
    painter.drawText(textPlace.adjusted(0, nameMetrics.height() + kLineGap, 0, 0), alignment,
                     m_description);
}
