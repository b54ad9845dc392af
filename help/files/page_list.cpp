#include "help/files/page_list.h"

#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>

#include "common/io.h"
#include "common/option_file.h"
#include "reports/files/save_copy.h"

namespace help {

namespace {

constexpr std::uint32_t kNullText = 0xFFFFFFFF;

/// Takes numbers and texts from the front of what is left.
class Reader {
public:
    explicit Reader(std::span<const std::byte> bytes) : m_rest(bytes) {}

    [[nodiscard]] std::size_t Left() const { return m_rest.size(); }

    std::optional<std::uint32_t> TakeNumber() {
        if (m_rest.size() < sizeof(std::uint32_t)) {
            return std::nullopt;
        }
        std::uint32_t number = 0;
        for (const std::byte byte : m_rest.first(sizeof(std::uint32_t))) {
            number = number << 8U | std::to_integer<std::uint32_t>(byte);
        }
        m_rest = m_rest.subspan(sizeof(std::uint32_t));
        return number;
    }

    std::optional<std::u16string> TakeText() {
        const auto size = TakeNumber();
        if (!size) {
            return std::nullopt;
        }
        if (*size == kNullText) {
            return std::u16string();
        }
        if (*size > m_rest.size() || *size % 2 != 0) {
            return std::nullopt;
        }
        std::u16string text;
        text.reserve(*size / 2);
        for (std::size_t i = 0; i < *size; i += 2) {
            text += static_cast<char16_t>(std::to_integer<unsigned int>(m_rest[i]) << 8U |
                                          std::to_integer<unsigned int>(m_rest[i + 1]));
        }
        m_rest = m_rest.subspan(*size);
        return text;
    }

private:
    std::span<const std::byte> m_rest;
};

void PutNumber(std::string& bytes, std::size_t number) {
    for (const unsigned int shift : {24U, 16U, 8U, 0U}) {
        bytes += static_cast<char>(number >> shift & 0xFFU);
    }
}

}  // namespace

std::optional<PageList> ParsePageList(std::span<const std::byte> bytes) {
    Reader reader(bytes);
    const auto count = reader.TakeNumber();
    // Every text takes four bytes at least: nothing is made for more than can be there.
    if (!count || *count > reader.Left() / sizeof(std::uint32_t)) {
        return std::nullopt;
    }
    PageList pages;
    pages.reserve(*count);
    for (std::uint32_t i = 0; i < *count; ++i) {
        auto text = reader.TakeText();
        if (!text) {
            return std::nullopt;
        }
        pages.push_back(std::move(*text));
    }
    return pages;
}

std::string PageListBytes(const PageList& pages) {
    std::string bytes;
    PutNumber(bytes, pages.size());
    for (const std::u16string& page : pages) {
        PutNumber(bytes, 2 * page.size());
        for (const char16_t unit : page) {
            bytes += static_cast<char>(unit >> 8U);
            bytes += static_cast<char>(unit & 0xFFU);
        }
    }
    return bytes;
}

PageList ReadPageList(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0 || status.st_size < 0 ||
        static_cast<std::size_t>(status.st_size) > kMaxPageListSize) {
        return {};
    }
    std::vector<std::byte> bytes(static_cast<std::size_t>(status.st_size));
    const std::ptrdiff_t got = common::ReadFull(fd, bytes);
    if (got < 0) {
        return {};
    }
    bytes.resize(static_cast<std::size_t>(got));
    return ParsePageList(bytes).value_or(PageList());
}

PageList LoadPageList(const char* path, common::Links links) {
    const common::FileDescriptor file = common::OpenRegularFile(path, O_RDONLY, links);
    return file ? ReadPageList(file.Get()) : PageList();
}

bool SavePageList(const char* path, const PageList& pages) {
    const std::string bytes = PageListBytes(pages);
    if (bytes.size() > kMaxPageListSize) {
        return false;
    }
    common::FileDescriptor file = common::OpenOptionFile(path);
    if (!file) {
        file = common::CreateOptionFile(path);
    }
    if (!file) {
        return false;
    }
    common::ShareWithEveryone(path);
    std::string held(bytes.size() + 1, '\0');
    const std::ptrdiff_t got =
        common::ReadFull(file.Get(), std::as_writable_bytes(std::span(held)));
    if (got == static_cast<std::ptrdiff_t>(bytes.size()) && held.starts_with(bytes)) {
        return true;
    }
    // By the descriptor's name: the file that was opened is the one that is written.
    const std::string opened = "/proc/self/fd/" + std::to_string(file.Get());
    return reports::SaveCopy(opened, bytes).kind == reports::SaveOutcome::kSaved;
}

}  // namespace help
