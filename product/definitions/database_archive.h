#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct gzFile_s;

namespace definitions {

/// Reads the archive in a database file by file. An object is for one thread.
class DatabaseArchive {
public:
    /// Of the open file, whose position it moves; packed or not.
    explicit DatabaseArchive(int file);
    ~DatabaseArchive();
    DatabaseArchive(const DatabaseArchive&) = delete;
    DatabaseArchive& operator=(const DatabaseArchive&) = delete;

    struct Entry {
        std::string name;
        std::size_t size = 0;  ///< bytes
    };

    /// The next file of it; what was not read of the one before is passed over. None at the end and
    /// where it is no archive.
    std::optional<Entry> Next();

    /// The content of the entry that Next gave. False when the archive ends before.
    bool Read(std::string& content);

    /// Its digest, as 64 digits in lower case; empty when the archive ends before.
    std::string Digest();

private:
    bool ReadBytes(char* bytes, std::size_t size);
    bool Skip(std::size_t size);

    gzFile_s* m_archive = nullptr;
    std::size_t m_left = 0;     // of the entry
    std::size_t m_padding = 0;  // behind it
};

/// The signed list in the database that is open as `file`: the first in its archive, which is the
/// one whose signature the library checks. None without one of at most 256 KiB.
struct SignedList {
    std::string name;
    std::string text;
};
std::optional<SignedList> ReadSignedList(int file);

/// Whether every file that the list names is in the archive with the size and the digest that are
/// signed. The library looks at those that are there, and would miss none that was taken out.
bool HasAllListed(int file, std::string_view list);

}  // namespace definitions
