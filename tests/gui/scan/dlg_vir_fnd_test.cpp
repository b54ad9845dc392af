#include "scan/dlg_vir_fnd.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>

#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/rendered_box.h"
#include "tests/support/screen_reader.h"
#include "widgets/house_style.h"
#include "widgets/name_label.h"

namespace {

class VirFnd : public ::testing::Test {
protected:
    void SetUp() override {
        g_scnActn = 1;
        g_myScnopts = {};
        common::CopyToField(m_info.fileName, "/home/user/infected.com");
        common::CopyToField(m_info.virusName, "EICAR-Test");
        g_zqFileInfo = &m_info;
    }
    void TearDown() override {
        g_zqFileInfo = nullptr;
        g_scnActn = 1;
        g_myScnopts = {};
    }

    template <typename Widget>
    static Widget* Find(const dlgVirFnd& dialog, const char* name) {
        auto* widget = dialog.findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    static QString Text(const dlgVirFnd& dialog, const char* label) {
        return Find<QLabel>(dialog, label)->text();
    }

    tagZQFILEINFO m_info{};
};

TEST_F(VirFnd, TextsAndKeys) {
    const dlgVirFnd dialog;
    EXPECT_EQ(dialog.windowTitle(), "Virus found!");
    EXPECT_TRUE(dialog.isModal());
    EXPECT_EQ(Text(dialog, "headingLabel"), "Virus detected");
    EXPECT_EQ(Text(dialog, "fileNameCaption"), "File name");
    EXPECT_EQ(Text(dialog, "virusNameCaption"), "Virus name");
    const auto* caption = Find<QLabel>(dialog, "actionCaption");
    EXPECT_EQ(caption->text(), "Acti&on");
    EXPECT_EQ(caption->toolTip(), "Action on virus found (Alt+O)");
    auto* combo = Find<QComboBox>(dialog, "actionCombo");
    EXPECT_EQ(caption->buddy(), combo);
    ASSERT_EQ(combo->count(), 4);
    EXPECT_EQ(combo->itemText(0), "Repair only");
    EXPECT_EQ(combo->itemText(1), "Repair, delete if unrepairable");
    EXPECT_EQ(combo->itemText(2), "Delete");
    EXPECT_EQ(combo->itemText(3), "Skip");
    const auto* check = Find<QCheckBox>(dialog, "applyToAllCheck");
    EXPECT_EQ(check->text(), "&Apply action to all ");
    EXPECT_EQ(check->shortcut(), QKeySequence("Alt+A"));
    EXPECT_FALSE(check->isChecked());
    const auto* ok = Find<QPushButton>(dialog, "btnOk");
    EXPECT_EQ(ok->text(), "O&k");
    EXPECT_EQ(ok->toolTip(), "Ok (Alt+K)");
    EXPECT_EQ(ok->shortcut(), QKeySequence("Alt+K"));
    const auto* cancel = Find<QPushButton>(dialog, "btnCancel");
    EXPECT_EQ(cancel->text(), "&Cancel");
    EXPECT_EQ(cancel->toolTip(), "Cancel (Alt+C)");
    EXPECT_EQ(cancel->shortcut(), QKeySequence("Alt+C"));
}

TEST_F(VirFnd, ShowsWhatWasFound) {
    const dlgVirFnd dialog;
    EXPECT_EQ(Text(dialog, "fileNameLabel"), "/home/user/infected.com");
    EXPECT_EQ(Text(dialog, "virusNameLabel"), "EICAR-Test");
}

TEST_F(VirFnd, ShortensTheFileNameTo32) {
    common::CopyToField(m_info.fileName, "/0123456789/0123456789/0123456789/end.com");
    const dlgVirFnd dialog;
    // 13 bytes, three dots, 16 bytes.
    EXPECT_EQ(Text(dialog, "fileNameLabel"), "/0123456789/0...23456789/end.com");
}

TEST_F(VirFnd, ShowsNamesAsPlainText) {
    common::CopyToField(m_info.fileName, "/<b>x</b>\n.com");
    common::CopyToField(m_info.virusName, "<i>V</i>");
    const dlgVirFnd dialog;
    EXPECT_EQ(Text(dialog, "fileNameLabel"), "/<b>x</b>\\n.com");
    EXPECT_EQ(Text(dialog, "virusNameLabel"), "<i>V</i>");
    EXPECT_EQ(Find<QLabel>(dialog, "fileNameLabel")->textFormat(), Qt::PlainText);
    EXPECT_EQ(Find<QLabel>(dialog, "virusNameLabel")->textFormat(), Qt::PlainText);
}

TEST_F(VirFnd, FieldsWithoutTerminatorAreReadToTheirEnd) {
    std::fill(std::begin(m_info.virusName), std::end(m_info.virusName), 'v');
    std::fill(std::begin(m_info.fileName), std::end(m_info.fileName), 'f');
    const dlgVirFnd dialog;
    EXPECT_EQ(Text(dialog, "virusNameLabel"), QString(50, 'v'));
    EXPECT_EQ(Text(dialog, "fileNameLabel"), QString(13, 'f') + "..." + QString(16, 'f'));
}

TEST_F(VirFnd, WithoutADetectionItIsEmpty) {
    g_zqFileInfo = nullptr;
    const dlgVirFnd dialog;
    EXPECT_EQ(Text(dialog, "fileNameLabel"), "");
}

TEST_F(VirFnd, StartsFromTheLastChoice) {
    const struct {
        std::int32_t last;
        int item;
    } kRows[] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 1}, {-1, 1}, {100000, 1}};
    for (const auto& row : kRows) {
        g_scnActn = row.last;
        g_myScnopts = {7, 1};
        const dlgVirFnd dialog;
        EXPECT_EQ(Find<QComboBox>(dialog, "actionCombo")->currentIndex(), row.item) << row.last;
        EXPECT_EQ(g_myScnopts.applyToAll, 0) << row.last;
        EXPECT_EQ(g_myScnopts.choice, static_cast<std::uint16_t>(row.last)) << row.last;
        EXPECT_EQ(g_scnActn, row.last);
    }
}

TEST_F(VirFnd, ActivatingAnItemChoosesIt) {
    dlgVirFnd dialog;
    auto* combo = Find<QComboBox>(dialog, "actionCombo");
    for (int item = 0; item < 4; ++item) {
        combo->setCurrentIndex(item);
        emit combo->activated(item);
        EXPECT_EQ(g_myScnopts.choice, item);
        EXPECT_EQ(g_scnActn, item);
    }
}

// It comes while the user may be typing elsewhere, and what it starts with may be "Delete".
TEST_F(VirFnd, AStrayReturnAnswersNothing) {
    g_scnActn = 2;
    dlgVirFnd dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    for (const char* name : {"btnOk", "btnCancel"}) {
        const auto* button = Find<QPushButton>(dialog, name);
        EXPECT_FALSE(button->isDefault()) << name;
        EXPECT_FALSE(button->autoDefault()) << name;
    }
    for (const char* focus : {"actionCombo", "applyToAllCheck"}) {
        Find<QWidget>(dialog, focus)->setFocus();
        for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter}) {
            QTest::keyClick(QApplication::focusWidget(), key);
            QTest::qWait(150);  // a button pressed by its key is animated
            ASSERT_TRUE(dialog.isVisible()) << focus << ' ' << key;
            EXPECT_FALSE(Find<QCheckBox>(dialog, "applyToAllCheck")->isChecked());
        }
    }
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_K, Qt::AltModifier);
    ASSERT_TRUE(QTest::qWaitFor([&dialog] { return !dialog.isVisible(); }));
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(g_myScnopts.choice, 2);
}

TEST_F(VirFnd, OkTakesTheItemShown) {
    g_scnActn = 9;  // shows item 1
    dlgVirFnd dialog;
    QTest::mouseClick(Find<QPushButton>(dialog, "btnOk"), Qt::LeftButton);
    EXPECT_EQ(dialog.result(), 1);
    EXPECT_EQ(g_myScnopts.choice, 1);
    EXPECT_EQ(g_myScnopts.applyToAll, 0);
    EXPECT_EQ(g_scnActn, 1);
}

TEST_F(VirFnd, OkWithTheCheckBoxAppliesToAll) {
    dlgVirFnd dialog;
    Find<QComboBox>(dialog, "actionCombo")->setCurrentIndex(3);
    Find<QCheckBox>(dialog, "applyToAllCheck")->setChecked(true);
    dialog.OnOkClicked();
    EXPECT_EQ(dialog.result(), 1);
    EXPECT_EQ(g_myScnopts.choice, 3);
    EXPECT_EQ(g_myScnopts.applyToAll, 1);
    EXPECT_EQ(g_scnActn, 3);
}

TEST_F(VirFnd, CancelKeepsTheChoiceAndAppliesNothingToAll) {
    dlgVirFnd dialog;
    dialog.setResult(1);
    Find<QCheckBox>(dialog, "applyToAllCheck")->setChecked(true);
    QTest::mouseClick(Find<QPushButton>(dialog, "btnCancel"), Qt::LeftButton);
    EXPECT_EQ(dialog.result(), 0);
    EXPECT_EQ(g_myScnopts.applyToAll, 0);
    EXPECT_EQ(g_scnActn, 1);
}

TEST_F(VirFnd, TheWholeFileNameCanBeHad) {
    const std::string name = "/home/user/<b>a long way</b>/" + std::string(200, 'd') + "/virus.com";
    common::CopyToField(m_info.fileName, name);
    common::CopyToField(m_info.virusName, "<i>V</i>");
    const dlgVirFnd dialog;
    auto* label = Find<NameLabel>(dialog, "fileNameLabel");
    EXPECT_EQ(label->text().size(), 32);
    EXPECT_EQ(label->WholeName().toStdString(), name);
    EXPECT_EQ(ScreenReader::NameOf(label).toStdString(), name);
    EXPECT_TRUE(label->toolTip().contains("/home/user/&lt;b&gt;a long way&lt;/b&gt;/ddd"));
    EXPECT_TRUE(label->toolTip().contains("ddd/virus.com"));
    EXPECT_EQ(label->textInteractionFlags(),
              Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* virus = Find<NameLabel>(dialog, "virusNameLabel");
    EXPECT_EQ(virus->WholeName(), "<i>V</i>");
    EXPECT_TRUE(virus->toolTip().contains("&lt;i&gt;V"));
}

TEST_F(VirFnd, IsReadOutAsItIsShown) {
    const dlgVirFnd dialog;
    EXPECT_TRUE(ScreenReader::UnreadableLabels(dialog).empty())
        << ScreenReader::UnreadableLabels(dialog).front();
    EXPECT_EQ(ScreenReader::NameOf(Find<QLabel>(dialog, "fileNameLabel")),
              "/home/user/infected.com");
    EXPECT_EQ(ScreenReader::NameOf(Find<QLabel>(dialog, "virusNameLabel")), "EICAR-Test");
    // A list is read out by its item; its caption comes from the label.
    EXPECT_EQ(ScreenReader::NameOf(Find<QComboBox>(dialog, "actionCombo")),
              "Repair, delete if unrepairable");
    EXPECT_EQ(Find<QLabel>(dialog, "fileNameCaption")->buddy(),
              Find<QLabel>(dialog, "fileNameLabel"));
}

TEST_F(VirFnd, TheChoiceHasTheFocusAndTheNamesComeLast) {
    dlgVirFnd dialog;
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    QStringList order;
    for (int i = 0; i < 6; ++i) {
        order << QApplication::focusWidget()->objectName();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(order.join(' '),
              "actionCombo applyToAllCheck btnOk btnCancel fileNameLabel virusNameLabel");
}

TEST_F(VirFnd, TheCheckBoxCanBeSeenInEveryPalette) {
    dlgVirFnd dialog;
    dialog.resize(dialog.sizeHint());
    HouseStyle style;
    auto* check = Find<QCheckBox>(dialog, "applyToAllCheck");
    check->setStyle(&style);
    for (const QPalette& palette : {LightPalette(), DarkPalette(), DimPalette()}) {
        dialog.setPalette(palette);
        const QColor behind = palette.color(QPalette::Window);
        EXPECT_GE(EdgeContrast(check->grab().toImage(), IndicatorOf(*check), behind, ContrastRatio),
                  3.0)
            << behind.name().toStdString();
    }
}

}  // namespace
