#include <gtest/gtest.h>

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTextBlock>
#include <QTextBrowser>

namespace {

/// A browser that notes what a page has it load.
class NotingBrowser : public QTextBrowser {
public:
    QVariant loadResource(int type, const QUrl& name) override {
        loaded.append(document()->baseUrl().resolved(name));
        return QTextBrowser::loadResource(type, name);
    }

    QList<QUrl> loaded;
};

QString Folder() {
    return QStringLiteral(CORVANE_MANUAL_DIR);
}

QStringList Pages() {
    QStringList pages;
    QDirIterator files(Folder(), {QStringLiteral("*.htm")}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        pages.append(files.next());
    }
    return pages;
}

QString HeadingOf(const QString& page) {
    QFile file(page);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << page.toStdString();
    const QRegularExpression heading(QStringLiteral("<h1>(.*)</h1>"));
    return heading.match(QString::fromUtf8(file.readAll())).captured(1);
}

/// Calls `look` with each run of characters of one format.
template <typename Look>
void ForEachFragment(const QTextDocument& document, Look look) {
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            look(part.fragment());
        }
    }
}

TEST(ManualView, EveryPageIsShownWithItsTitleAndHeading) {
    const QStringList pages = Pages();
    ASSERT_EQ(pages.size(), 34);
    for (const QString& page : pages) {
        SCOPED_TRACE(page.toStdString());
        QTextBrowser browser;
        browser.setSource(QUrl::fromLocalFile(page));
        const QString heading = HeadingOf(page);
        EXPECT_FALSE(heading.isEmpty());
        EXPECT_EQ(browser.documentTitle(), heading + QStringLiteral(" – Corvane"));
        EXPECT_EQ(browser.document()->firstBlock().text(), heading);
        EXPECT_FALSE(browser.toPlainText().contains(QChar(QChar::ReplacementCharacter)));
    }
}

TEST(ManualView, UmlautsAreReadAsTheyWereWritten) {
    QTextBrowser browser;
    browser.setSource(QUrl::fromLocalFile(Folder() + QStringLiteral("/de/schedules.htm")));
    EXPECT_EQ(browser.document()->firstBlock().text(), QStringLiteral("Geplante Prüfungen"));
}

TEST(ManualView, APageLoadsTheStyleSheetAndNothingElse) {
    for (const QString& page : Pages()) {
        SCOPED_TRACE(page.toStdString());
        NotingBrowser browser;
        browser.setSource(QUrl::fromLocalFile(page));
        for (const QUrl& url : browser.loaded) {
            const QString file = QDir::cleanPath(url.toLocalFile());
            EXPECT_TRUE(file == page || file == Folder() + QStringLiteral("/style.css"))
                << url.toString().toStdString();
        }
        EXPECT_GE(browser.loaded.size(), 2);
    }
}

TEST(ManualView, TheStyleSheetHoldsInBothLanguages) {
    for (const QString& page :
         {QStringLiteral("/glossary.htm"), QStringLiteral("/de/glossary.htm")}) {
        SCOPED_TRACE(page.toStdString());
        QTextBrowser browser;
        browser.setSource(QUrl::fromLocalFile(Folder() + page));
        const QTextCursor term =
            browser.document()->find(QRegularExpression(QStringLiteral("^Virus$")));
        ASSERT_FALSE(term.isNull());
        EXPECT_EQ(term.charFormat().fontWeight(), QFont::Bold);
    }
}

TEST(ManualView, ColoursAreThoseOfTheDesktop) {
    for (const QString& page : Pages()) {
        SCOPED_TRACE(page.toStdString());
        QTextBrowser browser;
        browser.setSource(QUrl::fromLocalFile(page));
        ForEachFragment(*browser.document(), [](const QTextFragment& part) {
            const QTextCharFormat format = part.charFormat();
            if (!format.isAnchor()) {
                EXPECT_EQ(format.foreground().style(), Qt::NoBrush) << part.text().toStdString();
            }
            EXPECT_EQ(format.background().style(), Qt::NoBrush) << part.text().toStdString();
        });
    }
}

}  // namespace
