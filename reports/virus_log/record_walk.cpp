#include "reports/virus_log/record_walk.h"

#include <algorithm>
#include <utility>

#include "common/io.h"
#include "reports/virus_log/log_files.h"

namespace virus_log {

namespace {

// Far beyond any path, in bytes.
constexpr std::uint32_t kLongestText = 1U << 20U;

bool IsPlausibleLength(std::uint32_t length) {
    return length % sizeof(char16_t) == 0 && length <= kLongestText;
}

// Holes in a file read as zeros, after a crash or because somebody made them to have us fill our
// memory; a record has a month.
bool IsPlausible(const tagVIRRECORD& record) {
    return IsPlausibleLength(record.pathLength) && IsPlausibleLength(record.domainLength) &&
           record.time.month != 0;
}

}  // namespace

std::span<const std::byte> WindowedFile::At(std::uint64_t offset, std::uint64_t length) {
    constexpr std::uint64_t kWindowSize = 1U << 20U;
    if (offset > m_end || length > m_end - offset) {
        return {};
    }
    if (offset < m_start || offset + length > m_start + m_window.size()) {
        m_start = offset;
        m_window.resize(
            static_cast<std::size_t>(std::min(std::max(length, kWindowSize), m_end - offset)));
        if (!ReadAt(m_fd, static_cast<off_t>(offset), m_window)) {
            m_window.clear();
            return {};
        }
    }
    return std::span<const std::byte>(m_window).subspan(static_cast<std::size_t>(offset - m_start),
                                                        static_cast<std::size_t>(length));
}

std::optional<tagVIRRECORD> WindowedFile::RecordAt(std::uint64_t offset) {
    tagVIRRECORD record{};
    const auto bytes = At(offset, sizeof record);
    if (bytes.empty()) {
        return std::nullopt;
    }
    std::copy(bytes.begin(), bytes.end(), common::BytesOf(record).begin());
    const bool isWhole = IsPlausible(record) && RecordSize(record) <= m_end - offset;
    return isWhole ? std::optional(record) : std::nullopt;
}

std::optional<std::vector<std::uint64_t>> WalkByLengths(WindowedFile& file) {
    std::vector<std::uint64_t> records;
    std::uint64_t at = sizeof(tagVIRHEAD);
    while (at < file.End()) {
        const auto record = file.RecordAt(at);
        if (!record) {
            return std::nullopt;
        }
        records.push_back(at);
        at += RecordSize(*record);
    }
    return at == file.End() ? std::optional(std::move(records)) : std::nullopt;
}

}  // namespace virus_log
