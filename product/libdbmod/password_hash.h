#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The settings password as a yescrypt hash. All functions may be called from any thread; nothing
// of a password stays in memory that they used.

namespace dbmod {

/// The longest password, in bytes: what crypt(3) takes without its terminator.
inline constexpr std::size_t kMaxPasswordBytes = 511;

/// A salted yescrypt hash ("$y$…") of a password of 1 to kMaxPasswordBytes bytes. Takes about a
/// tenth of a second and 64 MiB of memory. Empty on failure, with errno set.
std::string HashPassword(const char* password);

/// Whether `hash` is a yescrypt hash in the form that HashPassword writes, of a cost that may be
/// spent on checking it: one that asks for gigabytes or hours is refused unread.
bool IsUsableHash(std::string_view hash);

enum class PasswordCheck {
    kMatches,
    kDiffers,
    kFailed,  ///< no answer: the hash is not usable, or there is no memory; errno is set
};

/// Compares a password with a hash in a time that does not depend on where they differ. An empty
/// password and one over kMaxPasswordBytes differ from every hash.
PasswordCheck CheckPassword(const char* password, const std::string& hash);

}  // namespace dbmod
