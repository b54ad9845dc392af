#pragma once

#include <QInputDialog>
#include <QLineEdit>

#include "tests/support/modal_driver.h"

// The questions that more than one page asks.

/// What is asked before unapplied settings are left.
inline void ExpectSaveQuestion(ModalDriver& user, QMessageBox::StandardButton answer) {
    user.Expect([answer](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->icon(), QMessageBox::Question);
        EXPECT_EQ(box->windowTitle(), "Corvane Settings");
        EXPECT_EQ(box->text(), "Do you want to save the changes?");
        EXPECT_EQ(box->standardButtons(), QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        box->button(answer)->click();
    });
}

/// The settings password: types it and confirms, or cancels.
inline void ExpectPasswordQuestion(ModalDriver& user, const QString& typed, int result) {
    user.Expect([typed, result](QDialog* dialog) {
        auto* input = qobject_cast<QInputDialog*>(dialog);
        ASSERT_NE(input, nullptr);
        EXPECT_EQ(input->windowTitle(), "Corvane");
        EXPECT_EQ(input->labelText(), "Enter password:");
        EXPECT_EQ(input->textEchoMode(), QLineEdit::Password);
        input->setTextValue(typed);
        input->done(result);
    });
}
