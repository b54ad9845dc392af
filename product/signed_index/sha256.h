#pragma once

#include <cstdint>
#include <optional>
#include <sodium/crypto_hash_sha256.h>
#include <span>
#include <string>

namespace signed_index {

/// SHA-256 of what it is given piece by piece. An object is for one thread.
class Sha256 {
public:
    Sha256();

    void Add(std::span<const std::byte> bytes);

    /// The digest as 64 digits in lower case. The object is used up.
    std::string Finish();

private:
    crypto_hash_sha256_state m_state;
};

/// What a file held when it was read.
struct FileDigest {
    std::uint64_t size;  ///< bytes
    std::string sha256;  ///< 64 digits in lower case
};

/// Reads the open file `fd` from where it stands to its end, but not on once it has given more than
/// `limit` bytes: the size is then larger than `limit`. None when reading fails. Any thread.
std::optional<FileDigest> DigestOf(int fd, std::uint64_t limit);

}  // namespace signed_index
