#pragma once

/// While one lives, accessibility hears of what is typed into a masked line, or replaced or taken
/// out there, only how many characters it is: a mark for each. The toolkit masks what a screen
/// reader asks for, but tells typed letters as they are. All other events go on as they were, to
/// the handler that was there before or to the desktop. To be made when the application object
/// exists, one at a time, on the GUI thread.
class MaskedTyping {
public:
    MaskedTyping();
    ~MaskedTyping();
    MaskedTyping(const MaskedTyping&) = delete;
    MaskedTyping& operator=(const MaskedTyping&) = delete;
    MaskedTyping(MaskedTyping&&) = delete;
    MaskedTyping& operator=(MaskedTyping&&) = delete;
};
