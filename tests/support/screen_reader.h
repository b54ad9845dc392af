#pragma once

#include <string>
#include <vector>

#include <QString>

class QWidget;

/// Listens as a screen reader does: what a widget is called when it is asked, and what the program
/// tells of its own accord when a text or a value changes. One at a time.
class ScreenReader {
public:
    ScreenReader();
    ~ScreenReader();
    ScreenReader(const ScreenReader&) = delete;
    ScreenReader& operator=(const ScreenReader&) = delete;
    ScreenReader(ScreenReader&&) = delete;
    ScreenReader& operator=(ScreenReader&&) = delete;

    /// What a widget is read out as.
    static QString NameOf(QWidget* widget);
    /// What is said in addition.
    static QString DescriptionOf(QWidget* widget);

    /// Changed names and values since the last call: "object name: what it is now".
    std::vector<std::string> TakeAnnouncements();

    /// What was typed (+), taken out (-) or both in lines since the last call:
    /// "object name at position: +text".
    std::vector<std::string> TakeTypedTexts();

    /// The labels below `window` whose text, without mnemonic marks, is not what is read out: as
    /// "object name: text | what is read out". Labels without text are passed over.
    static std::vector<std::string> UnreadableLabels(const QWidget& window);

    /// All that a program on the accessibility bus can get of a window and what is in it: names,
    /// values, descriptions, and the texts of lines.
    static std::vector<std::string> AllTexts(QWidget& window);
};
