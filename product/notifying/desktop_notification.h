#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace notifying {

/// What a desktop shows: the first is plain text, the second may hold markup, so what others have
/// chosen is escaped in it.
struct Notification {
    std::string title;
    std::string body;
    bool isUrgent = false;
};

/// `text` fit to be shown in a body, and no markup.
std::string PlainText(std::string_view text);

/// Shows it on the desktop of the session, as its user's notification service does. Without a bus,
/// or where that answers nothing within two seconds, nothing happens. Any thread.
void ShowNotification(const Notification& notification);

}  // namespace notifying
