#include "widgets/whats_this_key.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QGroupBox>
#include <QHelpEvent>
#include <QLineEdit>
#include <QTest>
#include <QWhatsThis>

namespace {

/// A dialog with a group and two lines in it.
class WhatsThisKey : public ::testing::Test {
protected:
    void SetUp() override {
        ExplainOnF1(m_dialog);
        m_explained->setGeometry(0, 0, 90, 20);
        m_plain->setGeometry(0, 30, 90, 20);
        m_dialog.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&m_dialog));
        qApp->installEventFilter(&m_seen);
    }
    void TearDown() override {
        qApp->removeEventFilter(&m_seen);
        QWhatsThis::hideText();
    }

    // What explains itself when the key is pressed in `widget`.
    QObject* ExplainedIn(QWidget& widget) {
        QWhatsThis::hideText();  // what is shown takes the keys
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_seen.receiver = nullptr;
        widget.setFocus();
        QTest::keyClick(&widget, Qt::Key_F1);
        return m_seen.receiver;
    }

    struct Seen : QObject {
        bool eventFilter(QObject* watched, QEvent* event) override {
            if (event->type() == QEvent::WhatsThis) {
                receiver = watched;
            }
            return false;
        }
        QObject* receiver = nullptr;
    };

    QDialog m_dialog;
    QGroupBox* m_group = new QGroupBox(&m_dialog);
    QLineEdit* m_explained = new QLineEdit(m_group);
    QLineEdit* m_plain = new QLineEdit(m_group);
    Seen m_seen;
};

TEST_F(WhatsThisKey, ExplainsTheControlWithTheFocus) {
    m_dialog.setWhatsThis("the dialog");
    m_explained->setWhatsThis("the line");
    EXPECT_EQ(ExplainedIn(*m_explained), m_explained);
}

TEST_F(WhatsThisKey, OrWhatItStandsIn) {
    m_dialog.setWhatsThis("the dialog");
    EXPECT_EQ(ExplainedIn(*m_plain), &m_dialog);
    m_group->setWhatsThis("the group");
    EXPECT_EQ(ExplainedIn(*m_plain), m_group);
}

TEST_F(WhatsThisKey, SaysNothingWhereNothingIsExplained) {
    QWidget window;
    window.setWhatsThis("not asked");
    EXPECT_EQ(ExplainedIn(*m_plain), nullptr);
}

}  // namespace
