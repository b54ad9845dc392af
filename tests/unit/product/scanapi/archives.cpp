#include "tests/unit/product/scanapi/archives.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <stdexcept>
#include <zlib.h>

namespace archives {

namespace {

void Put(std::string& out, std::uint64_t value, int bytes) {
    // More bytes than the value has are zeros.
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>(value & 0xFFU);
        value >>= 8;
    }
}

std::uint32_t Crc(std::string_view content) {
    return static_cast<std::uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(content.data()),
                                            static_cast<uInt>(content.size())));
}

constexpr int kRawDeflate = -15;
constexpr int kGzip = 15 + 16;

std::string Deflated(std::string_view content, int windowBits) {
    z_stream stream{};
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) !=
        Z_OK) {
        throw std::runtime_error("deflateInit2");
    }
    std::string out(deflateBound(&stream, content.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(content.data()));
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const int result = deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END) {
        throw std::runtime_error("deflate");
    }
    return out;
}

struct ZipEntry {
    std::string name;
    std::string packed;
    std::uint32_t crc = 0;
    std::size_t size = 0;
    int method = 0;
    int flags = 0;
};

// What the local and the central header of an entry have in common.
std::string SharedHeader(const ZipEntry& entry) {
    std::string out;
    Put(out, 20, 2);
    Put(out, static_cast<std::uint64_t>(entry.flags), 2);
    Put(out, static_cast<std::uint64_t>(entry.method), 2);
    Put(out, 0x58210000, 4);
    Put(out, entry.crc, 4);
    Put(out, entry.packed.size(), 4);
    Put(out, entry.size, 4);
    Put(out, entry.name.size(), 2);
    Put(out, 0, 2);
    return out;
}

std::string ZipOf(const std::vector<ZipEntry>& entries) {
    std::string out;
    std::string directory;
    for (const ZipEntry& entry : entries) {
        const std::size_t offset = out.size();
        out += "PK\x03\x04" + SharedHeader(entry) + entry.name + entry.packed;
        directory += "PK\x01\x02";
        Put(directory, 20, 2);
        directory += SharedHeader(entry);
        Put(directory, 0, 2 + 2 + 2 + 4);
        Put(directory, offset, 4);
        directory += entry.name;
    }
    const std::size_t start = out.size();
    out += directory;
    out += "PK\x05\x06";
    Put(out, 0, 4);
    Put(out, entries.size(), 2);
    Put(out, entries.size(), 2);
    Put(out, directory.size(), 4);
    Put(out, start, 4);
    Put(out, 0, 2);
    return out;
}

}  // namespace

std::string Eicar() {
    return std::string("X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-") +
           "STANDARD-ANTIVIRUS-TEST-FILE!$H+H*";
}

std::string Zip(const std::vector<Member>& members) {
    std::vector<ZipEntry> entries;
    entries.reserve(members.size());
    for (const Member& member : members) {
        entries.push_back({member.name, member.content, Crc(member.content), member.content.size(),
                           member.method, member.encrypted ? 1 : 0});
    }
    return ZipOf(entries);
}

std::string ZipOfZeros(std::string_view name, std::size_t size) {
    const std::string zeros(size, '\0');
    return ZipOf({{std::string(name), Deflated(zeros, kRawDeflate), Crc(zeros), size, 8, 0}});
}

std::string Tar(const std::vector<Member>& members) {
    constexpr std::size_t kBlock = 512;
    std::string out;
    for (const Member& member : members) {
        std::string header(kBlock, '\0');
        const auto put = [&header](std::size_t at, std::string_view text) {
            header.replace(at, text.size(), text);
        };
        std::array<char, 16> number{};
        put(0, member.name);
        put(100, "0000644");
        put(108, "0000000");
        put(116, "0000000");
        std::snprintf(number.data(), number.size(), "%011zo", member.content.size());
        put(124, number.data());
        put(136, "00000000000");
        put(148, "        ");
        put(156, "0");
        put(257, std::string_view("ustar\00000", 8));
        unsigned int sum = 0;
        for (const char byte : header) {
            sum += static_cast<unsigned char>(byte);
        }
        std::snprintf(number.data(), number.size(), "%06o", sum);
        put(148, std::string_view(number.data(), 7));
        out += header + member.content;
        out.resize((out.size() + kBlock - 1) / kBlock * kBlock);
    }
    out.append(2 * kBlock, '\0');
    return out;
}

std::string Gzip(std::string_view content) {
    return Deflated(content, kGzip);
}

}  // namespace archives
