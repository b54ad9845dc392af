#pragma once

#include <QString>

class StateChkLstView;

/// Item data of the folder tree: what a closed folder says about ticks inside it. A text.
constexpr int kTickedInsideRole = Qt::UserRole;

/// Leaves at every closed folder below `root` and at itself how many folders are ticked inside it,
/// where they cannot be seen, and returns a line about all of them. A ticked folder counts once,
/// with all it contains. GUI thread only.
QString NoteTickedFolders(StateChkLstView* root);
