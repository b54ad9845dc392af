// What the engine, its scan host and the workers say to each other, in all four directions. A
// second, plain reader says what is to be taken for a message; what is taken is written again as
// the bytes it was read from, so nothing is lost or made up on the way.

#include <algorithm>
#include <set>
#include <string>
#include <string_view>

#include "product/scanwire/host_messages.h"
#include "product/scanwire/worker_messages.h"
#include "tests/fuzz/fuzz.h"

namespace {

/// Looks at bytes without making anything of them: whether they have the shape of a message.
class Shape {
public:
    explicit Shape(std::string_view bytes) : m_rest(bytes) {}

    unsigned long long Number(std::size_t size) {
        unsigned long long number = 0;
        for (std::size_t i = 0; i < size && i < m_rest.size(); ++i) {
            number += static_cast<unsigned long long>(static_cast<unsigned char>(m_rest[i]))
                      << (8 * i);
        }
        Skip(size);
        return number;
    }
    std::string_view Text(std::size_t limit) {
        const std::size_t size = Number(2);
        const std::string_view text = m_rest.substr(0, size);
        Require(size <= limit && text.find('\0') == std::string_view::npos);
        Skip(size);
        return text;
    }
    void Require(bool holds) { m_fine = m_fine && holds; }

    [[nodiscard]] bool IsFine() const { return m_fine; }
    [[nodiscard]] bool IsAtEnd() const { return m_rest.empty(); }

private:
    void Skip(std::size_t size) {
        Require(size <= m_rest.size());
        m_rest.remove_prefix(std::min(size, m_rest.size()));
    }

    std::string_view m_rest;
    bool m_fine = true;
};

bool IsToHost(std::string_view bytes) {
    Shape shape(bytes);
    switch (shape.Number(1)) {
        case 1:
            shape.Require(!shape.Text(4096).empty());
            break;
        case 2: {
            const auto workers = shape.Number(4);
            shape.Require(workers >= 1 && workers <= 256);
            shape.Number(4);
            shape.Text(4096);
            shape.Require(shape.Number(4) < 512);
            break;
        }
        case 3:
            shape.Number(8);
            break;
        default:
            return false;
    }
    return shape.IsFine() && shape.IsAtEnd();
}

bool IsFromHost(std::string_view bytes) {
    Shape shape(bytes);
    const auto kind = shape.Number(1);
    switch (kind) {
        case 17:
            shape.Require(!shape.Text(4096).empty());
            shape.Text(256);
            break;
        case 18:
            shape.Text(1024);
            break;
        case 19:
            shape.Number(8);
            break;
        case 20:
            shape.Text(256);
            break;
        case 21:
        case 22: {
            shape.Require(shape.Number(4) < 256);
            shape.Require(shape.Number(4) > 0);
            const auto last = shape.Number(4);
            shape.Require(kind == 22 || (last > 1 && last <= 0x7FFFFFFF));
            break;
        }
        default:
            return false;
    }
    return shape.IsFine() && shape.IsAtEnd();
}

bool IsToWorker(std::string_view bytes) {
    constexpr unsigned long long kRegion = 64ULL << 20U;
    Shape shape(bytes);
    const auto kind = shape.Number(1);
    if (kind == 33) {
        const auto size = shape.Number(8);
        shape.Require(size >= 1 && size <= kRegion);
        return shape.IsFine() && shape.IsAtEnd();
    }
    shape.Require(kind == 34 && shape.Number(1) < 16);
    const auto count = shape.Number(1);
    shape.Require(count >= 1 && count <= 32);
    std::set<unsigned long long> ids{0};
    for (unsigned long long i = 0; i < count && shape.IsFine(); ++i) {
        shape.Require(ids.insert(shape.Number(4)).second);
        const auto offset = shape.Number(8);
        const auto size = shape.Number(8);
        const auto flag = shape.Number(1);
        shape.Require(flag == 1 ? offset == 0
                                : flag == 0 && offset <= kRegion && size <= kRegion - offset);
        shape.Require(shape.Text(255).find('/') == std::string_view::npos);
    }
    return shape.IsFine() && shape.IsAtEnd();
}

bool IsFromWorker(std::string_view bytes) {
    Shape shape(bytes);
    do {
        const auto kind = shape.Number(1);
        shape.Require((kind == 49 || kind == 50) && shape.Number(4) != 0);
        if (kind == 49) {
            shape.Require(!shape.Text(4096).empty());
            continue;
        }
        const auto verdict = shape.Number(1);
        const bool hasVirus = !shape.Text(512).empty();
        const bool hasMember = !shape.Text(4096).empty();
        const std::string_view reason = shape.Text(256);
        shape.Require(verdict <= 3 && hasVirus == (verdict == 1) && (hasVirus || !hasMember));
        shape.Require(reason.empty() || verdict == 2);
        for (const char byte : reason) {
            shape.Require(byte >= ' ' && byte <= '~');
        }
    } while (shape.IsFine() && !shape.IsAtEnd());
    return shape.IsFine();
}

void CheckHost(std::string_view bytes) {
    const auto to = scanwire::ReadToHost(bytes);
    Require(to.has_value() == IsToHost(bytes), "what is a message to the host");
    const auto from = scanwire::ReadFromHost(bytes);
    Require(from.has_value() == IsFromHost(bytes), "what is a message of the host");
    if (to || from) {
        RequireSame(to ? scanwire::Written(*to) : scanwire::Written(*from), bytes, "it again");
    }
}

void CheckWorker(std::string_view bytes) {
    const auto to = scanwire::ReadToWorker(bytes);
    Require(to.has_value() == IsToWorker(bytes), "what is a message to a worker");
    if (to) {
        RequireSame(scanwire::Written(*to), bytes, "it again");
    }
    const auto from = scanwire::ReadFromWorker(bytes);
    Require(from.has_value() == IsFromWorker(bytes), "what is a packet of a worker");
    if (from) {
        std::string again;
        for (const scanwire::FromWorker& record : *from) {
            scanwire::Append(again, record);
        }
        RequireSame(again, bytes, "all records again");
    }
}

}  // namespace

// The kinds of the two sockets have nothing in common, so each input is for one of them at most.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    CheckHost(bytes);
    CheckWorker(bytes);
    return 0;
}
