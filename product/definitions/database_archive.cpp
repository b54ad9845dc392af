#include "product/definitions/database_archive.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <map>
#include <span>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include "product/definitions/database_head.h"
#include "product/signed_index/sha256.h"

namespace definitions {

namespace {

constexpr std::size_t kBlock = 512;
constexpr std::size_t kChunk = std::size_t{64} * 1024;
constexpr std::size_t kMaxList = std::size_t{256} * 1024;
// The list stands behind a licence at most.
constexpr int kMaxBeforeList = 8;
constexpr std::string_view kListEnding = ".info";
constexpr std::string_view kSignatureLine = "DSIG:";

// A field of an archive's head, up to its zero byte. A blank belongs to it: the library reads names
// so, and what it takes for a file of no known kind must not pass for one here.
std::string_view TextField(const std::array<char, kBlock>& head, std::size_t at, std::size_t size) {
    const std::string_view field(head.data() + at, size);
    return field.substr(0, field.find('\0'));
}

std::optional<std::size_t> OctalField(std::string_view digits) {
    digits = digits.substr(0, digits.find(' '));
    std::size_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, 8);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

bool IsListName(std::string_view name) {
    return name.size() > kListEnding.size() &&
           std::equal(kListEnding.rbegin(), kListEnding.rend(), name.rbegin(),
                      [](char left, char right) {
                          return left == std::tolower(static_cast<unsigned char>(right));
                      });
}

using Listed = std::map<std::string, std::string, std::less<>>;

// "name:size:digest" for each file, between the head and the signature.
std::optional<Listed> ParseList(std::string_view text) {
    Listed listed;
    bool isHead = true;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.starts_with(kSignatureLine)) {
            return listed;
        }
        const auto colon = line.find(':');
        if (!isHead && colon == std::string_view::npos) {
            return std::nullopt;
        }
        if (!isHead) {
            listed.emplace(line.substr(0, colon), line.substr(colon + 1));
        }
        isHead = false;
    }
    return std::nullopt;
}

}  // namespace

DatabaseArchive::DatabaseArchive(int file) {
    if (::lseek(file, kBlock, SEEK_SET) != static_cast<off_t>(kBlock)) {
        return;
    }
    const int copy = ::dup(file);
    m_archive = copy >= 0 ? ::gzdopen(copy, "rb") : nullptr;
    if (m_archive == nullptr && copy >= 0) {
        ::close(copy);
    }
}

DatabaseArchive::~DatabaseArchive() {
    if (m_archive != nullptr) {
        (void)::gzclose(m_archive);
    }
}

bool DatabaseArchive::ReadBytes(char* bytes, std::size_t size) {
    return m_archive != nullptr &&
           ::gzread(m_archive, bytes, static_cast<unsigned int>(size)) == static_cast<int>(size);
}

bool DatabaseArchive::Skip(std::size_t size) {
    std::array<char, kBlock> passed{};
    for (; size > 0; size -= std::min(size, passed.size())) {
        if (!ReadBytes(passed.data(), std::min(size, passed.size()))) {
            return false;
        }
    }
    return true;
}

std::optional<DatabaseArchive::Entry> DatabaseArchive::Next() {
    std::array<char, kBlock> head{};
    if (!Skip(m_left + m_padding) || !ReadBytes(head.data(), head.size())) {
        return std::nullopt;
    }
    constexpr std::size_t kNameSize = 100;
    constexpr std::size_t kSizeAt = 124;
    constexpr std::size_t kSizeSize = 12;
    const std::string_view name = TextField(head, 0, kNameSize);
    const auto size = OctalField(TextField(head, kSizeAt, kSizeSize));
    if (name.empty() || !size) {
        return std::nullopt;
    }
    m_left = *size;
    m_padding = (kBlock - *size % kBlock) % kBlock;
    return Entry{std::string(name), *size};
}

bool DatabaseArchive::Read(std::string& content) {
    content.assign(m_left, '\0');
    m_left = 0;
    return ReadBytes(content.data(), content.size());
}

std::string DatabaseArchive::Digest() {
    signed_index::Sha256 digest;
    std::vector<char> chunk(kChunk);
    while (m_left > 0) {
        const auto bytes = std::span(chunk).first(std::min(m_left, chunk.size()));
        if (!ReadBytes(bytes.data(), bytes.size())) {
            return {};
        }
        digest.Add(std::as_bytes(bytes));
        m_left -= bytes.size();
    }
    return digest.Finish();
}

std::optional<SignedList> ReadSignedList(int file) {
    DatabaseArchive archive(file);
    for (int before = 0; before < kMaxBeforeList; ++before) {
        const auto entry = archive.Next();
        if (!entry) {
            return std::nullopt;
        }
        if (IsListName(entry->name)) {
            SignedList list{entry->name, {}};
            return entry->size <= kMaxList && archive.Read(list.text) ? std::optional(list)
                                                                      : std::nullopt;
        }
    }
    return std::nullopt;
}

bool HasAllListed(int file, std::string_view list) {
    auto missing = ParseList(list);
    if (!missing || missing->empty()) {
        return false;
    }
    DatabaseArchive archive(file);
    while (const auto entry = archive.Next()) {
        const auto found = missing->find(entry->name);
        if (found == missing->end()) {
            continue;
        }
        if (found->second != std::to_string(entry->size) + ":" + archive.Digest()) {
            return false;
        }
        missing->erase(found);
    }
    return missing->empty();
}

}  // namespace definitions
