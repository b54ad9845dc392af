#include "product/scanning/container_reader.h"

#include <algorithm>
#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <locale.h>
#include <memory>
#include <string.h>

#include "product/scanning/scan_profile.h"
#include "product/scanning/stored_numbers.h"
#include "product/scanning/unread_reasons.h"

namespace scanning {

namespace {

struct ArchiveFree {
    void operator()(archive* held) const { archive_read_free(held); }
};
using ArchiveOwner = std::unique_ptr<archive, ArchiveFree>;

locale_t Utf8Locale() {
    static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return utf8;
}

/// As long as it lives, this thread has names in UTF-8, as libclamav gives them; in the plain
/// locale the library has no letters but those of ASCII.
class Utf8Names {
public:
    Utf8Names() : m_before(uselocale(Utf8Locale())) {}
    ~Utf8Names() { uselocale(m_before); }
    Utf8Names(const Utf8Names&) = delete;
    Utf8Names& operator=(const Utf8Names&) = delete;

private:
    locale_t m_before;
};

using Enabler = int (*)(archive*);

std::vector<Enabler> FiltersOf(ContainerKind kind) {
    switch (kind) {
        case ContainerKind::Bzip2:
            return {archive_read_support_filter_bzip2};
        case ContainerKind::Xz:
            return {archive_read_support_filter_xz};
        case ContainerKind::Lzma:
            return {archive_read_support_filter_lzma};
        case ContainerKind::Lzip:
            return {archive_read_support_filter_lzip};
        case ContainerKind::Compress:
            return {archive_read_support_filter_compress};
        case ContainerKind::Zstd:
            return {archive_read_support_filter_zstd};
        case ContainerKind::Lz4:
            return {archive_read_support_filter_lz4};
        case ContainerKind::Rpm:
            return {archive_read_support_filter_rpm,   archive_read_support_filter_gzip,
                    archive_read_support_filter_bzip2, archive_read_support_filter_xz,
                    archive_read_support_filter_lzma,  archive_read_support_filter_zstd};
        default:
            return {};
    }
}

std::vector<Enabler> FormatsOf(ContainerKind kind) {
    switch (kind) {
        case ContainerKind::Ar:
            return {archive_read_support_format_ar};
        case ContainerKind::Rar:
            return {archive_read_support_format_rar, archive_read_support_format_rar5};
        case ContainerKind::SevenZip:
            return {archive_read_support_format_7zip};
        case ContainerKind::Zip:
            return {archive_read_support_format_zip_seekable};
        case ContainerKind::Tar:
            return {archive_read_support_format_tar};
        case ContainerKind::Cab:
            return {archive_read_support_format_cab};
        case ContainerKind::Cpio:
            return {archive_read_support_format_cpio};
        case ContainerKind::Lha:
            return {archive_read_support_format_lha};
        case ContainerKind::Xar:
            return {archive_read_support_format_xar};
        default:
            return {archive_read_support_format_raw};
    }
}

// Null when a reader is not built in, so that a program would be run for it.
ArchiveOwner Open(ContainerKind kind, std::span<const std::byte> bytes) {
    ArchiveOwner reader(archive_read_new());
    if (reader == nullptr) {
        return nullptr;
    }
    auto enablers = FiltersOf(kind);
    const auto formats = FormatsOf(kind);
    enablers.insert(enablers.end(), formats.begin(), formats.end());
    for (const Enabler enable : enablers) {
        if (enable(reader.get()) != ARCHIVE_OK) {
            return nullptr;
        }
    }
    if (archive_read_open_memory(reader.get(), bytes.data(), bytes.size()) != ARCHIVE_OK) {
        return nullptr;
    }
    return reader;
}

// The library says in words only what went wrong, and sometimes not even that.
std::string_view ProblemOf(archive* reader) {
    const char* text = archive_error_string(reader);
    if (text == nullptr) {
        return kDamaged;
    }
    const auto says = [text](const char* word) { return strcasestr(text, word) != nullptr; };
    if (says("encrypt") || says("passphrase")) {
        return kEncrypted;
    }
    if (says("truncated") || says("unexpected end") || says("premature")) {
        return kCutShort;
    }
    if (says("unsupported") || says("not supported") || says("unknown")) {
        return kUnknownMethod;
    }
    return kDamaged;
}

// Of a head, a warning is about what has nothing to do with contents, such as a name in an odd
// alphabet.
bool IsFailure(int result) {
    return result < ARCHIVE_WARN || result == ARCHIVE_RETRY;
}

/// Reads what is in the entry at hand.
std::string_view ReadEntry(archive* reader, std::size_t& room, std::vector<std::byte>* out) {
    std::array<std::byte, std::size_t{64} * 1024> piece;
    std::size_t left = std::min(room, static_cast<std::size_t>(kMaxFileSize));
    while (true) {
        const la_ssize_t got = archive_read_data(reader, piece.data(), piece.size());
        if (got == 0) {
            return {};
        }
        if (got < 0) {
            return ProblemOf(reader);
        }
        const auto size = static_cast<std::size_t>(got);
        if (size > left) {
            room -= left;
            return kTooLarge;
        }
        left -= size;
        room -= size;
        if (out != nullptr) {
            out->insert(out->end(), piece.begin(), piece.begin() + got);
        }
    }
}

std::string NameOf(archive_entry* entry, ContainerKind kind) {
    const char* name = archive_entry_pathname(entry);
    if (name == nullptr) {
        name = archive_entry_pathname_utf8(entry);
    }
    std::string text = name == nullptr ? "" : name;
    // The tables that a library of object files keeps for the linker.
    const bool isTable = kind == ContainerKind::Ar && text.starts_with('/');
    return isTable ? std::string() : text;
}

// Object files in their libraries have no type.
bool HasContents(archive_entry* entry) {
    const auto type = archive_entry_filetype(entry);
    return (type == AE_IFREG || type == 0) && archive_entry_hardlink(entry) == nullptr;
}

}  // namespace

void PrepareContainerReader() {
    Utf8Locale();
}

std::string_view ReadStream(ContainerKind kind, std::span<const std::byte> bytes, std::size_t& room,
                            std::vector<std::byte>* out) {
    const Utf8Names names;
    const ArchiveOwner reader = Open(kind, bytes);
    archive_entry* entry = nullptr;
    if (reader == nullptr) {
        return kDamaged;
    }
    const int result = archive_read_next_header(reader.get(), &entry);
    if (result == ARCHIVE_EOF) {
        // A package holds something, if only an end mark.
        return kind == ContainerKind::Rpm ? kCutShort : std::string_view();
    }
    if (IsFailure(result)) {
        return ProblemOf(reader.get());
    }
    // Bytes that no filter wanted come as they are.
    constexpr int kOneAndTheEnd = 2;
    if (archive_filter_count(reader.get()) < kOneAndTheEnd) {
        return kDamaged;
    }
    return ReadEntry(reader.get(), room, out);
}

bool MayHaveFurtherStreams(ContainerKind kind, std::span<const std::byte> bytes) {
    using namespace std::string_view_literals;
    const std::string_view begin = kind == ContainerKind::Xz ? "\xfd\x37zXZ\0"sv : "1AY&SY"sv;
    const std::string_view text = TextOf(bytes);
    const std::size_t first = FindBytes(text, begin, 0);
    if (first == std::string_view::npos) {
        return false;
    }
    for (auto at = FindBytes(text, begin, first + 1); at != std::string_view::npos;
         at = FindBytes(text, begin, at + 1)) {
        // Within one stream of bzip2, blocks may begin at a byte, too.
        if (kind == ContainerKind::Xz || text.substr(at - 4).starts_with("BZh")) {
            return true;
        }
    }
    return false;
}

std::string_view ReadMembers(ContainerKind kind, std::span<const std::byte> bytes,
                             std::size_t& room, const MemberSink& sink) {
    const Utf8Names names;
    const ArchiveOwner reader = Open(kind, bytes);
    if (reader == nullptr) {
        return kDamaged;
    }
    std::string_view problem;
    archive_entry* entry = nullptr;
    std::vector<std::byte> contents;
    while (true) {
        const int result = archive_read_next_header(reader.get(), &entry);
        if (result == ARCHIVE_EOF) {
            return problem;
        }
        if (IsFailure(result)) {
            return ProblemOf(reader.get());
        }
        if (!HasContents(entry)) {
            continue;
        }
        contents.clear();
        const auto failure = ReadEntry(reader.get(), room, &contents);
        if (problem.empty()) {
            problem = failure;
        }
        if (!sink(NameOf(entry, kind), contents) || room == 0) {
            return problem;
        }
    }
}

Listing ListMembers(ContainerKind kind, std::span<const std::byte> bytes) {
    Listing listing;
    const Utf8Names names;
    const ArchiveOwner reader = Open(kind, bytes);
    if (reader == nullptr) {
        listing.problem = kDamaged;
        return listing;
    }
    archive_entry* entry = nullptr;
    while (true) {
        const int result = archive_read_next_header(reader.get(), &entry);
        if (result == ARCHIVE_EOF) {
            return listing;
        }
        if (IsFailure(result)) {
            listing.problem = ProblemOf(reader.get());
            return listing;
        }
        const auto size =
            static_cast<std::size_t>(std::max<la_int64_t>(archive_entry_size(entry), 0));
        if (HasContents(entry) && size > kNeverMatched) {
            ++listing.members;
            listing.bytes += size;
        }
    }
}

}  // namespace scanning
