#pragma once

#include <optional>

#include <QByteArray>
#include <QString>

#include "common/regular_file.h"

/// What the file `path` holds, opened as OpenRegularFile does, so that no FIFO keeps anybody
/// waiting. Of more than `most` bytes it gives one more than that, which says that it is too long.
/// Nothing when it cannot be read. Any thread.
std::optional<QByteArray> ReadAtMost(const QString& path, qint64 most, common::Links links);
