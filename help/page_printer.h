#pragma once

class QPrinter;
class QTextEdit;

/// Prints the page that `view` shows, black on white, in full-page mode: 2 cm are left free on
/// every side of the paper, and each sheet has its number below the text at the right. False when
/// the printer, or the file that is printed to, does not take it. GUI thread.
bool PrintPage(QPrinter& printer, QTextEdit& view);
