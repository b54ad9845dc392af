#include "product/scanapi/engine_log.h"

#include <utility>

#include "common/escaped_text.h"
#include "common/log.h"
#include "product/scanapi/user_log.h"

namespace scanapi {

void LogLine(const std::string& text) {
    const std::string line = "scanapi: " + text;
    if (!common::AppendToLog(common::kCommonLog, line)) {
        AppendToUserLog(line);
    }
}

void LogLeftOut(const std::string& path, std::string_view reason) {
    LogLine("database (" + common::Escaped(path) + ") left out: " + common::Escaped(reason));
}

UnreadLog::~UnreadLog() {
    BeginRun();
}

void UnreadLog::Add(const std::string& path, std::string_view reason) {
    const std::lock_guard lock(m_mutex);
    if (++m_count <= kMaxLines) {
        LogLine("(" + common::Escaped(path) + ") was not read: " + common::Escaped(reason));
    }
}

void UnreadLog::BeginRun() {
    const std::lock_guard lock(m_mutex);
    const std::size_t count = std::exchange(m_count, 0);
    if (count > kMaxLines) {
        LogLine(std::to_string(count - kMaxLines) + " more files were not read");
    }
}

}  // namespace scanapi
