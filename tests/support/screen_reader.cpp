#include "tests/support/screen_reader.h"

#include <private/qguiapplication_p.h>
#include <utility>

#include <QAccessible>
#include <QAccessibleBridge>
#include <QLabel>
#include <QtPlugin>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

namespace {

std::vector<std::string>& Heard() {
    static std::vector<std::string> heard;
    return heard;
}

std::vector<std::string>& HeardTyped() {
    static std::vector<std::string> heard;
    return heard;
}

bool& IsListening() {
    static bool isListening = false;
    return isListening;
}

std::string At(const QAccessibleEvent& event, int position, const QString& what) {
    return QStringLiteral("%1 at %2: %3")
        .arg(event.object()->objectName())
        .arg(position)
        .arg(what)
        .toStdString();
}

void HearTyped(const QAccessibleEvent& event) {
    if (event.type() == QAccessible::TextInserted) {
        const auto& typed = static_cast<const QAccessibleTextInsertEvent&>(event);
        HeardTyped().push_back(At(event, typed.changePosition(), u'+' + typed.textInserted()));
    } else if (event.type() == QAccessible::TextRemoved) {
        const auto& typed = static_cast<const QAccessibleTextRemoveEvent&>(event);
        HeardTyped().push_back(At(event, typed.changePosition(), u'-' + typed.textRemoved()));
    } else if (event.type() == QAccessible::TextUpdated) {
        const auto& typed = static_cast<const QAccessibleTextUpdateEvent&>(event);
        HeardTyped().push_back(At(event, typed.changePosition(),
                                  u'-' + typed.textRemoved() + u'+' + typed.textInserted()));
    }
}

void Hear(QAccessibleEvent* event) {
    HearTyped(*event);
    const bool isValue = event->type() == QAccessible::ValueChanged;
    if ((isValue || event->type() == QAccessible::NameChanged) &&
        event->accessibleInterface() != nullptr) {
        const QString text =
            event->accessibleInterface()->text(isValue ? QAccessible::Value : QAccessible::Name);
        Heard().push_back(
            (event->object()->objectName() + QStringLiteral(": ") + text).toStdString());
    }
}

void SetListening(bool listening) {
    IsListening() = listening;
    // The platform's own switch: without a screen reader on the bus the toolkit tells nothing.
    QGuiApplicationPrivate::platformIntegration()->accessibility()->setActive(listening);
    Heard().clear();
    HeardTyped().clear();
}

void AddTexts(QAccessibleInterface& object, std::vector<std::string>& texts) {
    for (const auto kind : {QAccessible::Name, QAccessible::Description, QAccessible::Value,
                            QAccessible::Help, QAccessible::Accelerator}) {
        texts.push_back(object.text(kind).toStdString());
    }
    if (QAccessibleTextInterface* const line = object.textInterface()) {
        texts.push_back(line->text(0, line->characterCount()).toStdString());
        int start = 0;
        int end = 0;
        texts.push_back(
            line->textAtOffset(0, QAccessible::LineBoundary, &start, &end).toStdString());
    }
    for (int i = 0; i < object.childCount(); ++i) {
        if (QAccessibleInterface* const child = object.child(i)) {
            AddTexts(*child, texts);
        }
    }
}

QString TextOf(QWidget* widget, QAccessible::Text kind) {
    return QAccessible::queryAccessibleInterface(widget)->text(kind);
}

class Bridge : public QAccessibleBridge {
public:
    void setRootObject(QAccessibleInterface*) override {}
    void notifyAccessibilityUpdate(QAccessibleEvent* event) override {
        if (IsListening()) {
            Hear(event);
        }
    }
};

}  // namespace

/// What the toolkit's way to screen readers ends at, so that all that the program does on that way
/// has been done.
class ScreenReaderPlugin : public QAccessibleBridgePlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QAccessibleBridgeFactoryInterface_iid FILE "screen_reader.json")

public:
    // The toolkit does not always delete it at the end: it stays known here, where it is no leak.
    QAccessibleBridge* create(const QString& /*key*/) override {
        static QAccessibleBridge* made = nullptr;
        made = new Bridge;
        return made;
    }
};

Q_IMPORT_PLUGIN(ScreenReaderPlugin)

ScreenReader::ScreenReader() {
    SetListening(true);
}

ScreenReader::~ScreenReader() {
    SetListening(false);
}

QString ScreenReader::NameOf(QWidget* widget) {
    return TextOf(widget, QAccessible::Name);
}

QString ScreenReader::DescriptionOf(QWidget* widget) {
    return TextOf(widget, QAccessible::Description);
}

std::vector<std::string> ScreenReader::TakeAnnouncements() {
    return std::exchange(Heard(), {});
}

std::vector<std::string> ScreenReader::TakeTypedTexts() {
    return std::exchange(HeardTyped(), {});
}

std::vector<std::string> ScreenReader::UnreadableLabels(const QWidget& window) {
    std::vector<std::string> unreadable;
    for (QLabel* label : window.findChildren<QLabel*>()) {
        QString text = label->text();
        if (label->buddy() != nullptr) {
            text.remove(u'&');
        }
        if (!text.isEmpty() && NameOf(label) != text) {
            unreadable.push_back(QStringLiteral("%1: %2 | %3")
                                     .arg(label->objectName(), text, NameOf(label))
                                     .toStdString());
        }
    }
    return unreadable;
}

std::vector<std::string> ScreenReader::AllTexts(QWidget& window) {
    std::vector<std::string> texts;
    AddTexts(*QAccessible::queryAccessibleInterface(&window), texts);
    return texts;
}

#include "screen_reader.moc"
