#include "widgets/messages.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>

namespace {

QMessageBox::StandardButton Show(QMessageBox::Icon icon, QWidget* parent, const QString& title,
                                 const QString& text, QMessageBox::StandardButtons buttons,
                                 const QString& explanation = {}) {
    QMessageBox box(icon, title, text, buttons, parent);
    box.setTextFormat(Qt::PlainText);
    box.setInformativeText(explanation);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

/// Answers to its buttons, their accelerators and Escape alone: a message box takes the letter of
/// an accelerator without Alt, too, which is what somebody types who has not seen the question yet.
class DeafToTyping : public QMessageBox {
public:
    using QMessageBox::QMessageBox;

protected:
    void keyPressEvent(QKeyEvent* event) override {
        constexpr Qt::KeyboardModifiers kNoTyping =
            Qt::AltModifier | Qt::ControlModifier | Qt::MetaModifier;
        const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
        if (event->key() == Qt::Key_Escape || (event->modifiers() & kNoTyping) != 0) {
            QMessageBox::keyPressEvent(event);
            return;
        }
        // A button that is no default leaves this key to its window, even where it has the focus.
        if (auto* button = qobject_cast<QAbstractButton*>(focusWidget()); isReturn && button) {
            button->click();
        }
        event->accept();
    }
};

}  // namespace

void ShowWarning(QWidget* parent, const QString& title, const QString& text,
                 const QString& explanation) {
    Show(QMessageBox::Warning, parent, title, text, QMessageBox::Ok, explanation);
}

void ShowCritical(QWidget* parent, const QString& title, const QString& text) {
    Show(QMessageBox::Critical, parent, title, text, QMessageBox::Ok);
}

void ShowInformation(QWidget* parent, const QString& title, const QString& text) {
    Show(QMessageBox::Information, parent, title, text, QMessageBox::Ok);
}

Answer AskYesNoCancel(QWidget* parent, const QString& title, const QString& text) {
    switch (Show(QMessageBox::Question, parent, title, text,
                 QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel)) {
        case QMessageBox::Yes:
            return Answer::kYes;
        case QMessageBox::No:
            return Answer::kNo;
        default:
            return Answer::kCancel;
    }
}

bool AskYesNo(QWidget* parent, const QString& title, const QString& text) {
    QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::NoButton, parent);
    box.setTextFormat(Qt::PlainText);
    const QAbstractButton* yes =
        box.addButton(QCoreApplication::translate("Messages", "&Yes"), QMessageBox::YesRole);
    box.setEscapeButton(
        box.addButton(QCoreApplication::translate("Messages", "&No"), QMessageBox::NoRole));
    box.exec();
    return box.clickedButton() == yes;
}

Answer AskWithoutDefault(QWidget* parent, const QString& title, const QString& text) {
    DeafToTyping box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No,
                     parent);
    box.setTextFormat(Qt::PlainText);
    box.setEscapeButton(QMessageBox::No);
    for (QPushButton* button : box.findChildren<QPushButton*>()) {
        button->setAutoDefault(false);
    }
    // Else the first button would get the focus, and with it the space bar.
    box.setFocusPolicy(Qt::StrongFocus);
    box.setFocus();
    switch (box.exec()) {
        case QMessageBox::Yes:
            return Answer::kYes;
        case QMessageBox::No:
            return Answer::kNo;
        default:
            return Answer::kCancel;
    }
}
