#include "widgets/messages.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

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
    QMessageBox box(QMessageBox::Question, title, text, QMessageBox::Yes | QMessageBox::No, parent);
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
