#pragma once

#include <QIcon>

#include "overview/overview_lines.h"

/// The picture of a mark: a tick in a disc, an exclamation mark in a triangle, a cross in an
/// octagon, a question mark in a ring. The shapes tell them apart without their colours, which are
/// seen on light and dark backgrounds alike. Sharp at any size and scale. GUI thread only.
QIcon MarkIcon(Mark mark);
