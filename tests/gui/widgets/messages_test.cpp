// The question that no stray key answers.
#include "widgets/messages.h"

#include <gtest/gtest.h>
#include <optional>

#include <QPushButton>
#include <QTest>

#include "tests/support/modal_driver.h"

namespace {

/// What comes of pressing a key; nothing when the question stays.
std::optional<Answer> AnswerTo(int key, Qt::KeyboardModifiers modifiers = {}) {
    bool isAnswered = true;
    ModalDriver driver;
    driver.Expect([&](QDialog* dialog) {
        EXPECT_TRUE(QTest::qWaitForWindowActive(dialog));
        QWidget* focus = QApplication::focusWidget();
        QTest::keyClick(focus != nullptr ? focus : dialog, static_cast<Qt::Key>(key), modifiers);
        QTest::qWait(150);  // a button pressed by its key is animated
        isAnswered = !dialog->isVisible();
        if (!isAnswered) {
            dialog->reject();
        }
    });
    const Answer answer =
        AskWithoutDefault(nullptr, QStringLiteral("Title"), QStringLiteral("<b>Sure?</b>"));
    return isAnswered ? std::optional<Answer>(answer) : std::nullopt;
}

TEST(QuestionWithoutDefault, AnswersNothingToAKeyPressedForSomethingElse) {
    // Y, N, J: the accelerators of Yes and No, in English and German, without Alt.
    for (const int key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space, Qt::Key_Y, Qt::Key_N,
                          Qt::Key_J, Qt::Key_A}) {
        EXPECT_EQ(AnswerTo(key), std::nullopt) << key;
        EXPECT_EQ(AnswerTo(key, Qt::ShiftModifier), std::nullopt) << key;
    }
}

TEST(QuestionWithoutDefault, AnswersNothingToALetterOnAButton) {
    ModalDriver driver;
    driver.Expect([](QDialog* dialog) {
        EXPECT_TRUE(QTest::qWaitForWindowActive(dialog));
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        box->button(QMessageBox::No)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Y);
        QTest::qWait(150);  // a button pressed by its key is animated
        ASSERT_TRUE(box->isVisible());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    });
    EXPECT_EQ(AskWithoutDefault(nullptr, QStringLiteral("Title"), QStringLiteral("Sure?")),
              Answer::kNo);
}

TEST(QuestionWithoutDefault, TheKeysOfAButtonPressTheOneWithTheFocus) {
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        ModalDriver driver;
        driver.Expect([key](QDialog* dialog) {
            EXPECT_TRUE(QTest::qWaitForWindowActive(dialog));
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ASSERT_NE(box, nullptr);
            box->button(QMessageBox::Yes)->setFocus();
            QTest::keyClick(QApplication::focusWidget(), key);
        });
        EXPECT_EQ(AskWithoutDefault(nullptr, QStringLiteral("Title"), QStringLiteral("Sure?")),
                  Answer::kYes)
            << key;
    }
}

TEST(QuestionWithoutDefault, AnswersToItsOwnKeys) {
    EXPECT_EQ(AnswerTo(Qt::Key_Escape), Answer::kNo);
    EXPECT_EQ(AnswerTo(Qt::Key_Y, Qt::AltModifier), Answer::kYes);
    EXPECT_EQ(AnswerTo(Qt::Key_N, Qt::AltModifier), Answer::kNo);
}

TEST(QuestionWithoutDefault, TheKeyboardReachesItsButtons) {
    ModalDriver driver;
    driver.Expect([](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        ASSERT_NE(box, nullptr);
        EXPECT_EQ(box->icon(), QMessageBox::Question);
        EXPECT_EQ(box->textFormat(), Qt::PlainText);
        for (const auto button : {QMessageBox::Yes, QMessageBox::No}) {
            EXPECT_FALSE(qobject_cast<QPushButton*>(box->button(button))->isDefault());
        }
        EXPECT_TRUE(QTest::qWaitForWindowActive(box));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_NE(qobject_cast<QPushButton*>(QApplication::focusWidget()), nullptr);
        box->button(QMessageBox::Yes)->setFocus();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Space);
    });
    EXPECT_EQ(AskWithoutDefault(nullptr, QStringLiteral("Title"), QStringLiteral("Sure?")),
              Answer::kYes);
}

}  // namespace
