#include "product/scanning/gzip_streams.h"

#include <array>
#include <zlib.h>

#include "product/scanning/unread_reasons.h"

namespace scanning {

namespace {

constexpr int kGzipOnly = 15 + 16;

/// The memory of zlib, freed whatever happens.
class Inflater {
public:
    Inflater() : m_ready(inflateInit2(&m_stream, kGzipOnly) == Z_OK) {}
    ~Inflater() {
        if (m_ready) {
            inflateEnd(&m_stream);
        }
    }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    [[nodiscard]] bool IsReady() const { return m_ready; }
    z_stream& Stream() { return m_stream; }

private:
    z_stream m_stream{};
    bool m_ready;
};

bool BeginsStream(std::span<const std::byte> bytes) {
    return bytes.size() > 2 && bytes[0] == std::byte{0x1f} && bytes[1] == std::byte{0x8b};
}

// None of zlib's own results.
constexpr int kNoMoreRoom = 100;

// Z_STREAM_END when the stream is whole.
int ReadOne(z_stream& stream, std::size_t& room, std::vector<std::byte>* out) {
    std::array<std::byte, std::size_t{64} * 1024> piece;
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = reinterpret_cast<Bytef*>(piece.data());
        stream.avail_out = static_cast<uInt>(piece.size());
        result = inflate(&stream, Z_NO_FLUSH);
        const std::size_t got = piece.size() - stream.avail_out;
        if (got > room) {
            room = 0;
            return kNoMoreRoom;
        }
        room -= got;
        if (out != nullptr) {
            out->insert(out->end(), piece.begin(),
                        piece.begin() + static_cast<std::ptrdiff_t>(got));
        }
    }
    return result;
}

std::string_view ProblemOf(int result) {
    switch (result) {
        case kNoMoreRoom:
            return kTooLarge;
        case Z_BUF_ERROR:
            return kCutShort;
        case Z_MEM_ERROR:
            return kNoMemory;
        default:
            return kDamaged;
    }
}

}  // namespace

GzipStreams ReadGzip(std::span<const std::byte> bytes, std::size_t& room,
                     std::vector<std::byte>* out) {
    GzipStreams streams;
    Inflater inflater;
    while (inflater.IsReady() && BeginsStream(bytes)) {
        z_stream& stream = inflater.Stream();
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<std::byte*>(bytes.data()));
        stream.avail_in = static_cast<uInt>(bytes.size());
        const int result = ReadOne(stream, room, out);
        if (result != Z_STREAM_END) {
            streams.problem = ProblemOf(result);
            return streams;
        }
        ++streams.count;
        bytes = bytes.last(stream.avail_in);
        inflateReset(&stream);
    }
    if (!inflater.IsReady()) {
        streams.problem = kNoMemory;
    }
    return streams;
}

}  // namespace scanning
