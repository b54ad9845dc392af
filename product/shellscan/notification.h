#pragma once

#include <string_view>

#include "product/notifying/desktop_notification.h"
#include "product/shellscan/run_writer.h"

namespace shellscan {

/// How a scan of `subject`, a path, ended; `problem` is why it could not run, or empty.
notifying::Notification NotificationOf(const RunSummary& summary, std::string_view subject,
                                       std::string_view problem);

}  // namespace shellscan
