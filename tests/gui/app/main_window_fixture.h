#pragma once

#include "tests/gui/app/window_fixture.h"

/// The main window as a whole, whichever page is shown.
class MainWindow : public WindowTest {};
