#include "help/help_browser.h"

#include <algorithm>

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QTextDocument>

#include "help/bounded_file.h"
#include "help/page_text.h"

namespace {

constexpr qint64 kMaxResourceSize = qint64{32} << 20;  // bytes

// Of a file that is missing, where it would be.
QString RealPath(const QString& path) {
    const QFileInfo file(path);
    if (file.exists()) {
        return file.canonicalFilePath();
    }
    const QString folder = QFileInfo(file.path()).canonicalFilePath();
    return folder.isEmpty() ? QString() : QDir(folder).filePath(file.fileName());
}

bool IsBelow(const QString& path, const QString& folder) {
    return path.startsWith(folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/'));
}

// The path is a real one: what has become a link since is not followed.
QByteArray Bytes(const QString& path) {
    const auto bytes = ReadAtMost(path, kMaxResourceSize, common::Links::kNoSymbolic);
    return bytes && bytes->size() <= kMaxResourceSize ? *bytes : QByteArray();
}

// Something must stand for a picture that is not shown: of nothing, the toolkit would open the file
// of that name itself.
QImage NoPicture() {
    QImage image(1, 1, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    return image;
}

QImage Picture(const QString& path) {
    QImage image = QImage::fromData(Bytes(path));
    return image.isNull() ? NoPicture() : image;
}

}  // namespace

bool IsOfThisMachine(const QUrl& address) {
    return address.isLocalFile() && address.host().isEmpty();
}

HelpBrowser::HelpBrowser(QWidget* parent) : QTextBrowser(parent) {
    setOpenLinks(false);
    connect(this, &QTextBrowser::anchorClicked, this, &HelpBrowser::FollowLink);
}

void HelpBrowser::Open(const QString& path) {
    const QString folder = QFileInfo(QFileInfo(path).path()).canonicalFilePath();
    if (!folder.isEmpty() && !m_folders.contains(folder)) {
        m_folders << folder;
    }
    setSource(QUrl::fromLocalFile(path));
}

std::optional<QString> HelpBrowser::Permitted(const QUrl& url) const {
    if (!IsOfThisMachine(url)) {
        return std::nullopt;
    }
    const QString path = RealPath(url.toLocalFile());
    const bool isPermitted =
        std::any_of(m_folders.begin(), m_folders.end(),
                    [&](const QString& folder) { return IsBelow(path, folder); });
    return isPermitted ? std::optional(path) : std::nullopt;
}

void HelpBrowser::FollowLink(const QUrl& link) {
    const QUrl target = source().resolved(link);
    const bool isSamePage =
        target.adjusted(QUrl::RemoveFragment) == source().adjusted(QUrl::RemoveFragment);
    if (isSamePage || Permitted(target)) {
        setSource(target);
    } else {
        emit LinkRefused(target);
    }
}

// Every page is markup in the end, whatever the name of its file.
void HelpBrowser::doSetSource(const QUrl& name, QTextDocument::ResourceType /*type*/) {
    QTextBrowser::doSetSource(name, QTextDocument::HtmlResource);
}

// Never nothing, for the same reason as NoPicture().
QVariant HelpBrowser::loadResource(int type, const QUrl& name) {
    const QUrl url = source().resolved(name);
    if (type == QTextDocument::HtmlResource) {
        return ReadPage(IsOfThisMachine(url) ? url.toLocalFile() : QString());
    }
    const auto path = Permitted(url);
    if (type == QTextDocument::ImageResource) {
        return path ? Picture(*path) : NoPicture();
    }
    return path ? Bytes(*path) + '\n' : QByteArray("\n");
}
