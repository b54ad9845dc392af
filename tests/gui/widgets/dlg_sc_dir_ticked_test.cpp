// What the dialog says about what is ticked, and where it opens.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QLabel>
#include <QTest>
#include <QTreeWidget>

#include "tests/gui/widgets/dlg_sc_dir_fixture.h"
#include "tests/support/screen_reader.h"
#include "widgets/ticked_folders.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The home folder of the user of this process.
class HomeIs {
public:
    explicit HomeIs(const std::string& path) : m_before(qgetenv("HOME")) {
        qputenv("HOME", QByteArray::fromStdString(path));
    }
    ~HomeIs() { qputenv("HOME", m_before); }
    HomeIs(const HomeIs&) = delete;
    HomeIs& operator=(const HomeIs&) = delete;
    HomeIs(HomeIs&&) = delete;
    HomeIs& operator=(HomeIs&&) = delete;

private:
    QByteArray m_before;
};

class Ticked : public DlgScDirTest {
protected:
    [[nodiscard]] QString Line() const {
        return m_dialog->findChild<QLabel*>(QStringLiteral("tickedLabel"))->text();
    }
    QString NoteAt(const std::string& path) {
        return At(path)->data(0, kTickedInsideRole).toString();
    }
    void Close(const std::string& path) { View()->collapseItem(At(path)); }
    void UntickAll() {
        Click("/");
        Click("/");
    }
};

// Where it opens

TEST_F(Ticked, OpensAtTheFolderThatLeadsHome) {
    for (int i = 0; i < 100; ++i) {
        m_tree.Folder("a" + std::to_string(i));
        m_tree.Folder("z" + std::to_string(i));
    }
    m_tree.Folder("no h\xF6me/user/Documents");
    const HomeIs home("/no h\xF6me/user/");
    Open();
    StateChkLstView* item = Find(Root(), "no h\xF6me");
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(View()->currentItem(), item);
    const QRect shown = View()->visualItemRect(item);
    EXPECT_TRUE(View()->viewport()->rect().contains(shown.left(), shown.top()));
    EXPECT_TRUE(View()->viewport()->rect().contains(shown.left(), shown.bottom()));
    EXPECT_NEAR(shown.center().y(), View()->viewport()->height() / 2.0, 2 * shown.height())
        << "with its neighbours round it";
    EXPECT_FALSE(item->IsTicked());
    EXPECT_EQ(Line(), QStringLiteral("No folder is ticked."));
    EXPECT_FALSE(ScanButton()->isEnabled());
}

TEST_F(Ticked, OpensNothingOnTheWayHome) {
    m_tree.Folder("home/user/Documents");
    m_tree.Folder("home/other");
    const HomeIs home("/home/user/Documents");
    Open();
    const StateChkLstView* item = Find(Root(), "home");
    ASSERT_NE(item, nullptr);
    EXPECT_FALSE(item->isExpanded());
    EXPECT_FALSE(item->GetStatePopulated()) << "only what the user opens is read";
    EXPECT_EQ(item->childCount(), 0);
    EXPECT_TRUE(Shows(item, folderClosed));
}

TEST_F(Ticked, OpensAtTheRootWithoutAHomeInTheTree) {
    m_tree.Folder("home/user");
    for (const char* elsewhere : {"/", "", "/nowhere", "/user"}) {
        const HomeIs none(elsewhere);
        Open();
        EXPECT_EQ(View()->currentItem(), Root()) << elsewhere;
    }
}

TEST_F(Ticked, FollowsALinkToTheHome) {
    // The tree shows no links: where the home itself is cannot be told from the path with the link.
    m_tree.Folder("real/user");
    m_tree.Link("real", "link");
    const std::filesystem::path outside("/proc/self/root");
    const HomeIs home((outside / m_tree.PathOf("link/user").substr(1)).string());
    m_dialog = std::make_unique<dlgScDir>();  // on the root of the system
    ASSERT_NE(View()->currentItem(), nullptr);
    const std::filesystem::path real = std::filesystem::canonical(m_tree.PathOf("real/user"));
    EXPECT_EQ(m_dialog->fullPath(View()->currentItem()),
              "/" + real.relative_path().begin()->string());
}

// The line below the tree

TEST_F(Ticked, TheLineCountsWhatAScanBeginsWith) {
    for (const char* name : {"usr/bin/x", "usr/lib", "usr/share", "var"}) {
        m_tree.Folder(name);
    }
    m_tree.File("usr/file");
    m_tree.File("file");
    Open();
    EXPECT_EQ(Line(), QStringLiteral("No folder is ticked."));
    Click("/usr");
    EXPECT_EQ(Line(), QStringLiteral("1 folder is ticked."));
    Expanded("/usr/bin");
    EXPECT_EQ(Line(), QStringLiteral("1 folder is ticked.")) << "with all it contains";
    Click("/var");
    EXPECT_EQ(Line(), QStringLiteral("2 folders are ticked."));
    Click("/usr/share");
    EXPECT_EQ(Line(), QStringLiteral("3 folders are ticked.")) << "bin, lib, var";
    EXPECT_THAT(ResultOfScan(), ElementsAre("/usr/bin", "/usr/lib", "/var"));
}

TEST_F(Ticked, AClosedFolderTellsWhatIsTickedInside) {
    for (const char* name : {"usr/bin/x", "usr/bin/y", "usr/lib", "var"}) {
        m_tree.Folder(name);
    }
    for (const char* name : {"file", "usr/file", "usr/bin/file"}) {
        m_tree.File(name);
    }
    Open();
    Expanded("/usr/bin");
    Click("/usr/bin/x");
    EXPECT_EQ(Line(), QStringLiteral("1 folder is ticked."));
    EXPECT_EQ(NoteAt("/usr/bin"), QString()) << "open, it shows them itself";
    StateChkLstView* usr = At("/usr");
    StateChkLstView* bin = At("/usr/bin");
    View()->collapseItem(bin);
    EXPECT_EQ(bin->data(0, kTickedInsideRole), QStringLiteral("1 ticked inside"));
    EXPECT_EQ(Line(), QStringLiteral("1 folder is ticked. 1 inside closed folders."));
    Click("/usr/lib");  // opens what is on its way, and no more
    EXPECT_EQ(Line(), QStringLiteral("2 folders are ticked. 1 inside closed folders."));
    View()->collapseItem(usr);
    EXPECT_EQ(usr->data(0, kTickedInsideRole), QStringLiteral("2 ticked inside"));
    EXPECT_EQ(Line(), QStringLiteral("2 folders are ticked. 2 inside closed folders."));
    EXPECT_EQ(usr->text(0), QStringLiteral("usr")) << "the name stays the name";

    View()->expandItem(usr);
    EXPECT_EQ(usr->data(0, kTickedInsideRole), QString());
    EXPECT_EQ(bin->data(0, kTickedInsideRole), QStringLiteral("1 ticked inside"));
    Click("/usr/bin");  // At() opens /usr only
    EXPECT_EQ(bin->data(0, kTickedInsideRole), QString()) << "ticked itself";
}

TEST_F(Ticked, TellingIsNoTicking) {
    m_tree.Folder("usr/bin/x");
    m_tree.File("usr/bin/file");
    m_tree.File("usr/file");
    Open();
    Expanded("/usr/bin");
    Click("/usr/bin/x");
    View()->setCurrentItem(Root());
    Close("/usr");
    EXPECT_EQ(View()->currentItem(), Root());
    EXPECT_FALSE(At("/usr")->IsTicked());
}

TEST_F(Ticked, ThePictureOfAClosedFolderShowsTheNote) {
    m_tree.Folder("usr/bin");
    m_tree.File("usr/file");
    Open();
    StateChkLstView* usr = Expanded("/usr");
    Click("/usr/bin");
    const int width = View()->visualItemRect(usr).width();
    const QImage open = View()->viewport()->grab(View()->visualItemRect(usr)).toImage();
    View()->collapseItem(usr);
    QApplication::processEvents();
    const QImage closed = View()->viewport()->grab(View()->visualItemRect(usr)).toImage();
    EXPECT_FALSE(open == closed);
    EXPECT_GT(View()->visualItemRect(usr).width(), width) << "there is room for it";
}

// For those who listen

TEST_F(Ticked, AllThatCanBeReadIsRead) {
    m_tree.Folder("usr/bin");
    m_tree.File("usr/file");
    Open();
    EXPECT_THAT(ScreenReader::UnreadableLabels(*m_dialog), IsEmpty());
    ScreenReader reader;
    StateChkLstView* usr = Expanded("/usr");
    reader.TakeAnnouncements();
    Click("/usr/bin");
    EXPECT_THAT(reader.TakeAnnouncements(), Contains("tickedLabel: 1 folder is ticked."));
    View()->collapseItem(usr);
    EXPECT_THAT(reader.TakeAnnouncements(),
                Contains("tickedLabel: 1 folder is ticked. 1 inside closed folders."));
    QAccessibleInterface* tree = QAccessible::queryAccessibleInterface(View());
    QStringList rows;
    for (int i = 0; i < tree->childCount(); ++i) {
        const QAccessibleInterface* row = tree->child(i);
        rows << row->text(QAccessible::Name) + u'|' + row->text(QAccessible::Description);
    }
    EXPECT_TRUE(rows.contains(QStringLiteral("usr|1 ticked inside")))
        << rows.join(u' ').toStdString();
}

// What is left out

TEST_F(Ticked, WhatWasLeftOutIsForgottenWithTheNextPress) {
    const std::string tooLong(250, 'n');
    m_tree.Folder("parent/" + tooLong);
    m_tree.Folder("parent/fits");
    m_tree.File("parent/file");
    Open();
    Expanded("/parent");
    Click("/parent/" + tooLong);
    {
        const BoxAnswerer boxes;
        QTest::mouseClick(ScanButton(), Qt::LeftButton);
        ASSERT_EQ(boxes.Seen().size(), 2U);
        EXPECT_TRUE(boxes.Seen()[0].details.contains(u'n'));
    }
    Click("/parent/" + tooLong);
    Click("/parent/fits");
    const BoxAnswerer boxes;
    EXPECT_THAT(ResultOfScan(), ElementsAre("/parent/fits"));
    EXPECT_THAT(boxes.Seen(), IsEmpty()) << "nothing is left out this time";
}

}  // namespace
