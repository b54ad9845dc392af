#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QDataStream>

#include "tests/gui/help/dlg_help_fixture.h"

// The pages that were visited and the bookmarks, in their menus and files.

namespace fs = std::filesystem;

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// As the toolkit streams it.
std::string Streamed(const QStringList& pages) {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    stream << pages;
    return buffer.data().toStdString();
}

QStringList Pages(int first, int last) {
    QStringList pages;
    for (int i = first; i <= last; ++i) {
        pages << QStringLiteral("/page%1.htm").arg(i);
    }
    return pages;
}

class DlgHelpListsTest : public DlgHelpTest {
protected:
    [[nodiscard]] std::string History() const { return m_scratch / "started/.history"; }
    [[nodiscard]] std::string Bookmarks() const { return m_scratch / "app/.bookmarks"; }

    // The entries of a menu that stand for a page.
    [[nodiscard]] std::vector<QAction*> Entries(const char* menu) const {
        std::vector<QAction*> entries;
        for (QAction* action : Find<QMenu>(menu).actions()) {
            if (action->data().isValid()) {
                entries.push_back(action);
            }
        }
        return entries;
    }
    [[nodiscard]] QStringList Texts(const char* menu) const {
        QStringList texts;
        for (const QAction* entry : Entries(menu)) {
            texts << entry->text();
        }
        return texts;
    }
};

TEST_F(DlgHelpListsTest, OfALongHistoryTheNewestTwentyAreLoaded) {
    WriteFile(History(), Streamed(Pages(1, 25)));
    m_viewer = new dlgHelp("");  // no page is visited
    EXPECT_EQ(Texts("menuHistory"), Pages(6, 25));
    EXPECT_EQ(ReadFile(History()), Streamed(Pages(1, 25)));
}

TEST_F(DlgHelpListsTest, AHistoryOfTwentyIsLoadedWhole) {
    WriteFile(History(), Streamed(Pages(1, 20)));
    m_viewer = new dlgHelp("");
    EXPECT_EQ(Texts("menuHistory"), Pages(1, 20));
}

TEST_F(DlgHelpListsTest, AnotherCurrentDirectoryHasAHistoryOfItsOwn) {
    WriteFile(History(), Streamed(Pages(1, 3)));
    fs::current_path(m_scratch / "outside");
    m_viewer = new dlgHelp("");
    EXPECT_THAT(Texts("menuHistory"), IsEmpty());
}

TEST_F(DlgHelpListsTest, VisitedPagesAreAddedAndTheOldestGo) {
    WriteFile(History(), Streamed(Pages(1, 20)));
    Open();
    QStringList expected = Pages(2, 20);
    EXPECT_EQ(Texts("menuHistory").size(), 20);
    EXPECT_EQ(Texts("menuHistory").mid(0, 19), expected);
    Follow("scanning.htm");
    Trigger("actBack");
    EXPECT_EQ(Texts("menuHistory").mid(0, 18), Pages(3, 20));
    Entries("menuHistory")[18]->trigger();
    EXPECT_EQ(m_viewer->windowTitle(), "Scanning");
    EXPECT_EQ(Texts("menuHistory").size(), 20) << "a page that is visited again is listed once";
}

TEST_F(DlgHelpListsTest, TheHistoryIsNeverWritten) {
    Open();
    Follow("scanning.htm");
    Close();
    EXPECT_FALSE(Exists(History()));
}

TEST_F(DlgHelpListsTest, AnUnknownNumberShowsNothing) {
    Open();
    m_viewer->histChosen(4711);
    m_viewer->bookmChosen(-1);
    EXPECT_EQ(ShownPath(), Path("app/doc/html/home.htm"));
}

TEST_F(DlgHelpListsTest, DamagedOrHostileFilesAreEmptyLists) {
    const std::string whole = Streamed(Pages(1, 3));
    for (const std::string& bytes :
         {std::string(), whole.substr(0, whole.size() - 1), "\xFF\xFF\xFF\xFF" + whole}) {
        WriteFile(History(), bytes);
        WriteFile(Bookmarks(), bytes);
        m_viewer = new dlgHelp("");
        EXPECT_THAT(Texts("menuHistory"), IsEmpty());
        EXPECT_THAT(Texts("menuBookmarks"), IsEmpty());
        Close();
        EXPECT_EQ(ReadFile(History()), bytes);
        EXPECT_EQ(ReadFile(Bookmarks()), Streamed({})) << "closing makes a list of it";
    }
}

TEST_F(DlgHelpListsTest, WhatIsNoFileKeepsNobodyWaiting) {
    ASSERT_EQ(::mkfifo(History().c_str(), 0666), 0);
    ASSERT_EQ(::mkfifo(Bookmarks().c_str(), 0666), 0);
    Open();
    EXPECT_THAT(Texts("menuBookmarks"), IsEmpty());
    EXPECT_EQ(Texts("menuHistory").size(), 1);
    Close();
    EXPECT_TRUE(fs::is_fifo(Bookmarks()));
}

TEST_F(DlgHelpListsTest, ALinkInPlaceOfTheHistoryIsNotFollowed) {
    WriteFile(m_scratch / "secret", Streamed(Pages(1, 3)));
    fs::create_symlink(m_scratch / "secret", History());
    m_viewer = new dlgHelp("");
    EXPECT_THAT(Texts("menuHistory"), IsEmpty());
}

TEST_F(DlgHelpListsTest, WhatIsNoPathIsPassedOver) {
    WriteFile(Bookmarks(), Streamed({"", QString(4096, 'x'), "/a", QString(4095, 'x')}));
    m_viewer = new dlgHelp("");
    EXPECT_EQ(Entries("menuBookmarks").size(), 2U);
    EXPECT_EQ(Texts("menuBookmarks").front(), "/a");
    EXPECT_LT(Texts("menuBookmarks").back().size(), 100);
}

TEST_F(DlgHelpListsTest, AListWithoutEndIsCutAtItsFront) {
    WriteFile(Bookmarks(), Streamed(Pages(1, 30'000)));
    m_viewer = new dlgHelp("");
    EXPECT_EQ(Texts("menuBookmarks"), Pages(29'001, 30'000));
}

TEST_F(DlgHelpListsTest, ANameThatCouldMisleadIsMadePlain) {
    WriteFile(Bookmarks(), Streamed({QStringLiteral("/a\u202E&b\n.htm")}));
    m_viewer = new dlgHelp("");
    EXPECT_THAT(Texts("menuBookmarks"), ElementsAre("/a\\u202E&&b\\n.htm"));
}

TEST_F(DlgHelpListsTest, ABookmarkIsShownWhereverItLies) {
    WriteFile(Bookmarks(), Streamed({Path("outside/page.htm"), "/b"}));
    Open();
    ASSERT_EQ(Entries("menuBookmarks").size(), 2U);
    Entries("menuBookmarks")[0]->trigger();
    EXPECT_EQ(m_viewer->windowTitle(), "Outside");
}

TEST_F(DlgHelpListsTest, ABookmarkIsAddedOnceAndKept) {
    WriteFile(Bookmarks(), Streamed({"/a"}));
    Open();
    Trigger("actAddBookmark");
    EXPECT_EQ(Status(), "The page is among the bookmarks now.");
    Trigger("actAddBookmark");
    EXPECT_EQ(Status(), "This page is among the bookmarks already.");
    const QString home = Path("app/doc/html/home.htm");
    ASSERT_EQ(Entries("menuBookmarks").size(), 2U);
    EXPECT_EQ(ReadFile(Bookmarks()), Streamed({"/a", home})) << "a crash would lose it";
    Follow("scanning.htm");
    Entries("menuBookmarks")[1]->trigger();
    EXPECT_EQ(ShownPath(), home);
    Close();
    EXPECT_EQ(ReadFile(Bookmarks()), Streamed({"/a", home}));
}

TEST_F(DlgHelpListsTest, ClosingWritesTheBookmarksBack) {
    WriteFile(Bookmarks(), Streamed({"/a", "/b"}));
    Open();
    fs::remove(Bookmarks());
    Close();
    EXPECT_EQ(ReadFile(Bookmarks()), Streamed({"/a", "/b"}));
    EXPECT_EQ(ModeOf(Bookmarks()), 0666U);
}

TEST_F(DlgHelpListsTest, SaysWhenABookmarkCannotBeKept) {
    fs::create_directory(Bookmarks());
    Open();
    Trigger("actAddBookmark");
    EXPECT_EQ(Status(),
              "The bookmark goes away with this window: the file of bookmarks cannot be written.");
    EXPECT_EQ(Entries("menuBookmarks").size(), 1U);
}

}  // namespace
