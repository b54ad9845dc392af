#include "product/scanapi/hint_line.h"

#include <algorithm>
#include <fcntl.h>
#include <string_view>
#include <utility>

namespace scanapi {

namespace {

// "." and ".." are no regular files, and fall out where these are looked for.
bool IsBareName(std::string_view name) {
    return !name.empty() && name.find('/') == std::string_view::npos;
}

}  // namespace

std::shared_ptr<const common::FileDescriptor> HintLine::Kept(int folder) const {
    std::size_t folders = 0;
    const common::FileDescriptor* last = nullptr;
    for (const Hint& hint : m_hints) {
        folders += hint.folder != nullptr && hint.folder.get() != last ? 1 : 0;
        last = hint.folder.get();
    }
    common::FileDescriptor kept;
    if (folders < kMostFolders) {
        kept.Reset(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
    }
    return kept ? std::make_shared<const common::FileDescriptor>(std::move(kept)) : nullptr;
}

void HintLine::Add(int folder, const char* path, std::span<const char* const> names) {
    if (path == nullptr) {
        return;
    }
    std::string prefix(path);
    if (!prefix.ends_with('/')) {
        prefix += '/';
    }
    const std::lock_guard lock(m_mutex);
    if (m_isClosed || m_hints.size() >= kMostFiles) {
        return;
    }
    const auto kept = Kept(folder);
    for (const char* name : names) {
        if (m_hints.size() >= kMostFiles) {
            break;
        }
        if (name != nullptr && IsBareName(name)) {
            m_hints.push_back({kept, prefix + name, prefix.size()});
        }
    }
    m_changed.notify_all();
}

void HintLine::Forget() {
    const std::lock_guard lock(m_mutex);
    m_hints.clear();
    m_isToForget = true;
    m_changed.notify_all();
}

bool HintLine::PassOver(const std::string& path) {
    const std::lock_guard lock(m_mutex);
    const auto hint = std::find_if(m_hints.begin(), m_hints.end(),
                                   [&](const Hint& each) { return each.path == path; });
    if (hint == m_hints.end()) {
        return false;
    }
    m_hints.erase(m_hints.begin(), hint + 1);
    return true;
}

void HintLine::Close() {
    const std::lock_guard lock(m_mutex);
    m_hints.clear();
    m_isClosed = true;
    m_changed.notify_all();
}

bool HintLine::IsClosed() {
    const std::lock_guard lock(m_mutex);
    return m_isClosed;
}

bool HintLine::TakeForgotten() {
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_isToForget, false);
}

HintLine::Next HintLine::TakeNext() {
    const std::lock_guard lock(m_mutex);
    Next next{.forget = std::exchange(m_isToForget, false), .hint = {}};
    if (!m_hints.empty()) {
        next.hint = std::move(m_hints.front());
        m_hints.pop_front();
    }
    return next;
}

void HintLine::Wait(bool wantsHint, std::optional<std::chrono::milliseconds> limit) {
    const auto isDue = [&] {
        return m_isToForget || m_isWoken || m_isClosed || (wantsHint && !m_hints.empty());
    };
    std::unique_lock lock(m_mutex);
    if (limit) {
        m_changed.wait_for(lock, *limit, isDue);
    } else {
        m_changed.wait(lock, isDue);
    }
    m_isWoken = false;
}

void HintLine::Wake() {
    const std::lock_guard lock(m_mutex);
    m_isWoken = true;
    m_changed.notify_all();
}

}  // namespace scanapi
