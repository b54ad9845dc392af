#include <sys/stat.h>

#include <QImage>
#include <QTextBlock>
#include <QTextDocument>

#include "tests/gui/help/dlg_help_fixture.h"

// Which files pages may show and lead to.

namespace fs = std::filesystem;

namespace {

class HelpBrowserTest : public DlgHelpTest {
protected:
    // The picture that a page's link leads to, as it is drawn.
    [[nodiscard]] QSize PictureSize(const QString& name) const {
        const QVariant picture =
            Browser().document()->resource(QTextDocument::ImageResource, QUrl(name));
        return picture.value<QImage>().size();
    }
    void PutPicture(std::string_view name) const {
        QImage image(12, 8, QImage::Format_RGB32);
        image.fill(Qt::red);
        ASSERT_TRUE(image.save(Path(name), "PNG"));
    }
    // A page in the folder of the home page with that body, shown.
    void ShowBody(const std::string& body) {
        PutPage("app/doc/html/page.htm", "Page", body);
        m_viewer->DisplayHelp(Path("app/doc/html/page.htm"));
        ASSERT_EQ(m_viewer->windowTitle(), "Page");
    }
};

constexpr QSize kNoPicture(1, 1);

TEST_F(HelpBrowserTest, LinksLeadThroughTheFolderAndThoseBelow) {
    PutPage("app/doc/html/de/home.htm", "Startseite", R"(<a href="../home.htm">English</a>)");
    Open();
    Follow("de/home.htm");
    EXPECT_EQ(m_viewer->windowTitle(), "Startseite");
    Follow("../home.htm");
    EXPECT_EQ(m_viewer->windowTitle(), "Home of the help");
    Follow("scanning.htm#below");
    EXPECT_EQ(m_viewer->windowTitle(), "Scanning");
    Follow("#above");
    EXPECT_EQ(Status(), "");
}

TEST_F(HelpBrowserTest, LinksLeadNowhereElse) {
    fs::create_directories(m_scratch / "app/doc/html-more");
    PutPage("app/doc/html-more/page.htm", "More", "a folder whose name begins alike");
    fs::create_symlink(m_scratch / "outside", m_scratch / "app/doc/html/folder");
    fs::create_symlink(m_scratch / "outside/page.htm", m_scratch / "app/doc/html/file.htm");
    Open();
    for (const QString& link :
         {QStringLiteral("../../../outside/page.htm"), QStringLiteral("../html-more/page.htm"),
          QStringLiteral("folder/page.htm"), QStringLiteral("file.htm"),
          QStringLiteral("de/../../../../outside/page.htm"), Path("outside/page.htm"),
          "file://" + Path("outside/page.htm"), QStringLiteral("/etc/passwd"),
          QStringLiteral("../../../outside/missing.htm"),
          QStringLiteral("/missing/folder/page.htm"),
          "file://server" + Path("app/doc/html/scanning.htm"), QStringLiteral("qrc:/images/x"),
          QStringLiteral("data:text/html,hello")}) {
        Follow(link);
        EXPECT_EQ(m_viewer->windowTitle(), "Home of the help") << link.toStdString();
        EXPECT_NE(Status(), "") << link.toStdString();
        EXPECT_FALSE(Find<QAction>("actBack").isEnabled()) << link.toStdString();
    }
}

TEST_F(HelpBrowserTest, ALinkToAPageThatIsMissingSaysSo) {
    Open();
    Follow("missing.htm");
    EXPECT_EQ(Shown(), "This page cannot be read:\n" + (m_scratch / "app/doc/html/missing.htm"));
    Trigger("actBack");
    EXPECT_EQ(m_viewer->windowTitle(), "Home of the help");
}

TEST_F(HelpBrowserTest, TheFolderOfAPageThatWasOpenedIsOpenToLinks) {
    PutPage("outside/next.htm", "Next", "further on");
    Open();
    m_viewer->DisplayHelp(Path("outside/page.htm"));
    Follow("next.htm");
    EXPECT_EQ(m_viewer->windowTitle(), "Next");
    Follow("../app/doc/html/scanning.htm");
    EXPECT_EQ(m_viewer->windowTitle(), "Scanning");
    Follow("../../../started/page.htm");
    EXPECT_EQ(m_viewer->windowTitle(), "Scanning");
}

// The page may be a link itself; what is on it still leads only through the folder it was found in.
TEST_F(HelpBrowserTest, APageThatIsALinkIsShownAndOpensNoFurtherFolder) {
    fs::create_symlink(m_scratch / "outside/page.htm", m_scratch / "app/doc/html/linked.htm");
    PutPage("outside/next.htm", "Next", "further on");
    Open();
    m_viewer->DisplayHelp(Path("app/doc/html/linked.htm"));
    EXPECT_EQ(m_viewer->windowTitle(), "Outside");
    Follow("#below");
    EXPECT_EQ(Status(), "");
    Follow(Path("outside/next.htm"));
    EXPECT_EQ(m_viewer->windowTitle(), "Outside");
}

TEST_F(HelpBrowserTest, PicturesComeFromTheFolderOnly) {
    PutPicture("app/doc/html/inside.png");
    PutPicture("outside/outside.png");
    fs::create_symlink(m_scratch / "outside/outside.png", m_scratch / "app/doc/html/linked.png");
    WriteFile(m_scratch / "app/doc/html/broken.png", "no picture");
    PutPicture("started/broken.png");
    Open();
    ShowBody("pictures");
    EXPECT_EQ(PictureSize("inside.png"), QSize(12, 8));
    EXPECT_EQ(PictureSize("../../../outside/outside.png"), kNoPicture);
    EXPECT_EQ(PictureSize(Path("outside/outside.png")), kNoPicture);
    EXPECT_EQ(PictureSize("linked.png"), kNoPicture);
    EXPECT_EQ(PictureSize("missing.png"), kNoPicture);
    EXPECT_EQ(PictureSize("broken.png"), kNoPicture);
    EXPECT_EQ(PictureSize("http://127.0.0.1/inside.png"), kNoPicture);
}

// Of a picture that is not there the toolkit would open whatever its name leads to.
TEST_F(HelpBrowserTest, APictureThatIsNoFileKeepsNobodyWaiting) {
    ASSERT_EQ(::mkfifo((m_scratch / "app/doc/html/fifo.png").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((m_scratch / "outside/fifo.png").c_str(), 0600), 0);
    ASSERT_EQ(::mkfifo((m_scratch / "outside/fifo.css").c_str(), 0600), 0);
    Open();
    ShowBody(R"(<img src="fifo.png"><img src="/dev/zero"><img src=")" +
             (m_scratch / "outside/fifo.png") +
             R"("><link rel="stylesheet" type="text/css" href=")" +
             (m_scratch / "outside/fifo.css") + R"(">text)");
    (void)m_viewer->grab();
    EXPECT_EQ(PictureSize("fifo.png"), kNoPicture);
    EXPECT_EQ(PictureSize("/dev/zero"), kNoPicture);
}

TEST_F(HelpBrowserTest, StyleSheetsComeFromTheFolderOnly) {
    WriteFile(m_scratch / "app/doc/html/inside.css", "p { font-weight: bold }");
    WriteFile(m_scratch / "outside/outside.css", "p { font-style: italic }");
    Open();
    const auto put = [this](const std::string& name, const std::string& sheet) {
        WriteFile(m_scratch / ("app/doc/html/" + name),
                  R"(<html><head><link rel="stylesheet" type="text/css" href=")" + sheet +
                      R"("></head><body><p>text</p></body></html>)");
    };
    const auto font = [this] {
        return Browser().document()->begin().begin().fragment().charFormat().font();
    };
    put("first.htm", "inside.css");
    m_viewer->DisplayHelp(Path("app/doc/html/first.htm"));
    ASSERT_EQ(Shown(), "text");
    EXPECT_TRUE(font().bold());
    put("second.htm", "../../../outside/outside.css");
    m_viewer->DisplayHelp(Path("app/doc/html/second.htm"));
    ASSERT_EQ(Shown(), "text");
    EXPECT_FALSE(font().italic());
}

TEST_F(HelpBrowserTest, WhatIsNoMarkupIsShownAsItStands) {
    WriteFile(m_scratch / "outside/notes.txt", "<b>one</b>\n  two & three\n");
    WriteFile(m_scratch / "outside/notes.md", "# one\n");
    Open();
    m_viewer->DisplayHelp(Path("outside/notes.txt"));
    EXPECT_EQ(Shown(), "<b>one</b>\n  two & three");
    EXPECT_EQ(m_viewer->windowTitle(), "The caption");
    m_viewer->DisplayHelp(Path("outside/notes.md"));
    EXPECT_EQ(Shown(), "# one");
}

TEST_F(HelpBrowserTest, PagesAreReadInTheirEncoding) {
    WriteFile(m_scratch / "outside/latin.html",
              "<meta http-equiv=\"Content-Type\" content=\"text/html; charset=ISO-8859-1\">\xE4");
    WriteFile(m_scratch / "outside/utf8.HTM", "\xC3\xA4");
    Open();
    m_viewer->DisplayHelp(Path("outside/latin.html"));
    EXPECT_EQ(Shown(), "\xC3\xA4");
    m_viewer->DisplayHelp(Path("outside/utf8.HTM"));
    EXPECT_EQ(Shown(), "\xC3\xA4");
}

TEST_F(HelpBrowserTest, WhatIsNoFileIsNoPage) {
    ASSERT_EQ(::mkfifo((m_scratch / "outside/fifo.htm").c_str(), 0600), 0);
    Open();
    for (const QString& path :
         {Path("outside/fifo.htm"), Path("outside"), QStringLiteral("/dev/zero")}) {
        m_viewer->DisplayHelp(path);
        EXPECT_EQ(Shown(), "This page cannot be read:\n" + path.toStdString());
    }
}

TEST_F(HelpBrowserTest, AFileWithoutEndIsNoPage) {
    WriteFile(m_scratch / "outside/long.htm", "<title>Long</title>x");
    Open();
    fs::resize_file(m_scratch / "outside/long.htm", std::uintmax_t{1} << 40U);
    m_viewer->DisplayHelp(Path("outside/long.htm"));
    EXPECT_EQ(Shown(),
              "This file is too long to be shown in here:\n" + (m_scratch / "outside/long.htm"));
}

}  // namespace
