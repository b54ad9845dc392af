#pragma once

#include <vector>

#include <QImage>
#include <QString>

/// Writes `frames` (all of one size) as an animated GIF with a transparent background that loops
/// for ever, each frame shown for `delayMs` milliseconds (in steps of 10). GIF knows only wholly
/// opaque and wholly transparent: a pixel less than half covered is left out. False when the file
/// cannot be written.
bool WriteGif(const std::vector<QImage>& frames, int delayMs, const QString& fileName);
