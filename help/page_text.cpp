#include "help/page_text.h"

#include <fcntl.h>
#include <optional>

#include <QCoreApplication>
#include <QFile>
#include <QStringDecoder>

#include "common/regular_file.h"
#include "widgets/display_name.h"

namespace {

bool IsMarkup(const QString& path) {
    return path.endsWith(QLatin1String(".htm"), Qt::CaseInsensitive) ||
           path.endsWith(QLatin1String(".html"), Qt::CaseInsensitive);
}

// Nothing when it cannot be read; one byte more than kMaxPageSize when it is too long.
std::optional<QByteArray> Bytes(const QString& path) {
    const common::FileDescriptor file = common::OpenRegularFile(QFile::encodeName(path).constData(),
                                                                O_RDONLY, common::Links::kFollow);
    if (!file) {
        return std::nullopt;
    }
    QFile reader;
    if (!reader.open(file.Get(), QIODevice::ReadOnly, QFileDevice::DontCloseHandle)) {
        return std::nullopt;
    }
    QByteArray bytes = reader.read(kMaxPageSize + 1);
    if (reader.error() != QFileDevice::NoError) {
        return std::nullopt;
    }
    return bytes;
}

QString Reason(const QString& path, const QString& reason) {
    const QString name = DisplayName(QFile::encodeName(path).toStdString());
    return QStringLiteral("<html><body><p><b>%1</b></p><p>%2</p></body></html>")
        .arg(reason, name.toHtmlEscaped());
}

}  // namespace

QString ReadPage(const QString& path) {
    const auto bytes = Bytes(path);
    if (!bytes) {
        return Reason(path, QCoreApplication::translate("HelpPage", "This page cannot be read:"));
    }
    if (bytes->size() > kMaxPageSize) {
        return Reason(path, QCoreApplication::translate(
                                "HelpPage", "This file is too long to be shown in here:"));
    }
    if (!IsMarkup(path)) {
        const QString text = QString::fromUtf8(*bytes).toHtmlEscaped();
        return QStringLiteral("<html><body><pre>%1</pre></body></html>").arg(text);
    }
    auto decoder = QStringDecoder::decoderForHtml(*bytes);
    return decoder.isValid() ? QString(decoder.decode(*bytes)) : QString::fromUtf8(*bytes);
}
