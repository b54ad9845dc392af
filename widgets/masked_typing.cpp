#include "widgets/masked_typing.h"

#include <private/qguiapplication_p.h>

#include <QAccessible>
#include <QLineEdit>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

namespace {

QAccessible::UpdateHandler& HandlerBefore() {
    static QAccessible::UpdateHandler handler = nullptr;
    return handler;
}

void PassOn(QAccessibleEvent& event) {
    if (HandlerBefore() != nullptr) {
        HandlerBefore()(&event);
        return;
    }
    // To the desktop itself. The toolkit's function that leads there has been gone through already:
    // a second time would count the new rows of a table twice.
    QGuiApplicationPrivate::platformIntegration()->accessibility()->notifyAccessibilityUpdate(
        &event);
}

// The mark that the toolkit gives to whoever asks for the text of a masked line.
QString Masked(const QString& text) {
    return {text.size(), u'*'};
}

// An event that holds what was typed has no way to replace it, so another one is sent.
template <typename Event, typename... Texts>
void PassOnInstead(const Event& typed, const Texts&... texts) {
    Event masked(typed.object(), typed.changePosition(), texts...);
    masked.setCursorPosition(typed.cursorPosition());
    PassOn(masked);
}

void PassOnMasked(QAccessibleEvent& event) {
    switch (event.type()) {
        case QAccessible::TextInserted: {
            const auto& typed = static_cast<const QAccessibleTextInsertEvent&>(event);
            PassOnInstead(typed, Masked(typed.textInserted()));
            break;
        }
        case QAccessible::TextRemoved: {
            const auto& typed = static_cast<const QAccessibleTextRemoveEvent&>(event);
            PassOnInstead(typed, Masked(typed.textRemoved()));
            break;
        }
        case QAccessible::TextUpdated: {
            const auto& typed = static_cast<const QAccessibleTextUpdateEvent&>(event);
            PassOnInstead(typed, Masked(typed.textRemoved()), Masked(typed.textInserted()));
            break;
        }
        default:
            PassOn(event);
    }
}

void Handle(QAccessibleEvent* event) {
    const auto* const line = qobject_cast<const QLineEdit*>(event->object());
    if (line != nullptr && line->echoMode() != QLineEdit::Normal) {
        PassOnMasked(*event);
    } else {
        PassOn(*event);
    }
}

}  // namespace

MaskedTyping::MaskedTyping() {
    HandlerBefore() = QAccessible::installUpdateHandler(Handle);
}

MaskedTyping::~MaskedTyping() {
    QAccessible::installUpdateHandler(HandlerBefore());
}
