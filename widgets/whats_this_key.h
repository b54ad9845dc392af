#pragma once

class QWidget;

/// Lets F1 explain a modal dialog, over which the help viewer cannot be used: what is shown is the
/// "What's This?" text of the control that has the focus, or of what it stands in, up to the dialog
/// itself. To be called once, from the dialog's constructor. GUI thread.
void ExplainOnF1(QWidget& dialog);
