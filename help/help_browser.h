#pragma once

#include <optional>

#include <QStringList>
#include <QTextBrowser>

/// Shows pages of this machine. Nothing of them is ever fetched from elsewhere.
///
/// Open() shows any file. What a page leads to or shows in itself, its links, pictures and style
/// sheets, lies in the folder of the home page, in that of a page that was opened, or below them,
/// by its real path; all else is left out, and LinkRefused() says which link was. GUI thread only.
class HelpBrowser : public QTextBrowser {
    Q_OBJECT

public:
    explicit HelpBrowser(QWidget* parent = nullptr);

    /// Shows the file, whose path is absolute, and lets its links lead through its folder.
    void Open(const QString& path);

    /// Goes where a link leads, when it may.
    void FollowLink(const QUrl& link);

    QVariant loadResource(int type, const QUrl& name) override;

signals:
    /// The link names nothing that may be shown, or nothing of this machine.
    void LinkRefused(const QUrl& link);

protected:
    void doSetSource(const QUrl& name, QTextDocument::ResourceType type) override;

private:
    /// The real path of a file that pages may lead to.
    [[nodiscard]] std::optional<QString> Permitted(const QUrl& url) const;

    QStringList m_folders;  // real paths
};

/// Whether the address names a file of this machine.
bool IsOfThisMachine(const QUrl& address);
