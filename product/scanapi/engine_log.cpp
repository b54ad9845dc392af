#include "product/scanapi/engine_log.h"

#include <exception>
#include <set>
#include <utility>

#include "common/escaped_text.h"
#include "common/log.h"
#include "product/scanapi/user_log.h"

namespace scanapi {

bool LogLine(std::string_view text) noexcept {
    try {
        const std::string line = "scanapi: " + std::string(text);
        return common::AppendToLog(common::kCommonLog, line) || AppendToUserLog(line);
    } catch (const std::exception&) {
        return false;
    }
}

void LogOfHost(std::string_view text) {
    constexpr std::size_t kMostLines = 50;
    static std::mutex mutex;
    static std::set<std::string, std::less<>> told;
    const std::lock_guard lock(mutex);
    if (told.size() < kMostLines && told.emplace(text).second) {
        LogLine(common::Escaped(text));
    }
}

void LogLeftOut(const std::string& path, std::string_view reason) {
    LogLine("database (" + common::Escaped(path) + ") left out: " + common::Escaped(reason));
}

UnreadLog::~UnreadLog() {
    BeginRun();
}

void UnreadLog::Add(const std::string& path, std::string_view reason) noexcept {
    const std::lock_guard lock(m_mutex);
    try {
        if (m_told < kMaxLines &&
            LogLine("(" + common::Escaped(path) + ") was not read: " + common::Escaped(reason))) {
            ++m_told;
            return;
        }
    } catch (const std::exception&) {
        // Counted, so that it is told of when there is memory again.
    }
    ++m_untold;
}

void UnreadLog::BeginRun() noexcept {
    const std::lock_guard lock(m_mutex);
    m_told = 0;
    try {
        if (m_untold == 0 || LogLine(std::to_string(m_untold) + " more files were not read")) {
            m_untold = 0;
        }
    } catch (const std::exception&) {
        // The next one says so.
    }
}

}  // namespace scanapi
