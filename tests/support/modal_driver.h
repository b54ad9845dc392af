#pragma once

#include <deque>
#include <functional>
#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QPointer>
#include <QProgressDialog>
#include <QTimer>

/// Answers modal windows as a user would: each expected one, in turn, is handed to its function
/// when it appears. One that appears and is not expected is rejected and fails the test, and so
/// does an expected one that never appears.
///
/// A progress box comes only when the work is slow and goes by itself when it is done. It is left
/// alone, unless it is what is expected next.
class ModalDriver : public QObject {
public:
    using Answer = std::function<void(QDialog*)>;

    ModalDriver() { Look(); }
    ~ModalDriver() override { EXPECT_TRUE(m_answers.empty()) << m_answers.size() << " never seen"; }

    void Expect(Answer answer) { m_answers.push_back({false, std::move(answer)}); }

    /// A progress box, which is answered while the work goes on.
    void ExpectProgress(const std::function<void(QProgressDialog*)>& answer) {
        m_answers.push_back({true, [answer](QDialog* dialog) {
                                 auto* box = qobject_cast<QProgressDialog*>(dialog);
                                 ASSERT_NE(box, nullptr) << "not a progress box";
                                 answer(box);
                             }});
    }

    /// Windows of this class belong to the test itself and are left alone.
    template <typename Dialog>
    void Ignore() {
        m_isIgnored = [](QDialog* dialog) { return qobject_cast<Dialog*>(dialog) != nullptr; };
    }

    /// A message box with this caption and text, which is dismissed.
    void ExpectMessage(QMessageBox::Icon icon, const QString& caption, const QString& text) {
        Expect([=](QDialog* dialog) {
            auto* box = qobject_cast<QMessageBox*>(dialog);
            ASSERT_NE(box, nullptr) << "not a message box";
            EXPECT_EQ(box->icon(), icon);
            EXPECT_EQ(box->windowTitle(), caption);
            EXPECT_EQ(box->text(), text);
            EXPECT_EQ(box->textFormat(), Qt::PlainText);
            box->done(QMessageBox::Ok);
        });
    }

private:
    struct Expected {
        bool isProgress;
        Answer answer;
    };

    [[nodiscard]] bool IsNobodys(QDialog* dialog) const {
        if (m_isIgnored && m_isIgnored(dialog)) {
            return true;
        }
        return qobject_cast<QProgressDialog*>(dialog) != nullptr &&
               (m_answers.empty() || !m_answers.front().isProgress);
    }

    void Look() {
        // A new timer each time: answering may run an event loop of its own, in which we look on.
        QTimer::singleShot(2, this, [this] {
            auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (dialog != nullptr && dialog != m_answered && IsNobodys(dialog)) {
                dialog = nullptr;
            }
            const bool isNew = dialog != nullptr && dialog != m_answered;
            Answer answer;
            if (dialog != nullptr && !isNew && m_sinceAnswer.elapsed() > kLimitMilliseconds) {
                ADD_FAILURE() << "left open: " << dialog->windowTitle().toStdString();
                answer = [](QDialog* stuck) { stuck->reject(); };
                m_sinceAnswer.start();
            }
            if (isNew) {
                m_answered = dialog;
                m_sinceAnswer.start();
                if (m_answers.empty()) {
                    ADD_FAILURE() << "unexpected: " << dialog->windowTitle().toStdString();
                    answer = [](QDialog* unexpected) { unexpected->reject(); };
                } else {
                    answer = std::move(m_answers.front().answer);
                    m_answers.pop_front();
                }
            }
            Look();
            if (answer) {
                answer(dialog);
            }
        });
    }

    // How long an answered window may stay before it is taken for one that nobody closes.
    static constexpr qint64 kLimitMilliseconds = 20000;

    std::deque<Expected> m_answers;
    std::function<bool(QDialog*)> m_isIgnored;
    QElapsedTimer m_sinceAnswer;
    QPointer<QDialog> m_answered;
};
