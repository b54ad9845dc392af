// A label for names that do not fit.
#include "widgets/name_label.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QTest>
#include <QTextDocument>

#include "tests/support/screen_reader.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const QString kShort = QStringLiteral("/home/user/a...far/away/virus.com");
const QString kWhole = QStringLiteral("/home/user/a/long/way/that/is/very/far/away/virus.com");

class Name : public testing::Test {
protected:
    void Show(int width) {
        m_label.setObjectName(QStringLiteral("name"));
        m_label.SetName(kShort, kWhole);
        m_label.resize(width, m_label.sizeHint().height());
        m_label.show();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&m_label));
    }
    /// How many of the last `columns` pixel columns have something painted.
    int PaintedAtTheEnd(int columns) {
        const QImage picture = m_label.grab().toImage();
        const QRgb ground = picture.pixel(picture.width() - 1, 0);
        int painted = 0;
        for (int x = picture.width() - columns; x < picture.width(); ++x) {
            for (int y = 0; y < picture.height(); ++y) {
                if (picture.pixel(x, y) != ground) {
                    ++painted;
                    break;
                }
            }
        }
        return painted;
    }
    static QString Clipboard() { return QApplication::clipboard()->text(); }

    NameLabel m_label;
};

TEST_F(Name, ShowsTheShortOneAndTellsTheWhole) {
    m_label.SetName(kShort, kWhole);
    EXPECT_EQ(m_label.text(), kShort);
    EXPECT_EQ(m_label.WholeName(), kWhole);
    EXPECT_EQ(ScreenReader::NameOf(&m_label), kWhole);
    EXPECT_EQ(m_label.textFormat(), Qt::PlainText);
}

TEST_F(Name, TheTooltipShowsMarkupAsItStands) {
    const QString name = QStringLiteral("/t/<img src=\"/etc/passwd\"> & <b>two  blanks</b>.com");
    m_label.SetName(kShort, name);
    ASSERT_TRUE(Qt::mightBeRichText(m_label.toolTip()));  // so the escapes are understood
    EXPECT_FALSE(m_label.toolTip().contains(QStringLiteral("<img")));
    QTextDocument shown;
    shown.setHtml(m_label.toolTip());
    EXPECT_EQ(shown.toPlainText(), name);
    m_label.SetName(QString(), QString());
    EXPECT_EQ(m_label.toolTip(), QString());
}

TEST_F(Name, IsAnnouncedWhenItChangesAndOnlyThen) {
    m_label.setObjectName(QStringLiteral("name"));
    m_label.SetName(QStringLiteral("a"), QStringLiteral("a"));
    ScreenReader reader;
    m_label.SetName(QStringLiteral("a...b"), QStringLiteral("a and b"));
    EXPECT_THAT(reader.TakeAnnouncements(), ElementsAre("name: a and b"));
    m_label.SetName(QStringLiteral("a...b"), QStringLiteral("a and b"));
    EXPECT_THAT(reader.TakeAnnouncements(), IsEmpty());
    m_label.SetName(QStringLiteral("a...b"), QStringLiteral("a or b"));
    EXPECT_THAT(reader.TakeAnnouncements(), ElementsAre("name: a or b"))
        << "though the text shown is the same";
}

TEST_F(Name, HasAnEllipsisWhereItDoesNotFit) {
    Show(400);
    m_label.clearFocus();
    const QImage whole = m_label.grab().toImage();
    m_label.resize(120, m_label.height());
    const QImage narrow = m_label.grab().toImage();
    // The end is where it belongs: cut off, the text's first 120 pixels would be seen.
    EXPECT_FALSE(narrow == whole.copy(0, 0, narrow.width(), narrow.height()));
    QLabel expected(m_label.fontMetrics().elidedText(kShort, Qt::ElideMiddle, 120));
    expected.resize(m_label.size());
    EXPECT_EQ(narrow, expected.grab().toImage());
    EXPECT_EQ(m_label.text(), kShort);
    EXPECT_LT(m_label.minimumSizeHint().width(), 120);
}

TEST_F(Name, FittingItIsPaintedAsALabelPaintsIt) {
    Show(400);
    m_label.clearFocus();
    QLabel expected(kShort);
    expected.resize(m_label.size());
    EXPECT_EQ(m_label.grab().toImage(), expected.grab().toImage());
    EXPECT_EQ(PaintedAtTheEnd(20), 0);
}

TEST_F(Name, TheKeyboardSelectsAndCopiesTheWholeName) {
    Show(120);
    EXPECT_NE(m_label.focusPolicy() & Qt::TabFocus, 0);
    m_label.clearFocus();
    m_label.setFocus(Qt::TabFocusReason);
    EXPECT_EQ(m_label.selectedText(), kShort);
    QApplication::clipboard()->clear();
    QTest::keyClick(&m_label, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(Clipboard(), kWhole);
}

TEST_F(Name, APartIsCopiedAsItWasSelected) {
    Show(400);
    m_label.setFocus();
    m_label.setSelection(1, 4);
    QTest::keyClick(&m_label, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(Clipboard(), QStringLiteral("home"));
}

TEST_F(Name, TheMouseSelectsAndItsMenuCopies) {
    Show(400);
    QTest::mouseDClick(&m_label, Qt::LeftButton, {}, QPoint(14, m_label.height() / 2));
    EXPECT_EQ(m_label.selectedText(), QStringLiteral("home"));
    m_label.setSelection(0, 0);
    EXPECT_EQ(m_label.contextMenuPolicy(), Qt::ActionsContextMenu);
    ASSERT_EQ(m_label.actions().size(), 1);
    EXPECT_EQ(m_label.actions()[0]->text(), QStringLiteral("&Copy"));
    m_label.actions()[0]->trigger();
    EXPECT_EQ(Clipboard(), kWhole);
}

}  // namespace
