// How a tick is carried down and up the tree.
#include <algorithm>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QTest>
#include <QTreeWidget>

#include "tests/gui/widgets/dlg_sc_dir_fixture.h"

using testing::ElementsAre;

namespace {

TEST_F(DlgScDirTest, TickingGoesDownToAllLoadedDescendants) {
    m_tree.Folder("usr/bin/x");
    m_tree.Folder("usr/lib");
    Open();
    Expanded("/usr/bin");
    Click("/usr");
    for (const char* path : {"/usr/bin", "/usr/bin/x", "/usr/lib"}) {
        EXPECT_TRUE(Ticked(path)) << path;
    }
    Click("/usr");
    for (const char* path : {"/usr/bin", "/usr/bin/x", "/usr/lib"}) {
        EXPECT_FALSE(Ticked(path)) << path;
    }
}

TEST_F(DlgScDirTest, UntickingGoesUpToEveryAncestor) {
    m_tree.Folder("usr/bin/x");
    m_tree.Folder("usr/lib");
    Open();
    Expanded("/usr/bin");
    Click("/");
    Click("/usr/bin/x");
    EXPECT_FALSE(Ticked("/usr/bin"));
    EXPECT_FALSE(Ticked("/usr"));
    EXPECT_FALSE(Ticked("/"));
    EXPECT_TRUE(Ticked("/usr/lib"));
}

TEST_F(DlgScDirTest, AFolderWithoutFilesIsTickedWhenItsLastSubfolderIs) {
    m_tree.Folder("usr/a");
    m_tree.Folder("usr/b");
    m_tree.Folder("usr/c");
    Open();
    Expanded("/usr");
    Click("/usr/c");
    EXPECT_FALSE(Ticked("/usr")) << "the first sub-folder is not ticked";
    Click("/usr/a");
    EXPECT_FALSE(Ticked("/usr")) << "one in the middle is not ticked";
    Click("/usr/b");
    EXPECT_TRUE(Ticked("/usr"));
    EXPECT_TRUE(Ticked("/")) << "and so on upward";
    EXPECT_THAT(ResultOfScan(), ElementsAre("/"));
}

TEST_F(DlgScDirTest, AFolderWithFilesIsNotTickedThroughItsSubfolders) {
    m_tree.Folder("usr/a");
    m_tree.Folder("usr/b");
    m_tree.File("usr/file");
    Open();
    Expanded("/usr");
    Click("/usr/a");
    Click("/usr/b");
    EXPECT_FALSE(Ticked("/usr"));
    EXPECT_FALSE(Ticked("/"));
    EXPECT_THAT(ResultOfScan(), ElementsAre("/usr/a", "/usr/b"));
}

struct Beside {
    const char* name;
    void (*make)(const ScratchTree& tree);
    bool ticksTheParent;
};
[[maybe_unused]] void PrintTo(const Beside& beside, std::ostream* out) {
    *out << beside.name;
}

class BesideTheSubfolder : public DlgScDirTest, public testing::WithParamInterface<Beside> {};

TEST_P(BesideTheSubfolder, DecidesWhetherTheFolderIsWhollyTicked) {
    m_tree.Folder("p/a");
    GetParam().make(m_tree);
    Open();
    Click("/p");
    EXPECT_TRUE(Ticked("/p")) << "ticked itself it always is";
    Expanded("/p");
    Click("/p/a");
    EXPECT_FALSE(Ticked("/p"));
    Click("/p/a");
    EXPECT_EQ(Ticked("/p"), GetParam().ticksTheParent);
}

INSTANTIATE_TEST_SUITE_P(
    All, BesideTheSubfolder,
    testing::Values(
        Beside{"Nothing", [](const ScratchTree&) {}, true},
        Beside{"File", [](const ScratchTree& tree) { tree.File("p/x"); }, false},
        Beside{"HiddenFile", [](const ScratchTree& tree) { tree.File("p/.x"); }, true},
        Beside{"LinkToFolder", [](const ScratchTree& tree) { tree.Link("/", "p/x"); }, false},
        Beside{"LinkToFile", [](const ScratchTree& tree) { tree.Link("/dev/null", "p/x"); }, false},
        Beside{"DanglingLink", [](const ScratchTree& tree) { tree.Link("none", "p/x"); }, false},
        Beside{"HiddenLink", [](const ScratchTree& tree) { tree.Link("/", "p/.x"); }, true},
        Beside{"Fifo", [](const ScratchTree& tree) { tree.Fifo("p/x"); }, true},
        Beside{"Socket", [](const ScratchTree& tree) { tree.Socket("p/x"); }, true},
        Beside{"FileBelow", [](const ScratchTree& tree) { tree.File("p/a/x"); }, true}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_F(DlgScDirTest, AClickBesideTheCheckBoxCarriesTheStateOnToo) {
    m_tree.Folder("p/a");
    m_tree.File("p/file");
    Open();
    Click("/p");
    Expanded("/p");
    EXPECT_TRUE(Ticked("/p"));
    ClickText("/p/a");
    EXPECT_TRUE(Ticked("/p/a"));
    EXPECT_FALSE(Ticked("/p")) << "its own files are not covered by the sub-folder clicked";
}

TEST_F(DlgScDirTest, OneClickIsCarriedOnOnce) {
    m_tree.Folder("p/a");
    m_tree.File("p/file");
    Open();
    Expanded("/p");
    // Were the click carried on a second time, it would find no file any more and tick the parent.
    QObject::connect(View(), &QTreeWidget::itemChanged, m_dialog.get(),
                     [this] { m_tree.Remove("p/file"); });
    Click("/p/a");
    EXPECT_FALSE(std::filesystem::exists(m_tree.PathOf("p/file")));
    EXPECT_FALSE(Ticked("/p"));
    ClickText("/p/a");
    EXPECT_TRUE(Ticked("/p")) << "the next click is another one";
}

TEST_F(DlgScDirTest, TheSpaceBarTicksTheCurrentFolder) {
    m_tree.Folder("p/a");
    m_tree.Folder("p/b");
    Open();
    Expanded("/p");
    EXPECT_EQ(View()->currentItem(), Root());
    QTest::keyClick(View(), Qt::Key_Down);
    EXPECT_EQ(View()->currentItem(), At("/p"));
    QTest::keyClick(View(), Qt::Key_Space);
    EXPECT_TRUE(ScanButton()->isEnabled());
    for (const char* path : {"/p", "/p/a", "/p/b", "/"}) {
        EXPECT_TRUE(Ticked(path)) << path;
    }
    QTest::keyClick(View(), Qt::Key_Down);
    QTest::keyClick(View(), Qt::Key_Space);
    EXPECT_FALSE(Ticked("/p/a"));
    EXPECT_FALSE(Ticked("/p"));
    EXPECT_TRUE(Ticked("/p/b"));
}

TEST_F(DlgScDirTest, AClickAfterTheSpaceBarStillCounts) {
    m_tree.Folder("p/a");
    m_tree.File("p/file");
    Open();
    Click("/p");
    Expanded("/p");
    View()->setCurrentItem(At("/p/a"));
    QTest::keyClick(View(), Qt::Key_Space);
    QTest::keyClick(View(), Qt::Key_Space);
    EXPECT_FALSE(Ticked("/p"));
    m_tree.Remove("p/file");
    ClickText("/p/a");
    EXPECT_TRUE(Ticked("/p"));
}

TEST_F(DlgScDirTest, AScreenReaderCanTickToo) {
    m_tree.Folder("p/a");
    Open();
    Expanded("/p");
    View()->model()->setData(View()->model()->index(0, 0, View()->model()->index(0, 0)),
                             Qt::Checked, Qt::CheckStateRole);
    EXPECT_TRUE(Ticked("/p/a"));
    EXPECT_TRUE(Ticked("/"));
    EXPECT_TRUE(ScanButton()->isEnabled());
}

TEST_F(DlgScDirTest, TheCheckBoxClickedBecomesTheCurrentOne) {
    m_tree.Folder("a");
    m_tree.Folder("b");
    Open();
    Click("/b");
    EXPECT_EQ(View()->currentItem(), At("/b"));
}

}  // namespace
