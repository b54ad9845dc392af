#include "product/scanning/seen_contents.h"

#include <sodium.h>

namespace scanning {

bool SeenContents::Add(std::string_view containers, std::span<const std::byte> bytes) {
    const auto update = [](crypto_generichash_state& state, const void* data, std::size_t size) {
        crypto_generichash_update(&state, static_cast<const unsigned char*>(data), size);
    };
    crypto_generichash_state state;
    crypto_generichash_init(&state, nullptr, 0, kDigestSize);
    update(state, containers.data(), containers.size());
    update(state, "", 1);
    update(state, bytes.data(), bytes.size());
    std::array<unsigned char, kDigestSize> digest{};
    crypto_generichash_final(&state, digest.data(), digest.size());
    return m_digests.insert(digest).second;
}

}  // namespace scanning
