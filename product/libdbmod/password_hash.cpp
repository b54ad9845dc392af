#include "product/libdbmod/password_hash.h"

#include <array>
#include <cerrno>
#include <crypt.h>
#include <cstring>
#include <memory>

namespace dbmod {

namespace {

constexpr std::string_view kPrefix = "$y$";

// Cost 7 is 64 MiB and about 0.1 s: four times the default of the system's own passwords. Every
// user of the machine can read the hash, and this is what stands between it and a guessing program.
constexpr unsigned long kCost = 7;

// The parameters behind the prefix: "j", the logarithm of the memory cost, and "T", the block size.
// '7' to 'C' are 4 to 128 MiB, the costs 3 to 8 of crypt(5).
constexpr char kLowestCost = '7';
constexpr char kHighestCost = 'C';
constexpr std::size_t kParameterLength = 3;
constexpr std::size_t kMaxSaltLength = 86;
constexpr std::size_t kDigestLength = 43;

constexpr std::string_view kHashAlphabet =
    "./0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

/// The working memory of crypt(3), which holds a copy of the password.
struct CryptMemory {
    CryptMemory() = default;
    ~CryptMemory() { explicit_bzero(&data, sizeof data); }
    CryptMemory(const CryptMemory&) = delete;
    CryptMemory& operator=(const CryptMemory&) = delete;

    crypt_data data{};
};

/// The hash of `password` with the parameters and the salt of `setting`; empty with errno set.
std::string Crypt(const char* password, const char* setting) {
    const auto memory = std::make_unique<CryptMemory>();
    errno = 0;
    const char* hash = crypt_rn(password, setting, &memory->data, sizeof memory->data);
    if (hash == nullptr) {
        if (errno == 0) {
            errno = EINVAL;
        }
        return {};
    }
    return hash;
}

bool IsHashText(std::string_view text) {
    return text.find_first_not_of(kHashAlphabet) == std::string_view::npos;
}

/// The lengths are no secret: every hash of one setting has the same.
bool EqualInConstantTime(std::string_view left, std::string_view right) {
    if (left.size() != right.size()) {
        return false;
    }
    unsigned int difference = 0;
    for (std::size_t i = 0; i < left.size(); ++i) {
        difference |= static_cast<unsigned int>(static_cast<unsigned char>(left[i])) ^
                      static_cast<unsigned char>(right[i]);
    }
    return difference == 0;
}

}  // namespace

std::string HashPassword(const char* password) {
    const std::size_t length = strnlen(password, kMaxPasswordBytes + 1);
    if (length == 0 || length > kMaxPasswordBytes) {
        errno = EINVAL;
        return {};
    }
    std::array<char, CRYPT_GENSALT_OUTPUT_SIZE> setting{};
    // Without bytes of ours the salt comes from the system's random source.
    if (crypt_gensalt_rn(kPrefix.data(), kCost, nullptr, 0, setting.data(),
                         static_cast<int>(setting.size())) == nullptr) {
        return {};
    }
    std::string hash = Crypt(password, setting.data());
    if (!hash.empty() && !IsUsableHash(hash)) {
        errno = ENOTSUP;  // A libcrypt that writes what we would later refuse to read.
        return {};
    }
    return hash;
}

bool IsUsableHash(std::string_view hash) {
    if (!hash.starts_with(kPrefix)) {
        return false;
    }
    hash.remove_prefix(kPrefix.size());
    if (hash.size() < kParameterLength + 1 || hash[0] != 'j' || hash[1] < kLowestCost ||
        hash[1] > kHighestCost || hash[2] != 'T' || hash[3] != '$') {
        return false;
    }
    // '7' to 'C' spans the punctuation between the digits and the letters too.
    if (!IsHashText(hash.substr(0, kParameterLength))) {
        return false;
    }
    hash.remove_prefix(kParameterLength + 1);
    const std::size_t saltLength = hash.find('$');
    if (saltLength == std::string_view::npos || saltLength == 0 || saltLength > kMaxSaltLength) {
        return false;
    }
    const std::string_view digest = hash.substr(saltLength + 1);
    return digest.size() == kDigestLength && IsHashText(hash.substr(0, saltLength)) &&
           IsHashText(digest);
}

PasswordCheck CheckPassword(const char* password, const std::string& hash) {
    if (!IsUsableHash(hash)) {
        errno = EINVAL;
        return PasswordCheck::kFailed;
    }
    const std::size_t length = strnlen(password, kMaxPasswordBytes + 1);
    if (length == 0 || length > kMaxPasswordBytes) {
        return PasswordCheck::kDiffers;
    }
    const std::string computed = Crypt(password, hash.c_str());
    if (computed.empty()) {
        return PasswordCheck::kFailed;
    }
    return EqualInConstantTime(computed, hash) ? PasswordCheck::kMatches : PasswordCheck::kDiffers;
}

}  // namespace dbmod
