#pragma once

#include <QImage>
#include <QString>

/// Writes `image` as a 32-bit Windows bitmap with an alpha mask (version 4 header, bit fields),
/// rows bottom-up, colours not multiplied by alpha. Qt's own writer would drop the alpha. False
/// when the file cannot be written.
bool WriteBmp(const QImage& image, const QString& fileName);
