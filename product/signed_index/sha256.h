#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

struct evp_md_ctx_st;

namespace signed_index {

/// SHA-256 of what it is given piece by piece, with what the processor has for it: a database is
/// hashed several times on its way. An object is for one thread.
class Sha256 {
public:
    /// Throws std::bad_alloc without memory, as everything here does.
    Sha256();

    void Add(std::span<const std::byte> bytes);

    /// The digest as 64 digits in lower case. The object is used up.
    std::string Finish();

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> m_context;
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
