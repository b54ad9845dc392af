#include "product/updated/official_memory.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "abi/updturl.h"
#include "common/io.h"
#include "common/regular_file.h"
#include "common/retrying.h"

namespace updated {

namespace {

constexpr char kName[] = "official-mirrors";
constexpr char kNewName[] = "official-mirrors.new";
constexpr std::time_t kPause = 900;  // seconds

// "asked WHEN result N", or while a run lasts "asked WHEN before N", with what is known of the time
// before, and "asked WHEN" without that.
constexpr std::string_view kResult = " result ";
constexpr std::string_view kBefore = " before ";

template <typename Number>
bool TakeNumber(std::string_view& text, std::string_view word, Number& number) {
    if (!text.starts_with(word)) {
        return false;
    }
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + word.size(), end, number);
    text.remove_prefix(static_cast<std::size_t>(stop - text.data()));
    return error == std::errc();
}

}  // namespace

OfficialMemory::OfficialMemory(const std::string& folder) {
    (void)::mkdir(folder.c_str(), 0700);
    m_folder.Reset(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!m_folder) {
        ::syslog(LOG_WARNING, "%s: %s", folder.c_str(), std::strerror(errno));
        return;
    }
    Read();
}

void OfficialMemory::Read() {
    const common::FileDescriptor file =
        common::OpenRegularFileAt(m_folder.Get(), kName, O_RDONLY, common::Links::kNone);
    std::array<char, 64> bytes{};
    const auto size = file ? common::ReadFull(file.Get(), std::as_writable_bytes(std::span(bytes)))
                           : std::ptrdiff_t{0};
    const std::string_view text(bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    m_last = AskedOf(text);
}

std::optional<OfficialMemory::Asked> OfficialMemory::AskedOf(std::string_view text) {
    Asked asked{};
    if (!TakeNumber(text, "asked ", asked.when) || asked.when <= 0) {
        return std::nullopt;
    }
    asked.known.isOfTimeBefore = text.starts_with(kBefore);
    if (text != "\n") {
        int& result = asked.known.result.emplace();
        if (!TakeNumber(text, asked.known.isOfTimeBefore ? kBefore : kResult, result) ||
            text != "\n" || result < kUpdaterFailed || result > kUpdaterInvalidFiles) {
            return std::nullopt;
        }
    }
    return asked;
}

void OfficialMemory::Begin(std::time_t now) {
    m_beforeBegin = m_last;
    const auto result = m_last ? m_last->known.result : std::nullopt;
    m_last = Asked{now, {.result = result, .isOfTimeBefore = result.has_value()}};
    Keep();
}

void OfficialMemory::Withdraw() {
    m_last = m_beforeBegin;
    Keep();
}

void OfficialMemory::Remember(std::time_t now, int result) {
    m_last = Asked{now, {.result = result}};
    Keep();
}

void OfficialMemory::Keep() {
    if (m_folder && !(m_last ? Write() : Remove(kName))) {
        ::syslog(LOG_WARNING, "when the official mirrors were asked cannot be written down: %s",
                 std::strerror(errno));
    }
}

bool OfficialMemory::Remove(const char* name) const {
    const auto remove = [&] { return ::unlinkat(m_folder.Get(), name, 0); };
    return common::Retrying(remove) == 0 || errno == ENOENT;
}

bool OfficialMemory::Write() const {
    std::string text = "asked " + std::to_string(m_last->when);
    if (m_last->known.result) {
        text += std::string(m_last->known.isOfTimeBefore ? kBefore : kResult) +
                std::to_string(*m_last->known.result);
    }
    text += "\n";
    if (!Remove(kNewName)) {
        return false;
    }
    const common::FileDescriptor file = common::OpenRegularFileAt(
        m_folder.Get(), kNewName, O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0600);
    const auto rename = [&] { return ::renameat(m_folder.Get(), kNewName, m_folder.Get(), kName); };
    return file && common::WriteAll(file.Get(), text) &&
           common::Retrying([&] { return ::fsync(file.Get()); }) == 0 &&
           common::Retrying(rename) == 0 &&
           common::Retrying([&] { return ::fsync(m_folder.Get()); }) == 0;
}

std::optional<OfficialMemory::Known> OfficialMemory::Recall(std::time_t now) const {
    const bool isRecent = m_last && m_last->when <= now && now - m_last->when < kPause;
    return isRecent ? std::optional(m_last->known) : std::nullopt;
}

}  // namespace updated
