#pragma once

#include <QString>

/// A tool tip that shows `text` as it stands: the toolkit takes one that looks like markup for it.
/// Long ones are wrapped. GUI thread.
inline QString PlainToolTip(const QString& text) {
    return QStringLiteral("<span>") + text.toHtmlEscaped() + QStringLiteral("</span>");
}
