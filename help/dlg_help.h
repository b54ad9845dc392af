#pragma once

#include <memory>

#include <QMainWindow>

class PageMenu;
class QUrl;

namespace Ui {
class dlgHelp;
}

/// A small browser for the product's help: pages of this machine, the trail back and forward, the
/// pages that were visited, bookmarks, printing. It goes away when it is closed. GUI thread only.
///
/// The pages visited before come from the file ".history" in the current directory, which is never
/// written; the bookmarks are in the file ".bookmarks" in the program's directory. A file that is
/// missing or damaged is an empty list.
class dlgHelp : public QMainWindow {
    Q_OBJECT

public:
    /// Shows the home page, under the caption of a help viewer until a page has a title.
    explicit dlgHelp(const QString& home, QWidget* parent = nullptr, const char* name = nullptr);
    dlgHelp(const QString& home, const QString& caption, QWidget* parent = nullptr,
            const char* name = nullptr);
    ~dlgHelp() override;

public slots:
    /// Opens one more viewer on the page that is shown.
    void newWindow();

    /// Shows the page whose path was typed, unless it is an address of another machine.
    void pathSelected(const QString& path);

    /// Says in the status line that `text`, the address a link leads to, is not opened in here when
    /// it is none of this machine, and how it can be. Any other text clears the line.
    void checkForUrl(const QString& text);

    void setForwardAvailable(bool available);
    void setBackwardAvailable(bool available);

    /// Lets the user choose a file, which is shown.
    void openFile();

    void about();

    /// Shows the page, wherever it lies; a path that is not absolute counts from the current
    /// directory. An empty path changes nothing.
    void DisplayHelp(const QString& path);

    /// A page was shown: caption, address line and the list of visited pages follow.
    void sourceChanged(const QUrl& source);

    void readBookmarks();
    void readHistory();

    void print();

    /// Adds the page that is shown to the bookmarks, and has them kept.
    void addBookmark();

    void bookmChosen(int id);
    void histChosen(int id);

signals:
    /// For the other viewers that were opened from this one.
    void BookmarkAdded(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void SetIcons();
    void ConnectActions();
    void ConnectBrowser();
    void ShowCaption();
    void TakeBookmark(const QString& path);
    [[nodiscard]] bool SaveBookmarks() const;
    void SayRefused(const QUrl& link);
    [[nodiscard]] QString CurrentPath() const;

    std::unique_ptr<Ui::dlgHelp> m_ui;
    PageMenu* m_history = nullptr;
    PageMenu* m_bookmarks = nullptr;
    QString m_home;
    QString m_caption;
};
