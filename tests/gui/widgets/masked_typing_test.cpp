// What accessibility is told while somebody types: the letters, but of a masked line only how many.
#include "widgets/masked_typing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>

#include "tests/support/screen_reader.h"

using testing::ElementsAre;

namespace {

class MaskedTypingTest : public testing::Test {
protected:
    MaskedTypingTest() { m_line.setObjectName(QStringLiteral("line")); }

    // All ways in which a line changes, and all kinds of events that tell of them.
    std::vector<std::string> Changes() {
        ScreenReader reader;
        m_line.clear();
        reader.TakeTypedTexts();
        QTest::keyClicks(&m_line, QStringLiteral("Xq7"));
        QTest::keyClick(&m_line, Qt::Key_Backspace);
        m_line.setText(QStringLiteral("zebra"));
        m_line.setSelection(1, 2);
        m_line.insert(QStringLiteral("k"));
        QAccessibleTextUpdateEvent update(&m_line, 2, QStringLiteral("ra"), QStringLiteral("n"));
        QAccessible::updateAccessibility(&update);
        return reader.TakeTypedTexts();
    }

    QLineEdit m_line;
};

// Where the toolkit, too, should mask one day, this says so.
TEST_F(MaskedTypingTest, WithoutItLettersAreTold) {
    m_line.setEchoMode(QLineEdit::Password);
    EXPECT_THAT(Changes(), testing::Contains("line at 0: +X"));
}

TEST_F(MaskedTypingTest, OfAMaskedLineOnlyTheNumberOfCharactersIsTold) {
    m_line.setEchoMode(QLineEdit::Normal);
    const auto plain = Changes();
    const MaskedTyping masked;
    for (const auto mode :
         {QLineEdit::Password, QLineEdit::PasswordEchoOnEdit, QLineEdit::NoEcho}) {
        m_line.setEchoMode(mode);
        std::vector<std::string> expected;
        expected.reserve(plain.size());
        for (const std::string& told : plain) {
            const auto text = told.find(": ") + 2;
            std::string stars = told.substr(text);
            for (char& letter : stars) {
                letter = letter == '+' || letter == '-' ? letter : '*';
            }
            expected.push_back(told.substr(0, text) + stars);
        }
        EXPECT_EQ(Changes(), expected) << mode;
    }
}

TEST_F(MaskedTypingTest, OfAnyOtherLineAllIsTold) {
    const auto before = Changes();
    const MaskedTyping masked;
    EXPECT_EQ(Changes(), before);
    EXPECT_EQ(before.front(), "line at 0: +X");
    EXPECT_EQ(before.back(), "line at 2: -ra+n");
}

TEST_F(MaskedTypingTest, TheCaretStaysWhereItIsTold) {
    static int told;
    told = -1;
    const auto before = QAccessible::installUpdateHandler([](QAccessibleEvent* event) {
        told = static_cast<QAccessibleTextCursorEvent*>(event)->cursorPosition();
    });
    {
        const MaskedTyping masked;
        m_line.setEchoMode(QLineEdit::Password);
        const ScreenReader reader;
        QAccessibleTextInsertEvent insert(&m_line, 1, QStringLiteral("ab"));
        insert.setCursorPosition(7);
        QAccessible::updateAccessibility(&insert);
        EXPECT_EQ(told, 7) << "and who listened before still does";
    }
    EXPECT_NE(QAccessible::installUpdateHandler(before), nullptr) << "also when it is gone";
}

TEST_F(MaskedTypingTest, ValuesAreToldAsBefore) {
    const MaskedTyping masked;
    ScreenReader reader;
    m_line.setText(QStringLiteral("plain"));
    reader.TakeAnnouncements();
    QAccessibleValueChangeEvent event(&m_line, m_line.text());
    QAccessible::updateAccessibility(&event);
    EXPECT_THAT(reader.TakeAnnouncements(), ElementsAre("line: plain"));
    m_line.setEchoMode(QLineEdit::Password);
    reader.TakeAnnouncements();
    QAccessible::updateAccessibility(&event);
    EXPECT_THAT(reader.TakeAnnouncements(), ElementsAre("line: *****"));
}

// The toolkit moves its own notes of a table's cells with the rows, once for each event that it is
// given.
TEST_F(MaskedTypingTest, RowsOfATableAreCountedOnce) {
    const MaskedTyping masked;
    const ScreenReader reader;
    QTableWidget table(3, 1);
    QAccessibleTableInterface& cells =
        *QAccessible::queryAccessibleInterface(&table)->tableInterface();
    const auto first = QAccessible::uniqueId(cells.cellAt(0, 0));
    table.insertRow(0);
    EXPECT_EQ(QAccessible::uniqueId(cells.cellAt(1, 0)), first);
}

}  // namespace
