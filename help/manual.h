#pragma once

#include <QString>

// Where the pages of the manual lie, in "doc/html/" of the program's directory. GUI thread.

/// The page that the viewer opens on.
QString ManualHome();

/// A page by its name, as "scanning.htm": in the language of the program's texts where the manual
/// has it, or else in English; the home page when it has neither.
QString ManualPage(const QString& name);
