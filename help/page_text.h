#pragma once

#include <QString>

/// What the viewer reads of one page at most, in bytes.
inline constexpr qint64 kMaxPageSize = qint64{8} << 20;

/// The markup of the page in the file `path`; of one that cannot be shown, markup that says why.
///
/// A file whose name ends in ".htm" or ".html" is markup, in UTF-8 unless it says otherwise; any
/// other is shown as the plain text that it is. What is no regular file is never waited for.
/// GUI thread.
QString ReadPage(const QString& path);
