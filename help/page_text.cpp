#include "help/page_text.h"

#include <QCoreApplication>
#include <QFile>
#include <QStringDecoder>

#include "help/bounded_file.h"
#include "widgets/display_name.h"

namespace {

bool IsMarkup(const QString& path) {
    return path.endsWith(QLatin1String(".htm"), Qt::CaseInsensitive) ||
           path.endsWith(QLatin1String(".html"), Qt::CaseInsensitive);
}

QString Reason(const QString& path, const QString& reason) {
    const QString name = DisplayName(QFile::encodeName(path).toStdString());
    return QStringLiteral("<html><body><p><b>%1</b></p><p>%2</p></body></html>")
        .arg(reason, name.toHtmlEscaped());
}

}  // namespace

QString ReadPage(const QString& path) {
    const auto bytes = ReadAtMost(path, kMaxPageSize, common::Links::kFollow);
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
