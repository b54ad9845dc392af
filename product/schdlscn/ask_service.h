#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "product/schdlscn/wire.h"

namespace schdlscn {

/// Where the service listens.
inline constexpr char kServiceSocket[] = "/run/corvane/schedule.sock";

/// How long anybody waits for it.
inline constexpr std::chrono::milliseconds kPatience(2000);

/// Asks the service that listens at `path` and belongs to root. None when there is no service; with
/// kScheduleServiceSilent when there is one and no whole answer comes within `limit`. Any thread.
std::optional<Answer> AskService(const std::string& path, const Request& request,
                                 std::chrono::milliseconds limit);

}  // namespace schdlscn
