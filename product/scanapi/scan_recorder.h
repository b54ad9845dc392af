#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "product/scanapi/read_lease.h"
#include "product/scanapi/target_file.h"
#include "product/scanapi/verdict_cache.h"

namespace scanapi {

/// Looks on while one file is read and scanned, so that what was found may be remembered: whether
/// anybody may have written to it meanwhile, and which members were told of. For one thread at a
/// time; files are read by one that blocks every signal.
class ScanRecorder {
public:
    /// The file lies on `fileSystem`, one where verdicts are remembered.
    ScanRecorder(std::shared_ptr<VerdictCache> cache, const FileSystemId& fileSystem);

    /// Before the first byte is read; again when the scan begins anew. From here on whoever wants
    /// to write to the file has to wait, where the system allows that.
    void BeginReading(const TargetFile& file);

    /// All of it was read: what becomes of it now does not change the verdict.
    void EndReading(const TargetFile& file);

    /// The scan has ended early and begins anew later.
    void Interrupt();

    /// Nobody is kept waiting who wants to write; then the verdict is not remembered.
    void LetWriterPass();

    void AddMember(std::string_view name);

    /// Remembers the verdict if it may be. Ends the reading where that has not been said. Throws
    /// nothing: what cannot be remembered is scanned again.
    void Remember(const TargetFile& file, const scanning::ScanProfile& profile,
                  scanning::Verdict verdict) noexcept;

private:
    enum class Reading { kNotBegun, kUnderWay, kWhole, kDisturbed };

    const std::shared_ptr<VerdictCache> m_cache;
    const FileSystemId m_fileSystem;
    Reading m_reading = Reading::kNotBegun;
    std::optional<ReadLease> m_lease;
    ScanSpan m_span;
    CachedVerdict m_verdict;
    std::size_t m_memberBytes = 0;
};

}  // namespace scanapi
