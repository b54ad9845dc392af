#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "product/scanapi/cache_settings.h"
#include "product/scanapi/cached_verdict.h"
#include "product/scanapi/verdict_file.h"
#include "product/scanapi/verdict_table.h"

namespace scanapi {

/// One scan of a file, as far as it matters to whether its verdict may be remembered.
struct ScanSpan {
    FileIdentity before;  ///< when it was opened, before a byte of it was read
    FileIdentity after;   ///< when all of it was read
    FileTime begun;       ///< when `before` was looked at, by the clock that files get times from
    bool isCovered = false;  ///< a read lease was held from before `before` to after `after`
};

/// The moment, as for ScanSpan::begun.
FileTime Now();

/// Remembers clean files beyond the end of the program. What it says of a file is what a scan of it
/// said while databases, bounds, options and the file were the same.
///
/// A write through a mapping need not move the time of the last change at once. So a file is only
/// remembered when a read lease covered its scan, or when it had been unchanged for a minute before
/// it: by then the kernel has written it out and would see another write. With a lease it still
/// takes two seconds, the coarsest step of that time. Where the clock turns out to have gone back,
/// nothing is believed and nothing remembered.
///
/// Any thread.
class VerdictCache {
public:
    /// In the folder `path` (PathOfVerdicts()), with verdicts on `basis` (VerdictBasis()), by the
    /// clock `now`. Reads what is there. Where nothing can be kept, for which the common log gets
    /// the reason, Find() knows nothing.
    VerdictCache(const std::string& path, const CacheSettings& settings, std::string basis,
                 FileTime (*now)() = Now);

    /// Close().
    ~VerdictCache();
    VerdictCache(const VerdictCache&) = delete;
    VerdictCache& operator=(const VerdictCache&) = delete;

    /// What was said of this very file, unchanged, under a profile with the same effects.
    std::optional<CachedVerdict> Find(const FileIdentity& file, std::string_view baseName,
                                      const scanning::ScanProfile& profile);

    /// Remembers a verdict if it may be; others are passed over. It is on the disk some seconds
    /// later or after Close(), written by a thread of the cache's own.
    void Remember(const ScanSpan& scan, std::string_view baseName,
                  const scanning::ScanProfile& profile, const CachedVerdict& verdict);

    /// Writes what is not written yet. Nothing is found or remembered afterwards.
    void Close();

    /// How many verdicts can be found.
    std::size_t Count();

    /// The moment, by the clock of this cache.
    [[nodiscard]] FileTime Moment() const { return m_now(); }
    [[nodiscard]] const std::string& Basis() const { return m_basis; }

private:
    bool IsClockBack(FileTime now) const { return now < m_latest; }
    void Write() noexcept;
    void WriteBatches();

    const std::string m_basis;
    FileTime (*const m_now)();
    std::optional<VerdictFile> m_file;

    std::mutex m_mutex;  ///< guards what follows
    VerdictTable m_table;
    FileTime m_latest;      ///< the latest moment seen
    std::string m_pending;  ///< records to be written
    bool m_isClosed = false;
    std::condition_variable m_wake;
    std::thread m_writer;
};

}  // namespace scanapi
