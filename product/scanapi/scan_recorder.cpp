#include "product/scanapi/scan_recorder.h"

#include <exception>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "product/scanapi/verdict_format.h"

namespace scanapi {

namespace {

std::optional<FileIdentity> Look(const TargetFile& file, const FileSystemId& fileSystem) {
    struct stat status {};
    return ::fstat(file.Descriptor(), &status) == 0 ? std::optional(IdentityOf(fileSystem, status))
                                                    : std::nullopt;
}

}  // namespace

ScanRecorder::ScanRecorder(std::shared_ptr<VerdictCache> cache, const FileSystemId& fileSystem)
    : m_cache(std::move(cache)), m_fileSystem(fileSystem) {}

void ScanRecorder::BeginReading(const TargetFile& file) {
    m_lease.reset();
    m_lease.emplace(file.Descriptor(), ::gettid());
    m_span = {};
    m_span.isCovered = m_lease->IsHeld();
    m_span.begun = m_cache->Moment();
    const auto before = Look(file, m_fileSystem);
    // Where there is a lease to be had and somebody's writing refuses it, time proves nothing.
    m_reading = before && !m_lease->IsRefusedByWriter() ? Reading::kUnderWay : Reading::kDisturbed;
    m_span.before = before.value_or(FileIdentity());
}

void ScanRecorder::EndReading(const TargetFile& file) {
    if (m_reading != Reading::kUnderWay) {
        return;
    }
    const auto after = Look(file, m_fileSystem);
    m_span.after = after.value_or(FileIdentity());
    // Asked last: who comes after this has to wait until the lease is given back.
    m_reading = after && !m_lease->IsBroken() ? Reading::kWhole : Reading::kDisturbed;
    m_lease.reset();
}

void ScanRecorder::Interrupt() {
    m_reading = Reading::kNotBegun;
    m_lease.reset();
}

void ScanRecorder::LetWriterPass() {
    if (m_lease && m_lease->IsBroken()) {
        m_reading = Reading::kDisturbed;
        m_lease.reset();
    }
}

void ScanRecorder::AddMember(std::string_view name) {
    m_memberBytes += name.size() + 1;
    // More are not remembered, so they need no room either.
    if (m_memberBytes <= kMaxMemberBytes) {
        m_verdict.members.emplace_back(name);
    }
}

void ScanRecorder::Remember(const TargetFile& file, const scanning::ScanProfile& profile,
                            scanning::Verdict verdict) noexcept {
    try {
        EndReading(file);
        m_lease.reset();
        if (m_reading == Reading::kWhole && m_memberBytes <= kMaxMemberBytes) {
            m_verdict.verdict = verdict;
            m_cache->Remember(m_span, file.BaseName(), profile, m_verdict);
        }
    } catch (const std::exception&) {
        // Without memory, or a thread to write with: it is scanned again.
        m_verdict = {};
    }
}

}  // namespace scanapi
