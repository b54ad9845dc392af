#pragma once

#include <QString>

class QWidget;

// Modal message boxes. Their texts may hold file names, so they are always shown as plain text.

/// A warning with an OK button, and what explains it under its text.
void ShowWarning(QWidget* parent, const QString& title, const QString& text,
                 const QString& explanation = {});

/// A critical message with an OK button.
void ShowCritical(QWidget* parent, const QString& title, const QString& text);

/// Something to know, with an OK button.
void ShowInformation(QWidget* parent, const QString& title, const QString& text);

enum class Answer { kYes, kNo, kCancel };

/// A question with Yes, No and Cancel; Escape cancels.
Answer AskYesNoCancel(QWidget* parent, const QString& title, const QString& text);

/// A warning that asks, with "&Yes" and "&No"; Escape is No. True for Yes.
bool AskYesNo(QWidget* parent, const QString& title, const QString& text);

/// A question with Yes and No that is asked while the user may be typing: no button is the default
/// and none has the focus, and a letter counts only with Alt, so that a key pressed for something
/// else answers nothing. Escape is No; kCancel says that the program was quit over the question.
Answer AskWithoutDefault(QWidget* parent, const QString& title, const QString& text);
