// What the dialog hands over, what it says, and its outside.
#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QLabel>
#include <QMetaMethod>
#include <QTest>
#include <QTranslator>
#include <QTreeWidget>

#include "tests/gui/widgets/dlg_sc_dir_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// The result

TEST_F(DlgScDirTest, TheRootTickedYieldsTheRootAlone) {
    m_tree.Folder("usr/bin");
    m_tree.File("file");
    Open();
    Expanded("/usr");
    Click("/");
    EXPECT_THAT(ResultOfScan(), ElementsAre("/"));
    ASSERT_NE(g_pPLstHead, nullptr);
    EXPECT_EQ(g_pPLstHead, g_pPLstCurr);
}

TEST_F(DlgScDirTest, UntickingOneSubfolderYieldsTheOthersSeparately) {
    for (const char* name : {"usr/bin/deep", "usr/lib", "usr/share/doc", "usr/.cache", "var"}) {
        m_tree.Folder(name);
    }
    Open();
    Click("/usr");
    Expanded("/usr/share");
    Click("/usr/bin");
    EXPECT_FALSE(Ticked("/usr"));
    EXPECT_THAT(ResultOfScan(), ElementsAre("/usr/.cache", "/usr/lib", "/usr/share"));
    EXPECT_STREQ(g_pPLstCurr->path, "/usr/share");
    EXPECT_EQ(g_pPLstCurr->next, nullptr);
}

TEST_F(DlgScDirTest, TheResultIsInTheOrderOfTheTree) {
    for (const char* name : {"a/x/y", "b", "c/z"}) {
        m_tree.Folder(name);
    }
    m_tree.File("a/file");
    m_tree.File("a/x/file");
    m_tree.File("file");
    Open();
    Expanded("/a/x");
    Expanded("/c");
    for (const char* path : {"/c", "/b", "/a/x/y"}) {
        Click(path);
    }
    EXPECT_THAT(ResultOfScan(), ElementsAre("/a/x/y", "/b", "/c"));
}

TEST_F(DlgScDirTest, ScanIsDisabledUntilSomethingIsTickedAndThenStaysEnabled) {
    m_tree.Folder("a");
    Open();
    EXPECT_FALSE(ScanButton()->isEnabled());
    ClickText("/a");
    EXPECT_FALSE(ScanButton()->isEnabled());
    Click("/a");
    EXPECT_TRUE(ScanButton()->isEnabled());
    Click("/a");
    EXPECT_TRUE(ScanButton()->isEnabled());
}

TEST_F(DlgScDirTest, NothingTickedIsAnsweredWithAMessageAndTheDialogStays) {
    m_tree.Folder("a");
    m_tree.File("file");
    Open();
    Click("/a");
    Click("/a");
    const BoxAnswerer boxes;
    QTest::mouseClick(ScanButton(), Qt::LeftButton);
    ASSERT_EQ(boxes.Seen().size(), 1U);
    EXPECT_EQ(boxes.Seen()[0].title, QStringLiteral("Corvane Scan"));
    EXPECT_EQ(boxes.Seen()[0].text, QStringLiteral("Please select directory to scan."));
    EXPECT_EQ(boxes.Seen()[0].icon, QMessageBox::Information);
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_EQ(g_pPLstHead, nullptr);
    Click("/a");
    EXPECT_THAT(ResultOfScan(), ElementsAre("/a"));
}

TEST_F(DlgScDirTest, CancelAndEscapeRejectAndYieldNothing) {
    m_tree.Folder("a");
    for (const bool byKey : {false, true}) {
        Open();
        Click("/a");
        m_dialog->setResult(QDialog::Accepted);
        if (byKey) {
            QTest::keyClick(m_dialog.get(), Qt::Key_Escape);
        } else {
            QTest::mouseClick(CancelButton(), Qt::LeftButton);
        }
        EXPECT_EQ(m_dialog->result(), QDialog::Rejected);
        EXPECT_FALSE(m_dialog->isVisible());
        EXPECT_THAT(Result(), IsEmpty());
    }
}

TEST_F(DlgScDirTest, APathOf255BytesFitsAndOneOf256IsLeftOutAndNamed) {
    // "/" and 199 bytes, "/" and 54 or 55 bytes: 255 and 256 in all.
    const std::string parent(199, 'p');
    const std::string fits(54, 'f');
    const std::string tooLong = std::string(54, 'g') + "\n";
    m_tree.Folder(parent + "/" + fits);
    m_tree.Folder(parent + "/" + tooLong);
    m_tree.File(parent + "/file");
    Open();
    Expanded("/" + parent);
    Click("/" + parent + "/" + fits);
    Click("/" + parent + "/" + tooLong);
    const BoxAnswerer boxes;
    EXPECT_THAT(ResultOfScan(), ElementsAre("/" + parent + "/" + fits));
    EXPECT_EQ(std::string(g_pPLstHead->path).size(), 255U);
    ASSERT_EQ(boxes.Seen().size(), 1U);
    EXPECT_EQ(boxes.Seen()[0].title, QStringLiteral("Corvane Scan"));
    EXPECT_EQ(boxes.Seen()[0].icon, QMessageBox::Warning);
    EXPECT_EQ(boxes.Seen()[0].format, Qt::PlainText);
    EXPECT_TRUE(boxes.Seen()[0].text.startsWith(QStringLiteral(
        "These folders cannot be scanned because their paths are longer than 255 bytes. They are "
        "left out:\n\n/ppp")));
    EXPECT_TRUE(boxes.Seen()[0].text.endsWith(QStringLiteral("ggg\\n")));
    EXPECT_EQ(boxes.Seen()[0].details, QString(QStringLiteral("/") + QString(199, u'p') + u'/' +
                                               QString(54, u'g') + QStringLiteral("\\n")));
}

TEST_F(DlgScDirTest, WhenAllIsLeftOutNothingIsScannedAndTheDialogStays) {
    std::string name(250, 'n');
    for (int i = 0; i < 7; ++i) {
        m_tree.Folder("parent/" + std::to_string(i) + name);
    }
    m_tree.File("parent/file");
    Open();
    Expanded("/parent");
    for (int i = 0; i < 7; ++i) {
        Click("/parent/" + std::to_string(i) + name);
    }
    const BoxAnswerer boxes;
    QTest::mouseClick(ScanButton(), Qt::LeftButton);
    ASSERT_EQ(boxes.Seen().size(), 2U);
    EXPECT_EQ(boxes.Seen()[0].text.count(QStringLiteral("\n/parent/")), 5) << "five, and the rest";
    EXPECT_TRUE(boxes.Seen()[0].text.endsWith(QChar(0x2026)));
    EXPECT_EQ(boxes.Seen()[0].details.count(u'\n'), 6);
    EXPECT_EQ(boxes.Seen()[1].text, QStringLiteral("Please select directory to scan."));
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_EQ(g_pPLstHead, nullptr);
}

// The dialog

TEST_F(DlgScDirTest, EveryPartCanBeReachedAndIsNamed) {
    Open();
    EXPECT_EQ(m_dialog->windowTitle(), QStringLiteral("Select Directory"));
    EXPECT_EQ(ScanButton()->text(), QStringLiteral("&Scan"));
    EXPECT_EQ(ScanButton()->toolTip(), QStringLiteral("Scan the ticked folders (Alt+S)"));
    EXPECT_EQ(CancelButton()->text(), QStringLiteral("&Cancel"));
    EXPECT_EQ(CancelButton()->toolTip(), QStringLiteral("Close without scanning (Alt+C)"));
    for (const QWidget* widget :
         std::initializer_list<QWidget*>{View(), ScanButton(), CancelButton()}) {
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->objectName().toStdString();
        EXPECT_NE(widget->focusPolicy(), Qt::NoFocus);
    }
    EXPECT_EQ(m_dialog->findChild<QLabel*>(QStringLiteral("hintLabel"))->buddy(), View());
    ScanButton()->setEnabled(true);
    EXPECT_TRUE(View()->hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(ScanButton()->hasFocus());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    EXPECT_TRUE(CancelButton()->hasFocus());
    QTest::keyClick(m_dialog.get(), Qt::Key_C, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([this] { return !m_dialog->isVisible(); }));
}

class Shouting : public QTranslator {
public:
    [[nodiscard]] bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char* /*unused*/,
                      int /*unused*/) const override {
        return qstrcmp(context, "FolderPicker") == 0 ? QString::fromLatin1(text).toUpper()
                                                     : QString();
    }
};

TEST_F(DlgScDirTest, TakesItsTextsAnewWhenTheLanguageChanges) {
    m_tree.Folder("a");
    Open();
    Shouting translator;
    QApplication::installTranslator(&translator);
    QApplication::processEvents();
    EXPECT_EQ(ScanButton()->text(), QStringLiteral("&SCAN"));
    EXPECT_EQ(m_dialog->windowTitle(), QStringLiteral("SELECT DIRECTORY"));
    EXPECT_EQ(Root()->text(0), QStringLiteral("/"));
    EXPECT_THAT(NamesIn(Root()), ElementsAre("a"));
    QApplication::removeTranslator(&translator);
    QApplication::processEvents();
    EXPECT_EQ(ScanButton()->text(), QStringLiteral("&Scan"));
}

TEST_F(DlgScDirTest, TheOperationsStandInTheirOrder) {
    const QMetaObject& meta = FolderPicker::staticMetaObject;
    std::vector<std::string> names;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        names.push_back(meta.method(i).name().toStdString());
    }
    EXPECT_THAT(names, ElementsAre("GetFullPath", "GetPathsToScan", "fullPath", "OnFldScnClick",
                                   "OnFldCnclClick", "OnListClick", "OnListItemExpanded",
                                   "OnListItemCollapsed", "CheckForChild", "CheckForParent", "init",
                                   "languageChange"));
}

}  // namespace
