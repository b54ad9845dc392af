#pragma once

#include <array>
#include <cstddef>
#include <set>
#include <span>
#include <string_view>

namespace scanning {

/// The contents that one scan has met so far. What is met again in the same kind of containers
/// needs no second look: that is what ends archives made of the same few files again and again.
class SeenContents {
public:
    /// `containers` names the types around it, outermost first. False when it was there before.
    bool Add(std::string_view containers, std::span<const std::byte> bytes);

    void Clear() { m_digests.clear(); }

private:
    static constexpr std::size_t kDigestSize = 32;
    std::set<std::array<unsigned char, kDigestSize>> m_digests{};
};

}  // namespace scanning
