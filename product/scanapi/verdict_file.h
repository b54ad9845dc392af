#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "common/file_descriptor.h"

// The verdict cache on the disk: the file "verdicts" in a folder for the user alone. What is not as
// we would have left it - another's, with further names, open to others, damaged, cut, of another
// version, from the future - is removed and never believed. Several programs may use it at once:
// who reads or adds holds a lock on the folder. An object is for one thread.

namespace scanapi {

inline constexpr char kVerdictsOfRoot[] = "/var/cache/corvane";

/// The folder for the effective user: kVerdictsOfRoot for root, whatever the environment says; for
/// others "corvane" in XDG_CACHE_HOME, or in ".cache" of the home folder. Empty where no home
/// folder is known. Reads the environment: see getenv() about threads.
std::string PathOfVerdicts();

class VerdictFile {
public:
    /// In the folder `path`, which is made as vault::OpenPrivateFolder() makes folders. Holds at
    /// most `limit` bytes. None on failure, with the reason, in words, in `why`.
    static std::optional<VerdictFile> Open(const std::string& path, std::uint64_t limit,
                                           std::string& why);

    /// Gives the records of each batch on `basis`, the oldest first.
    void Read(std::string_view basis, std::int64_t now,
              const std::function<void(std::string_view records)>& onRecords) const;

    /// Adds well-formed records, at most kMaxBatchRecords bytes. Where there is no room for them,
    /// what is on another basis goes, and the oldest. False when they were not added, as on a full
    /// disk; what was there before still counts then. Killed at any moment, the file is whole, with
    /// or without them.
    [[nodiscard]] bool Append(std::string_view basis, std::int64_t now,
                              std::string_view records) const;

private:
    VerdictFile(common::FileDescriptor folder, std::uint64_t limit)
        : m_folder(std::move(folder)), m_limit(limit) {}

    [[nodiscard]] common::FileDescriptor OpenBelieved(std::uint64_t& counting) const;
    [[nodiscard]] std::string Contents(int file, std::uint64_t counting) const;
    [[nodiscard]] bool Replace(std::string_view contents) const;
    void Remove() const;

    common::FileDescriptor m_folder;
    std::uint64_t m_limit;
};

}  // namespace scanapi
