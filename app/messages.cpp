#include "app/messages.h"

#include <QMessageBox>

namespace {

QMessageBox::StandardButton Show(QMessageBox::Icon icon, QWidget* parent, const QString& title,
                                 const QString& text, QMessageBox::StandardButtons buttons) {
    QMessageBox box(icon, title, text, buttons, parent);
    box.setTextFormat(Qt::PlainText);
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

}  // namespace

void ShowWarning(QWidget* parent, const QString& title, const QString& text) {
    Show(QMessageBox::Warning, parent, title, text, QMessageBox::Ok);
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
