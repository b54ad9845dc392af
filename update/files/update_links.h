#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "update/files/address_list.h"

// The addresses that updates are loaded from.

namespace update {

inline constexpr char kUpdateLinkFileName[] = "updlink.dat";
inline constexpr char kUpdateLog[] = "/zqupdt.log";

}  // namespace update

/// The head of the update link file, which is not scrambled.
struct tagUPDLINKHEADER {
    std::uint8_t uninterpreted[4];
    std::int16_t count;  ///< of the records that follow
};
static_assert(sizeof(tagUPDLINKHEADER) == 6);
static_assert(offsetof(tagUPDLINKHEADER, uninterpreted) == 0);
static_assert(offsetof(tagUPDLINKHEADER, count) == 4);

/// One of its records, scrambled by CUpdate::Encrypt.
struct tagUPDLINKRECORD {
    std::uint8_t uninterpreted[4];
    char address[1032];  ///< terminated; at most 1,023 bytes of it are supported
};
static_assert(sizeof(tagUPDLINKRECORD) == 1036);
static_assert(offsetof(tagUPDLINKRECORD, uninterpreted) == 0);
static_assert(offsetof(tagUPDLINKRECORD, address) == 4);

namespace update {

/// Size of each text that CUpdate::ReadUpdLink gives out, in bytes.
inline constexpr std::size_t kUpdateAddressSize = 1024;

}  // namespace update

/// Reader of both link files. All members are static: there is no state between two calls. Any
/// thread.
class CUpdate {
public:
    /// Scrambles `length` bytes in place, each rotated left by 3 bits. 1, or 0 for a null pointer
    /// and a length below 1.
    static int Encrypt(unsigned char* bytes, int length);

    /// Undoes Encrypt: each byte is rotated right by 3 bits.
    static int Decrypt(unsigned char* bytes, int length);

    /// `byte` rotated by `bits` single bits; as it is when `bits` is below 1.
    static unsigned char ByteRotateLeft(unsigned char byte, int bits);
    static unsigned char ByteRotateRight(unsigned char byte, int bits);

    /// Reads the update link file at `path`: an array of texts of kUpdateAddressSize bytes, and
    /// their number in `count`. To be freed with FreeUpdtLink, also when it is empty.
    ///
    /// Null, with `count` as it was, for a null pointer, a file that cannot be opened or lacks its
    /// head (each told in kUpdateLog), one with fewer records than its head says, a count below 0
    /// and when memory is short.
    static char** ReadUpdLink(int* count, const char* path);

    /// Frees a list of `count` addresses, the array alone when `count` is below 1. A null list does
    /// nothing.
    static void FreeUpdtLink(char** list, int count);

    /// Reads the addresses of the administrator's link file in kProductDirectory, and their number
    /// into `count`. To be freed with FreeMemory or FreeUpdtLink. A file without addresses gives
    /// null and count 0.
    ///
    /// Null, with `count` as it was, for a null pointer and when the file cannot be read (told in
    /// kUpdateLog).
    static char** GetURLsForAdmin(int* count);
};

namespace update {

/// The addresses that updates are loaded from, for who asks for them by their source. Any thread.
class UpdateAddresses {
public:
    /// Reads the administrator's, or those of the update link file in `directory`, which ends in
    /// "/". Why they cannot be read is told in kUpdateLog.
    UpdateAddresses(bool areOfAdministrator, const std::string& directory);
    ~UpdateAddresses() { CUpdate::FreeUpdtLink(m_list, m_count); }
    UpdateAddresses(const UpdateAddresses&) = delete;
    UpdateAddresses& operator=(const UpdateAddresses&) = delete;

    /// The array of them, null when there is none to be had: no file, no entry of an administrator.
    [[nodiscard]] char** List() const { return m_list; }
    [[nodiscard]] int Count() const { return m_count; }
    [[nodiscard]] std::span<char* const> Entries() const {
        return {m_list, static_cast<std::size_t>(m_count)};
    }

private:
    int m_count = 0;
    char** m_list;
};

/// The content of an update link file with these addresses, each cut to 1,023 bytes.
std::string UpdateLinkFile(std::span<const std::string> addresses);

enum class ReadLinksResult {
    kRead,
    kNoHeader,
    kFailed,  ///< a record is missing, the count is negative or memory is short
};

/// What CUpdate::ReadUpdLink reads once the file is open; from the position of `file` on.
ReadLinksResult ReadUpdateLinks(int file, AddressList& links);

}  // namespace update
