#include "product/vault/item_writer.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <span>
#include <sys/random.h>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include "common/io.h"
#include "common/retrying.h"
#include "product/signed_index/sha256.h"
#include "product/vault/scrambling.h"

namespace vault {

namespace {

constexpr std::size_t kPieceSize = 65536;

template <typename Number>
void AppendNumber(std::string& out, Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        out += static_cast<char>(static_cast<std::uint64_t>(number) >> (8 * i));
    }
}

void AppendRecord(std::string& out, RecordKind kind, const std::string& bytes) {
    AppendNumber(out, static_cast<std::uint16_t>(kind));
    AppendNumber(out, std::uint16_t{0});
    AppendNumber(out, static_cast<std::uint32_t>(bytes.size()));
    out += bytes;
}

template <typename Number>
void AppendNumberRecord(std::string& out, RecordKind kind, Number number) {
    std::string bytes;
    AppendNumber(bytes, number);
    AppendRecord(out, kind, bytes);
}

void AppendTimeRecord(std::string& out, RecordKind kind, const timespec& time) {
    std::string bytes;
    AppendNumber(bytes, std::int64_t{time.tv_sec});
    AppendNumber(bytes, static_cast<std::uint32_t>(time.tv_nsec));
    AppendRecord(out, kind, bytes);
}

std::string RecordsOf(const ItemFacts& facts) {
    std::string out;
    AppendRecord(out, RecordKind::kPath, facts.path);
    AppendNumberRecord(out, RecordKind::kOwner, std::uint32_t{facts.owner});
    AppendNumberRecord(out, RecordKind::kGroup, std::uint32_t{facts.group});
    AppendNumberRecord(out, RecordKind::kMode, std::uint32_t{facts.mode});
    AppendTimeRecord(out, RecordKind::kAccessed, facts.accessed);
    AppendTimeRecord(out, RecordKind::kModified, facts.modified);
    AppendNumberRecord(out, RecordKind::kKept, facts.kept);
    AppendRecord(out, RecordKind::kVirus, facts.virusName);
    AppendRecord(out, RecordKind::kDatabase, facts.database);
    for (const ExtendedAttribute& attribute : facts.attributes) {
        std::string bytes;
        AppendNumber(bytes, static_cast<std::uint16_t>(attribute.name.size()));
        AppendRecord(out, RecordKind::kAttribute, bytes + attribute.name + attribute.value);
    }
    return out;
}

bool AreWithinLimits(const ItemFacts& facts) {
    bool isFine = !facts.path.empty() && facts.path.size() <= kMaxPath &&
                  facts.virusName.size() <= kMaxName && facts.database.size() <= kMaxName;
    for (const ExtendedAttribute& attribute : facts.attributes) {
        isFine = isFine && attribute.name.size() <= kMaxAttributeName &&
                 attribute.value.size() <= kMaxAttributeValue;
    }
    return isFine;
}

std::string DigestOf(const std::string& head, const std::string& records) {
    signed_index::Sha256 digest;
    digest.Add(std::as_bytes(std::span(head)));
    digest.Add(std::as_bytes(std::span(records)));
    return digest.Finish();
}

class Deflater {
public:
    Deflater() { m_isReady = deflateInit(&m_stream, Z_BEST_SPEED) == Z_OK; }
    ~Deflater() { deflateEnd(&m_stream); }
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;
    [[nodiscard]] bool IsReady() const { return m_isReady; }
    z_stream* operator->() { return &m_stream; }
    int Run(int flush) { return deflate(&m_stream, flush); }

private:
    z_stream m_stream{};
    bool m_isReady = false;
};

// Everything behind the head: scrambles what it is given and writes it.
class ScrambledOutput {
public:
    ScrambledOutput(int file, std::uint64_t key, std::uint64_t limit)
        : m_file(file), m_key(key), m_limit(limit) {}

    bool Write(std::span<std::byte> bytes, std::string& why) {
        Scramble(m_key, m_written, bytes);
        m_written += bytes.size();
        if (m_written > m_limit) {
            why = "it is larger than the vault";
            return false;
        }
        if (!common::WriteAll(m_file, bytes)) {
            why = std::string("it cannot be written to the vault: ") + std::strerror(errno);
            return false;
        }
        return true;
    }
    [[nodiscard]] std::uint64_t Written() const { return m_written; }

private:
    int m_file;
    std::uint64_t m_key;
    std::uint64_t m_limit;
    std::uint64_t m_written = 0;
};

// Writes what the deflater has for its input so far.
bool Drain(Deflater& deflater, int flush, ScrambledOutput& out, std::string& why) {
    std::array<std::byte, kPieceSize> packed;
    do {
        deflater->next_out = reinterpret_cast<Bytef*>(packed.data());
        deflater->avail_out = static_cast<uInt>(packed.size());
        deflater.Run(flush);
        if (!out.Write(std::span(packed).first(packed.size() - deflater->avail_out), why)) {
            return false;
        }
    } while (deflater->avail_out == 0);
    return true;
}

bool WriteContents(int from, ItemFacts& facts, ScrambledOutput& out, std::string& why) {
    Deflater deflater;
    if (!deflater.IsReady()) {
        why = "there is no memory to compress it";
        return false;
    }
    signed_index::Sha256 digest;
    std::vector<std::byte> piece(kPieceSize);
    std::uint64_t size = 0;
    while (true) {
        const ssize_t got = common::Retrying(
            [&] { return pread(from, piece.data(), piece.size(), static_cast<off_t>(size)); });
        if (got < 0) {
            why = std::string("it cannot be read: ") + std::strerror(errno);
            return false;
        }
        const auto read = std::span(piece).first(static_cast<std::size_t>(got));
        size += read.size();
        if (size > facts.size || (got == 0 && size < facts.size)) {
            why = "it changed while it was copied";
            return false;
        }
        digest.Add(read);
        deflater->next_in = reinterpret_cast<Bytef*>(read.data());
        deflater->avail_in = static_cast<uInt>(read.size());
        if (!Drain(deflater, got == 0 ? Z_FINISH : Z_NO_FLUSH, out, why)) {
            return false;
        }
        if (got == 0) {
            facts.sha256 = digest.Finish();
            return true;
        }
    }
}

}  // namespace

bool WriteItem(int to, int from, ItemFacts& facts, std::uint64_t limit, std::string& why) {
    const std::string records = RecordsOf(facts);
    if (!AreWithinLimits(facts) || records.size() > kMaxRecords) {
        why = "what belongs to it is too much for the vault";
        return false;
    }
    std::uint64_t key = 0;
    if (getrandom(&key, sizeof(key), 0) != sizeof(key)) {
        why = "the system gives no random numbers";
        return false;
    }
    // The head is written last: without it nobody takes the rest for an item.
    if (lseek(to, static_cast<off_t>(kHeadSize), SEEK_SET) < 0) {
        why = std::strerror(errno);
        return false;
    }
    ScrambledOutput out(to, key, limit);
    std::string scrambledRecords = records;
    if (!out.Write(std::as_writable_bytes(std::span(scrambledRecords)), why) ||
        !WriteContents(from, facts, out, why)) {
        return false;
    }
    std::string head(kItemMagic, kMagicSize);
    AppendNumber(head, kItemVersion);
    AppendNumber(head, static_cast<std::uint32_t>(records.size()));
    AppendNumber(head, out.Written() - records.size());
    AppendNumber(head, facts.size);
    AppendNumber(head, key);
    head += facts.sha256;
    head += DigestOf(head, records);
    if (lseek(to, 0, SEEK_SET) != 0 || !common::WriteAll(to, head)) {
        why = std::string("it cannot be written to the vault: ") + std::strerror(errno);
        return false;
    }
    return true;
}

}  // namespace vault
