#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "product/notifying/desktop_notification.h"
#include "product/schdlscn/planner.h"

namespace schdlscn {

/// What the owner of a task should hear about its last run: that something was found, or why it
/// failed. None for nothing. Any thread.
std::optional<notifying::Notification> NoticeOf(const Task& task, const LastRun& last);

/// Has `program` show it on the desktop sessions of the task's owner, as that user. Null when the
/// user has none. For a process of one thread, root or the owner.
std::unique_ptr<Notice> ShowNotice(const std::string& program, const KeptTask& task,
                                   const notifying::Notification& notification);

}  // namespace schdlscn
