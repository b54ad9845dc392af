// What the tree shows, and how it is read as the user opens folders.
#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTest>
#include <QTreeWidget>

#include "tests/gui/widgets/dlg_sc_dir_fixture.h"
#include "tests/support/rendered_box.h"
#include "widgets/house_style.h"

using testing::ElementsAre;

namespace {

// The tree as it opens

TEST_F(DlgScDirTest, OpensWithTheFirstLevelOfTheRoot) {
    m_tree.Folder("usr/bin");
    m_tree.Folder(".hidden");
    m_tree.Folder("empty");
    m_tree.File("file");
    m_tree.Link("usr", "link");
    Open();
    ASSERT_EQ(View()->topLevelItemCount(), 1);
    EXPECT_EQ(Root()->text(0), QStringLiteral("/"));
    EXPECT_TRUE(Shows(Root(), folderOpen));
    EXPECT_TRUE(Root()->GetStatePopulated());
    EXPECT_TRUE(Root()->isExpanded());
    EXPECT_THAT(NamesIn(Root()), ElementsAre(".hidden", "empty", "usr"));
    EXPECT_TRUE(Shows(Find(Root(), "usr"), folderClosed));
    EXPECT_TRUE(Find(Root(), "usr")->IsExpandable());
    EXPECT_FALSE(Find(Root(), "usr")->GetStatePopulated());
    EXPECT_EQ(Find(Root(), "usr")->childCount(), 0) << "a folder is read when it is opened";
    for (const char* name : {"empty", ".hidden"}) {
        EXPECT_TRUE(Shows(Find(Root(), name), folderLocked)) << name;
        EXPECT_FALSE(Find(Root(), name)->IsExpandable()) << name;
    }
}

TEST_F(DlgScDirTest, OpensOnTheRootOfTheSystem) {
    m_dialog = std::make_unique<dlgScDir>();
    EXPECT_EQ(Root()->Name(), "/");
    std::vector<std::string> expected;
    for (const auto& entry : std::filesystem::directory_iterator("/")) {
        if (entry.is_directory() && !entry.is_symlink()) {
            expected.push_back(entry.path().filename().string());
        }
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(NamesIn(Root()), expected);
}

TEST_F(DlgScDirTest, ItemsCanBeTickedButNotSelectedAndAreNeverHalfTicked) {
    m_tree.Folder("a/b");
    Open();
    for (const StateChkLstView* item : {Root(), At("/a"), At("/a/b")}) {
        EXPECT_EQ(item->flags(), Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
        EXPECT_FALSE(item->IsTicked());
    }
}

TEST_F(DlgScDirTest, AnEmptyRootIsLocked) {
    m_tree.File("file");
    Open();
    EXPECT_TRUE(Shows(Root(), folderLocked));
    EXPECT_FALSE(Root()->IsExpandable());
    EXPECT_FALSE(Root()->isExpanded());
    EXPECT_FALSE(Root()->GetStatePopulated());
}

TEST_F(DlgScDirTest, ARootWithNothingButLinksIsLockedButRead) {
    m_tree.Link("/", "link");
    Open();
    EXPECT_TRUE(Shows(Root(), folderLocked));
    EXPECT_FALSE(Root()->IsExpandable());
    EXPECT_FALSE(Root()->isExpanded());
    EXPECT_TRUE(Root()->GetStatePopulated());
}

TEST_F(DlgScDirTest, AnUnreadableFolderIsLocked) {
    m_tree.Folder("locked/inside");
    m_tree.Lock("locked");
    const OrdinaryUser user;
    Open();
    EXPECT_TRUE(Shows(At("/locked"), folderLocked));
    EXPECT_FALSE(At("/locked")->IsExpandable());
}

TEST_F(DlgScDirTest, ThePicturesAreSixteenPixelsWideAndDiffer) {
    Open();
    for (const QIcon& picture : {folderClosed, folderOpen, folderLocked}) {
        EXPECT_THAT(picture.availableSizes(), testing::Contains(QSize(16, 16)));
    }
    EXPECT_FALSE(folderClosed.pixmap(16).toImage() == folderOpen.pixmap(16).toImage());
    EXPECT_FALSE(folderClosed.pixmap(16).toImage() == folderLocked.pixmap(16).toImage());
}

TEST_F(DlgScDirTest, OpensOnTenThousandSubfolders) {
    for (int i = 0; i < 10000; ++i) {
        m_tree.Folder(std::to_string(i) + "/inside");
    }
    Open();
    EXPECT_EQ(Root()->childCount(), 10000);
    Click("/");
    EXPECT_TRUE(Root()->Child(0)->IsTicked());
    EXPECT_TRUE(Root()->Child(9999)->IsTicked());
    EXPECT_THAT(ResultOfScan(), ElementsAre("/"));
}

TEST_F(DlgScDirTest, AnEmptyCheckBoxCanBeSeenInEveryPalette) {
    m_tree.Folder("a");
    Open();
    HouseStyle style;
    View()->setStyle(&style);
    for (const QPalette& palette : {LightPalette(), DarkPalette(), DimPalette()}) {
        View()->setPalette(palette);
        QStyleOptionViewItem option;
        option.initFrom(View());
        option.widget = View();
        option.rect = View()->visualItemRect(At("/a"));
        option.features = QStyleOptionViewItem::HasCheckIndicator;
        const QRect box =
            style.subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, View());
        const QImage shown = View()->viewport()->grab().toImage();
        const QColor base = palette.color(QPalette::Base);
        EXPECT_GE(EdgeContrast(shown, box, base, ContrastRatio), 3.0) << base.name().toStdString();
    }
    View()->setStyle(nullptr);
}

// Names and paths

TEST_F(DlgScDirTest, ShowsNamesAsPlainReadableTextAndKeepsTheirBytes) {
    m_tree.Folder("caf\xE9/in");
    m_tree.Folder("two\nlines");
    m_tree.Folder("<b>bold");
    m_tree.File("file");
    Open();
    EXPECT_EQ(At("/caf\xE9")->text(0), QStringLiteral("caf\\xE9"));
    EXPECT_EQ(At("/two\nlines")->text(0), QStringLiteral("two\\nlines"));
    EXPECT_EQ(At("/<b>bold")->text(0), QStringLiteral("<b>bold"));
    EXPECT_EQ(At("/caf\xE9/in")->text(0), QStringLiteral("in"));
    for (const char* path : {"/caf\xE9", "/two\nlines", "/<b>bold"}) {
        Click(path);
    }
    EXPECT_THAT(ResultOfScan(), ElementsAre("/<b>bold", "/caf\xE9", "/two\nlines"));
}

TEST_F(DlgScDirTest, BuildsPathsFromTheChainOfParents) {
    m_tree.Folder("usr/bin");
    Open();
    EXPECT_EQ(m_dialog->GetFullPath(Root()), "/");
    EXPECT_EQ(m_dialog->GetFullPath(At("/usr")), "/usr/");
    EXPECT_EQ(m_dialog->GetFullPath(At("/usr/bin")), "/usr/bin/");
    EXPECT_EQ(m_dialog->fullPath(Root()), "/");
    EXPECT_EQ(m_dialog->fullPath(At("/usr")), "/usr");
    EXPECT_EQ(m_dialog->fullPath(At("/usr/bin")), "/usr/bin");
}

// Expanding and collapsing

TEST_F(DlgScDirTest, ExpandingReadsTheFolderOnce) {
    m_tree.Folder("usr/bin/x");
    m_tree.Folder("usr/lib");
    Open();
    StateChkLstView* usr = Expanded("/usr");
    EXPECT_TRUE(usr->GetStatePopulated());
    EXPECT_TRUE(Shows(usr, folderOpen));
    EXPECT_THAT(NamesIn(usr), ElementsAre("bin", "lib"));
    EXPECT_TRUE(Shows(Find(usr, "bin"), folderClosed));
    EXPECT_TRUE(Shows(Find(usr, "lib"), folderLocked));

    View()->collapseItem(usr);
    EXPECT_TRUE(Shows(usr, folderClosed));
    EXPECT_THAT(NamesIn(usr), ElementsAre("bin", "lib")) << "the children stay in the tree";

    m_tree.Folder("usr/new");
    View()->expandItem(usr);
    EXPECT_TRUE(Shows(usr, folderOpen));
    EXPECT_THAT(NamesIn(usr), ElementsAre("bin", "lib")) << "not read again";
}

TEST_F(DlgScDirTest, AFolderThatHasLostItsSubfoldersIsLockedWhenItIsOpened) {
    m_tree.Folder("usr/bin");
    Open();
    m_tree.Remove("usr/bin");
    const StateChkLstView* usr = Expanded("/usr");
    EXPECT_TRUE(Shows(usr, folderLocked));
    EXPECT_FALSE(usr->IsExpandable());
    EXPECT_FALSE(usr->isExpanded());
    EXPECT_FALSE(usr->GetStatePopulated());
}

TEST_F(DlgScDirTest, AFolderWithNothingButLinksIsLockedWhenItIsOpened) {
    m_tree.Link("/", "links/a");
    Open();
    StateChkLstView* links = At("/links");
    EXPECT_TRUE(Shows(links, folderClosed));
    EXPECT_TRUE(links->IsExpandable());
    View()->setCurrentItem(links);
    QTest::keyClick(View(), Qt::Key_Right);
    EXPECT_TRUE(Shows(links, folderLocked));
    EXPECT_FALSE(links->IsExpandable());
    EXPECT_TRUE(links->GetStatePopulated());
    EXPECT_EQ(links->childCount(), 0);
    QTest::keyClick(View(), Qt::Key_Left);
    EXPECT_TRUE(Shows(links, folderLocked)) << "what is not open cannot be closed";
}

TEST_F(DlgScDirTest, ShowsTheWaitCursorWhileItReads) {
    m_tree.Folder("usr/bin");
    Open();
    const StateChkLstView* usr = At("/usr");
    bool waited = false;
    QObject::connect(View()->model(), &QAbstractItemModel::rowsInserted, m_dialog.get(), [&waited] {
        const QCursor* cursor = QApplication::overrideCursor();
        waited = cursor != nullptr && cursor->shape() == Qt::WaitCursor;
    });
    View()->expandItem(usr);
    EXPECT_TRUE(waited);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(DlgScDirTest, SubfoldersReadLaterTakeTheStateOfTheirFolder) {
    m_tree.Folder("ticked/a/b");
    m_tree.Folder("unticked/a");
    Open();
    Click("/ticked");
    EXPECT_TRUE(Ticked("/ticked/a"));
    EXPECT_TRUE(Ticked("/ticked/a/b"));
    EXPECT_FALSE(Ticked("/unticked/a"));
}

TEST_F(DlgScDirTest, TheAsteriskOpensOneFolderNotTheWholeFileSystem) {
    m_tree.Folder("usr/bin/x/y");
    Open();
    View()->setCurrentItem(At("/usr"));
    QTest::keyClick(View(), Qt::Key_Asterisk);
    EXPECT_TRUE(At("/usr")->isExpanded());
    EXPECT_FALSE(Find(At("/usr"), "bin")->GetStatePopulated());
}

}  // namespace
