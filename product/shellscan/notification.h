#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "product/shellscan/run_writer.h"

namespace shellscan {

/// What a desktop shows: the first is plain text, the second may hold markup, so what others have
/// chosen is escaped in it.
struct Notification {
    std::string title;
    std::string body;
    bool isUrgent = false;
};

/// How a scan of `subject`, a path, ended; `problem` is why it could not run, or empty.
Notification NotificationOf(const RunSummary& summary, std::string_view subject,
                            std::string_view problem);

/// Shows it on the desktop of the session, as its user's notification service does. Without a bus,
/// or where that answers nothing within two seconds, nothing happens. Any thread.
void ShowNotification(const Notification& notification);

}  // namespace shellscan
