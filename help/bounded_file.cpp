#include "help/bounded_file.h"

#include <fcntl.h>

#include <QFile>

std::optional<QByteArray> ReadAtMost(const QString& path, qint64 most, common::Links links) {
    const common::FileDescriptor file =
        common::OpenRegularFile(QFile::encodeName(path).constData(), O_RDONLY, links);
    QFile reader;
    if (!file || !reader.open(file.Get(), QIODevice::ReadOnly, QFileDevice::DontCloseHandle)) {
        return std::nullopt;
    }
    QByteArray bytes = reader.read(most + 1);
    if (reader.error() != QFileDevice::NoError) {
        return std::nullopt;
    }
    return bytes;
}
