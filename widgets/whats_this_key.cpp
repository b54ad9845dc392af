#include "widgets/whats_this_key.h"

#include <QCoreApplication>
#include <QHelpEvent>
#include <QKeySequence>
#include <QShortcut>
#include <QWidget>

namespace {

// The widget whose text explains what has the focus; null when nothing does.
QWidget* Explainer(QWidget& dialog) {
    QWidget* widget = dialog.focusWidget() != nullptr ? dialog.focusWidget() : &dialog;
    while (widget != nullptr && widget->whatsThis().isEmpty()) {
        widget = widget == &dialog ? nullptr : widget->parentWidget();
    }
    return widget;
}

void Explain(QWidget& dialog) {
    if (QWidget* widget = Explainer(dialog); widget != nullptr) {
        const QPoint centre = widget->rect().center();
        QHelpEvent event(QEvent::WhatsThis, centre, widget->mapToGlobal(centre));
        QCoreApplication::sendEvent(widget, &event);
    }
}

}  // namespace

void ExplainOnF1(QWidget& dialog) {
    auto* key = new QShortcut(QKeySequence(Qt::Key_F1), &dialog);
    QObject::connect(key, &QShortcut::activated, &dialog, [&dialog] { Explain(dialog); });
}
