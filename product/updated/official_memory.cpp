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

namespace updated {

namespace {

constexpr char kName[] = "official-mirrors";
constexpr char kNewName[] = "official-mirrors.new";
constexpr std::time_t kPause = 900;  // seconds

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
    std::string_view text(bytes.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    Asked asked{};
    if (TakeNumber(text, "asked ", asked.when) && TakeNumber(text, " result ", asked.result) &&
        text == "\n" && asked.when > 0 && asked.result >= kUpdaterFailed &&
        asked.result <= kUpdaterInvalidFiles) {
        m_last = asked;
    }
}

void OfficialMemory::Remember(std::time_t now, int result) {
    m_last = Asked{now, result};
    if (m_folder && !Write()) {
        ::syslog(LOG_WARNING, "when the official mirrors were asked cannot be written down: %s",
                 std::strerror(errno));
    }
}

bool OfficialMemory::Write() const {
    const std::string text = "asked " + std::to_string(m_last->when) + " result " +
                             std::to_string(m_last->result) + "\n";
    if (::unlinkat(m_folder.Get(), kNewName, 0) != 0 && errno != ENOENT) {
        return false;
    }
    const common::FileDescriptor file = common::OpenRegularFileAt(
        m_folder.Get(), kNewName, O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0600);
    return file && common::WriteAll(file.Get(), text) && ::fsync(file.Get()) == 0 &&
           ::renameat(m_folder.Get(), kNewName, m_folder.Get(), kName) == 0 &&
           ::fsync(m_folder.Get()) == 0;
}

std::optional<int> OfficialMemory::Recall(std::time_t now) const {
    const bool isKnown = m_last && m_last->when <= now && now - m_last->when < kPause;
    return isKnown ? std::optional(m_last->result) : std::nullopt;
}

}  // namespace updated
