// The picker of folders for a scheduled scan: what it hands over, and what it leaves out.

#include "widgets/dlg_dir.h"

#include <gmock/gmock.h>

#include <QTranslator>

#include "tests/gui/widgets/dlg_sc_dir_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The dialog on a scratch tree whose items are ticked and opened as clicks would do it.
class DlgDirTest : public testing::Test {
protected:
    ~DlgDirTest() override {
        common::FreePathList(g_pPLstHead_1, g_pPLstCurr_1);
        g_SchFolders.clear();
    }

    void Open() {
        m_dialog = std::make_unique<dlgDir>(nullptr, FolderListing(m_tree.Root()));
        m_dialog->show();
    }
    [[nodiscard]] QTreeWidget* View() const {
        return m_dialog->findChild<QTreeWidget*>(QStringLiteral("folderTree"));
    }
    [[nodiscard]] QPushButton* AddButton() const {
        return m_dialog->findChild<QPushButton*>(QStringLiteral("btnFldScn"));
    }
    StateChkLstView* At(const std::string& path) {
        auto* item = static_cast<StateChkLstView*>(View()->topLevelItem(0));
        for (const auto& part : std::filesystem::path(path).relative_path()) {
            View()->expandItem(item);
            item = item->ChildNamed(part.string());
            if (item == nullptr) {
                throw std::runtime_error("not in the tree: " + path);
            }
        }
        return item;
    }
    void Expand(const std::string& path) { View()->expandItem(At(path)); }
    /// Turns the box of a folder, which is what a click on it does.
    void Toggle(const std::string& path) {
        StateChkLstView* item = At(path);
        item->setCheckState(0, item->IsTicked() ? Qt::Unchecked : Qt::Checked);
    }
    static std::vector<std::string> Nodes() {
        std::vector<std::string> paths;
        for (const tagPathList* node = g_pPLstHead_1; node != nullptr; node = node->next) {
            paths.emplace_back(node->path);
        }
        return paths;
    }
    void Add() { AddButton()->click(); }
    void ExpectAccepted() {
        EXPECT_EQ(m_dialog->result(), QDialog::Accepted);
        EXPECT_FALSE(m_dialog->isVisible());
    }

    ScratchTree m_tree;
    std::unique_ptr<dlgDir> m_dialog;
};

TEST_F(DlgDirTest, ATickedFolderThatWasNotOpenedIsTakenWithASlashAtItsEnd) {
    m_tree.Folder("usr/bin");
    m_tree.File("file");
    Open();
    Toggle("/usr");
    Add();
    ExpectAccepted();
    EXPECT_EQ(g_SchFolders, "/usr/");
    EXPECT_THAT(Nodes(), ElementsAre("/usr/"));
    EXPECT_EQ(g_pPLstHead_1, g_pPLstCurr_1);
    EXPECT_EQ(g_pPLstHead, nullptr) << "the list of a scan that is made now";
}

// Unlike dlgScDir: what has been opened is told folder by folder, though all is ticked.
TEST_F(DlgDirTest, OfAnOpenedFolderItsDeepestFoldersAreTaken) {
    for (const char* name : {"usr/bin", "usr/lib/deep", "usr/lib/x", "var"}) {
        m_tree.Folder(name);
    }
    m_tree.File("file");
    Open();
    Toggle("/usr");
    Expand("/usr");
    Expand("/usr/lib");
    Toggle("/var");
    Add();
    ExpectAccepted();
    EXPECT_EQ(g_SchFolders, "/usr/bin/;/usr/lib/deep/;/usr/lib/x/;/var/");
    EXPECT_THAT(Nodes(), ElementsAre("/usr/bin/", "/usr/lib/deep/", "/usr/lib/x/", "/var/"));
    EXPECT_STREQ(g_pPLstCurr_1->path, "/var/");
}

TEST_F(DlgDirTest, ATickedRootGivesItsFoldersAndOneWithoutFoldersItself) {
    Open();
    Toggle("/");
    Add();
    ExpectAccepted();
    EXPECT_EQ(g_SchFolders, "/");

    common::FreePathList(g_pPLstHead_1, g_pPLstCurr_1);
    g_SchFolders.clear();
    m_tree.Folder("a");
    m_tree.Folder("b/c");
    Open();
    Toggle("/");
    Add();
    ExpectAccepted();
    EXPECT_EQ(g_SchFolders, "/a/;/b/");
}

TEST_F(DlgDirTest, UntickedFoldersAreLookedInto) {
    for (const char* name : {"a/x", "a/y", "b"}) {
        m_tree.Folder(name);
    }
    Open();
    Toggle("/a");
    Toggle("/a/x");
    Add();
    ExpectAccepted();
    EXPECT_EQ(g_SchFolders, "/a/y/");
}

// As after a click on a folder whose first sub-folder was unticked behind the dialog's back.
TEST_F(DlgDirTest, ATickedFolderWhoseFirstFolderIsUntickedGivesNothing) {
    for (const char* name : {"a/x", "a/y", "b"}) {
        m_tree.Folder(name);
    }
    Open();
    Toggle("/b");
    Toggle("/a");
    Expand("/a");
    {
        const QSignalBlocker unseen(View());
        At("/a/x")->SetTicked(false);
    }
    Add();
    ExpectAccepted();
    EXPECT_EQ(g_SchFolders, "/b/");
}

TEST_F(DlgDirTest, WhatWasThereBeforeStaysInFront) {
    m_tree.Folder("a");
    m_tree.File("file");
    g_SchFolders = "/before/";
    common::AppendPath(g_pPLstHead_1, g_pPLstCurr_1, "/before/");
    Open();
    Toggle("/a");
    Add();
    EXPECT_EQ(g_SchFolders, "/before/;/a/");
    EXPECT_THAT(Nodes(), ElementsAre("/before/", "/a/"));
}

TEST_F(DlgDirTest, FoldersThatCannotBeKeptAreNamedAndLeftOut) {
    const std::string parent(199, 'p');
    const std::string fits(53, 'f');     // "/", 199, "/", 53 and "/": 255 bytes
    const std::string tooLong(54, 'g');  // 256
    const auto inParent = [&](const std::string& name) { return (parent + "/").append(name); };
    for (const std::string& name : {std::string("divided;folder"), std::string("latin\xE9"),
                                    inParent(fits), inParent(tooLong)}) {
        m_tree.Folder(name);
    }
    m_tree.Folder("gr\xC3\xBCn");
    m_tree.File(parent + "/file");
    m_tree.File("file");
    Open();
    Expand("/" + parent);
    for (const std::string& path :
         {std::string("/divided;folder"), std::string("/latin\xE9"), std::string("/gr\xC3\xBCn"),
          "/" + inParent(fits), "/" + inParent(tooLong)}) {
        Toggle(path);
    }
    const BoxAnswerer boxes;
    Add();
    ExpectAccepted();
    EXPECT_EQ(g_SchFolders, "/gr\xC3\xBCn/;/" + parent + "/" + fits + "/");
    EXPECT_THAT(Nodes(), ElementsAre("/gr\xC3\xBCn/", "/" + parent + "/" + fits + "/"));
    ASSERT_EQ(boxes.Seen().size(), 1U);
    const BoxAnswerer::Box& box = boxes.Seen()[0];
    EXPECT_EQ(box.title, QStringLiteral("Corvane Scan"));
    EXPECT_EQ(box.icon, QMessageBox::Warning);
    EXPECT_EQ(box.format, Qt::PlainText);
    EXPECT_TRUE(box.text.startsWith(QStringLiteral(
        "These folders cannot be scanned at a scheduled time because their paths are longer than "
        "255 bytes, contain a semicolon or are not valid UTF-8. They are left out:\n\n")));
    EXPECT_EQ(box.details,
              QStringLiteral("/divided;folder/\n/latin\\xE9/\n/%1/%2/")
                  .arg(QString::fromStdString(parent), QString::fromStdString(tooLong)));
}

TEST_F(DlgDirTest, NothingThatCanBeKeptIsAnsweredAsNothingTicked) {
    m_tree.Folder("a;b");
    m_tree.File("file");
    Open();
    Toggle("/a;b");
    const BoxAnswerer boxes;
    Add();
    ASSERT_EQ(boxes.Seen().size(), 2U);
    EXPECT_EQ(boxes.Seen()[1].title, QStringLiteral("Corvane Scan"));
    EXPECT_EQ(boxes.Seen()[1].text, QStringLiteral("Please select directory to scan."));
    EXPECT_EQ(boxes.Seen()[1].icon, QMessageBox::Information);
    EXPECT_TRUE(m_dialog->isVisible());
    EXPECT_TRUE(g_SchFolders.empty());
}

TEST_F(DlgDirTest, CancelHandsNothingOver) {
    m_tree.Folder("a");
    Open();
    Toggle("/a");
    m_dialog->setResult(QDialog::Accepted);
    m_dialog->findChild<QPushButton*>(QStringLiteral("btnFldCncl"))->click();
    EXPECT_EQ(m_dialog->result(), QDialog::Rejected);
    EXPECT_THAT(Nodes(), IsEmpty());
    EXPECT_TRUE(g_SchFolders.empty());
}

class Shouting : public QTranslator {
public:
    [[nodiscard]] bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* text, const char* /*unused*/,
                      int /*unused*/) const override {
        return qstrcmp(context, "dlgDir") == 0 ? QString::fromLatin1(text).toUpper() : QString();
    }
};

TEST_F(DlgDirTest, ItsButtonAddsAndFollowsTheLanguage) {
    Open();
    EXPECT_EQ(m_dialog->objectName(), QStringLiteral("dlgDir"));
    EXPECT_EQ(AddButton()->text(), QStringLiteral("&Add"));
    EXPECT_EQ(AddButton()->toolTip(), QStringLiteral("Add the ticked folders (Alt+A)"));
    EXPECT_EQ(AddButton()->accessibleName(), QStringLiteral("Add the ticked folders"));
    Shouting translator;
    QApplication::installTranslator(&translator);
    QApplication::processEvents();
    EXPECT_EQ(AddButton()->text(), QStringLiteral("&ADD"));
    QApplication::removeTranslator(&translator);
    QApplication::processEvents();
    EXPECT_EQ(AddButton()->text(), QStringLiteral("&Add"));
}

}  // namespace
