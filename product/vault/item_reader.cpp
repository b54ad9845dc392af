#include "product/vault/item_reader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include "common/retrying.h"
#include "product/signed_index/sha256.h"
#include "product/vault/record_reader.h"
#include "product/vault/scrambling.h"

namespace vault {

namespace {

constexpr std::size_t kPieceSize = 65536;
constexpr char kDamaged[] = "it is damaged";

// All of `bytes` from `offset` on; false on an error and at the end of the file.
bool ReadAt(int file, std::span<std::byte> bytes, std::uint64_t offset, std::string& why) {
    while (!bytes.empty()) {
        const ssize_t got = common::Retrying(
            [&] { return pread(file, bytes.data(), bytes.size(), static_cast<off_t>(offset)); });
        if (got <= 0) {
            why = got == 0 ? kDamaged : std::string("it cannot be read: ") + std::strerror(errno);
            return false;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(got));
        offset += static_cast<std::uint64_t>(got);
    }
    return true;
}

class Inflater {
public:
    Inflater() { m_isReady = inflateInit(&m_stream) == Z_OK; }
    ~Inflater() { inflateEnd(&m_stream); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    [[nodiscard]] bool IsReady() const { return m_isReady; }
    z_stream* operator->() { return &m_stream; }
    int Run() { return inflate(&m_stream, Z_NO_FLUSH); }

private:
    z_stream m_stream{};
    bool m_isReady = false;
};

// Where the contents go: counted, digested and handed on.
class Contents {
public:
    Contents(const ItemFacts& facts, const ItemReader::Sink& sink) : m_facts(facts), m_sink(sink) {}

    bool Take(std::span<const std::byte> bytes, std::string& why) {
        m_size += bytes.size();
        if (m_size > m_facts.size) {
            why = kDamaged;
            return false;
        }
        m_digest.Add(bytes);
        return bytes.empty() || m_sink(bytes);
    }
    bool AreWhole() { return m_size == m_facts.size && m_digest.Finish() == m_facts.sha256; }

private:
    const ItemFacts& m_facts;
    const ItemReader::Sink& m_sink;
    signed_index::Sha256 m_digest;
    std::uint64_t m_size = 0;
};

// Unpacks one piece. False at an error; `isAtEnd` when the packed stream has ended.
bool Unpack(Inflater& inflater, std::span<std::byte> packed, Contents& contents, bool& isAtEnd,
            std::string& why) {
    std::array<std::byte, kPieceSize> plain;
    inflater->next_in = reinterpret_cast<Bytef*>(packed.data());
    inflater->avail_in = static_cast<uInt>(packed.size());
    do {
        inflater->next_out = reinterpret_cast<Bytef*>(plain.data());
        inflater->avail_out = static_cast<uInt>(plain.size());
        const int result = inflater.Run();
        if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) {
            why = kDamaged;
            return false;
        }
        if (!contents.Take(std::span(plain).first(plain.size() - inflater->avail_out), why)) {
            return false;
        }
        isAtEnd = result == Z_STREAM_END;
    } while (!isAtEnd && inflater->avail_out == 0);
    if (inflater->avail_in != 0) {
        why = kDamaged;  // something behind the end
        return false;
    }
    return true;
}

}  // namespace

std::optional<ItemReader> ItemReader::Open(common::FileDescriptor file, std::string& why) {
    ItemReader reader;
    reader.m_file = std::move(file);
    if (!reader.ReadHead(why) || !reader.ReadRecords(why)) {
        return std::nullopt;
    }
    return reader;
}

bool ItemReader::ReadHead(std::string& why) {
    struct stat status {};
    if (fstat(m_file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        why = "it is no file";
        return false;
    }
    const auto fileSize = static_cast<std::uint64_t>(status.st_size);
    m_head.resize(kHeadSize);
    if (!ReadAt(m_file.Get(), std::as_writable_bytes(std::span(m_head)), 0, why)) {
        return false;
    }
    const std::string_view head = m_head;
    if (!head.starts_with(std::string_view(kItemMagic, kMagicSize))) {
        why = "it is no item of the vault";
        return false;
    }
    if (NumberAt(head.substr(16), 4) != kItemVersion) {
        why = "it was written by a newer version";
        return false;
    }
    m_recordsSize = static_cast<std::uint32_t>(NumberAt(head.substr(20), 4));
    m_packedSize = NumberAt(head.substr(24), 8);
    m_facts.size = NumberAt(head.substr(32), 8);
    m_key = NumberAt(head.substr(40), 8);
    m_facts.sha256 = head.substr(48, kDigestSize);
    if (m_facts.sha256.find_first_not_of("0123456789abcdef") != std::string::npos ||
        m_recordsSize > kMaxRecords || fileSize < kHeadSize + m_recordsSize ||
        m_packedSize != fileSize - kHeadSize - m_recordsSize) {
        why = kDamaged;
        return false;
    }
    return true;
}

bool ItemReader::ReadRecords(std::string& why) {
    std::string records(m_recordsSize, '\0');
    const auto bytes = std::as_writable_bytes(std::span(records));
    if (!ReadAt(m_file.Get(), bytes, kHeadSize, why)) {
        return false;
    }
    Scramble(m_key, 0, bytes);
    signed_index::Sha256 digest;
    digest.Add(std::as_bytes(std::span(m_head).first(kDigestedHeadSize)));
    digest.Add(bytes);
    if (std::string_view(m_head).substr(kDigestedHeadSize) != digest.Finish() ||
        !ParseRecords(records, m_facts)) {
        why = kDamaged;
        return false;
    }
    return true;
}

bool ItemReader::Extract(const Sink& sink, std::string& why) const {
    why.clear();
    Inflater inflater;
    if (!inflater.IsReady()) {
        why = "there is no memory to unpack it";
        return false;
    }
    Contents contents(m_facts, sink);
    std::vector<std::byte> piece(kPieceSize);
    bool isAtEnd = false;
    std::uint64_t done = 0;
    while (done < m_packedSize && !isAtEnd) {
        const auto packed = std::span(piece).first(
            static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), m_packedSize - done)));
        if (!ReadAt(m_file.Get(), packed, kHeadSize + m_recordsSize + done, why)) {
            return false;
        }
        Scramble(m_key, m_recordsSize + done, packed);
        done += packed.size();
        if (!Unpack(inflater, packed, contents, isAtEnd, why)) {
            return false;
        }
    }
    if (!isAtEnd || done != m_packedSize || !contents.AreWhole()) {
        why = kDamaged;
        return false;
    }
    return true;
}

}  // namespace vault
