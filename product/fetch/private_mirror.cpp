#include "product/fetch/private_mirror.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "abi/updturl.h"
#include "common/io.h"
#include "common/regular_file.h"
#include "common/retrying.h"
#include "product/fetch/address.h"
#include "product/fetch/file_download.h"
#include "product/signed_index/sha256.h"
#include "product/signed_index/verified_index.h"

namespace fetch {

namespace {

using signed_index::Index;
using signed_index::IndexedFile;
using signed_index::Refusal;

constexpr long kOk = 200;
constexpr long kNotModified = 304;
constexpr long kNotFound = 404;
constexpr long kTooManyRequests = 429;
constexpr std::time_t kUsualDelay = 900;  // where the server says only that it is too much
constexpr int kRounds = 3;                // while the mirror is being changed

std::string Sha256Of(std::string_view text) {
    signed_index::Sha256 hash;
    hash.Add(std::as_bytes(std::span(text)));
    return hash.Finish();
}

// One address's download. A round that finds the mirror in the middle of a change is made again.
class Mirror {
public:
    Mirror(const MirrorJob& job, const std::string& address, MirrorState& state)
        : m_job(job), m_address(address), m_state(state) {}

    MirrorEnd Fetch() {
        if (IsToBeLeftAlone(m_state.notBefore, m_job.now)) {
            return Fail("is not asked before " + signed_index::FormatUtcTime(m_state.notBefore));
        }
        for (int round = 1;; ++round) {
            m_isChanging = false;
            const MirrorEnd end = Round(round == kRounds);
            if (!m_isChanging) {
                return end;
            }
            if (!m_job.progress.Wait(m_job.limits.firstPause)) {
                return MirrorEnd::kStopped;
            }
        }
    }

private:
    MirrorEnd Round(bool isLast) {
        m_job.progress.Status(kUpdateLoadingIndex);
        const HttpAnswer answer = GetIndex();
        if (answer.end == HttpEnd::kStopped) {
            return MirrorEnd::kStopped;
        }
        if (answer.end == HttpEnd::kSinkFailed) {
            return Refuse(Refusal::kIndexTooLarge);
        }
        if (answer.end != HttpEnd::kAnswered) {
            return Fail(answer.words);
        }
        if (answer.status == kTooManyRequests) {
            return Postpone(answer);
        }
        if (answer.status == kNotModified && m_isConditional) {
            return StayWithCurrent();
        }
        if (answer.status != kOk) {
            return Fail(answer.words);
        }
        if (m_text.empty()) {
            return Refuse("the index is empty");
        }
        if (m_job.current.Index() && m_text == m_job.current.IndexText()) {
            Remember(answer);
            return StayWithCurrent();
        }
        const MirrorEnd end = TakeIndex(isLast);
        if (end == MirrorEnd::kCandidate) {
            Remember(answer);
        }
        return end;
    }

    HttpAnswer GetIndex() {
        HttpRequest request{InFolder(m_address, signed_index::kIndexName), 0, {}, {}};
        const std::string& current = m_job.current.IndexText();
        m_isConditional = !current.empty() && m_state.indexSha256 == Sha256Of(current) &&
                          !(m_state.etag.empty() && m_state.modified.empty());
        if (m_isConditional) {
            request.etag = m_state.etag;
            request.modified = m_state.modified;
        }
        return DownloadText(m_job.client, m_job.limits, m_job.progress, request,
                            signed_index::kMaxIndexSize, m_text);
    }

    // A mirror that is kept from changing is noticed although nothing of it is loaded.
    MirrorEnd StayWithCurrent() {
        if (m_job.current.Index()->expires <= m_job.now) {
            return Refuse(Refusal::kExpired);
        }
        return MirrorEnd::kUpToDate;
    }

    MirrorEnd TakeIndex(bool isLast) {
        const HttpAnswer answer =
            DownloadText(m_job.client, m_job.limits, m_job.progress,
                         {InFolder(m_address, signed_index::kSignatureName), 0, {}, {}},
                         signed_index::kMaxSignatureSize, m_signature);
        if (answer.end == HttpEnd::kStopped) {
            return MirrorEnd::kStopped;
        }
        if (answer.end == HttpEnd::kSinkFailed) {
            return Refuse(Refusal::kSignatureTooLarge);
        }
        const bool isMissing = answer.end == HttpEnd::kAnswered && answer.status == kNotFound;
        if (!isMissing && (answer.end != HttpEnd::kAnswered || answer.status != kOk)) {
            return Fail(answer.words);
        }
        Refusal refusal = isMissing ? Refusal::kNoSignature : Accept();
        if (refusal == Refusal::kWrongSignature || refusal == Refusal::kUnknownKey ||
            refusal == Refusal::kNoSignature) {
            // Read in the middle of a change, or what a change left that was broken off. A mirror
            // of ours has the signature under the digest of its index, too.
            const HttpAnswer own = DownloadText(
                m_job.client, m_job.limits, m_job.progress,
                {InFolder(m_address, "files/" + Sha256Of(m_text) + ".minisig"), 0, {}, {}},
                signed_index::kMaxSignatureSize, m_signature);
            if (own.end == HttpEnd::kStopped) {
                return MirrorEnd::kStopped;
            }
            if (own.end == HttpEnd::kAnswered && own.status == kOk) {
                refusal = Accept();
            }
        }
        if (refusal == Refusal::kWrongSignature && !isLast) {
            return TryAgain();  // the new index and the old signature, perhaps
        }
        return refusal == Refusal::kNone ? TakeFiles(isLast) : Refuse(refusal);
    }

    // Who could show this machine something newer than what is in use, and older than what there
    // is, would keep it from what it has seen already.
    Refusal Accept() {
        const std::uint64_t seen = std::max(m_job.current.Serial(), m_state.serial);
        const Refusal refusal =
            signed_index::AcceptIndex(m_text, m_signature, m_job.keys, {m_job.now, seen}, m_index);
        if (refusal == Refusal::kNone) {
            m_state.serial = m_index.serial;
        }
        return refusal;
    }

    MirrorEnd TakeFiles(bool isLast) {
        if (!m_job.folder.RemoveCandidate()) {
            return FailToMake();  // before anything is loaded in vain
        }
        m_job.folder.RemoveParts([this](const std::string& digest) {
            return std::none_of(m_index.files.begin(), m_index.files.end(),
                                [&](const IndexedFile& file) { return file.sha256 == digest; });
        });
        m_job.progress.Status(kUpdateLoadingFiles);
        m_job.progress.Status(kUpdateLoadingDefinitions);
        for (const IndexedFile& file : m_index.files) {
            m_job.progress.Status(kUpdateLoadingNamedFile, file.name);
            const FileResult result = TakeFile(file);
            switch (result.end) {
                case FileEnd::kWhole:
                    break;
                case FileEnd::kStopped:
                    return MirrorEnd::kStopped;
                case FileEnd::kRefused:
                    return Refuse(file.name + ": " + result.words);
                case FileEnd::kDiskFailed:
                    Fail(file.name + ": " + result.words);
                    return MirrorEnd::kDiskFailed;
                case FileEnd::kUnreachable:
                    // Files of an index that was replaced meanwhile go in the end.
                    return isLast ? Fail(file.name + ": " + result.words) : TryAgain();
            }
        }
        return MakeCandidate();
    }

    FileResult TakeFile(const IndexedFile& file) {
        if (const common::FileDescriptor own = m_job.current.OpenFileOf(file.sha256)) {
            FileResult result = CopyFile(m_job.progress, own.Get(), file, m_job.folder.Parts());
            if (result.end != FileEnd::kRefused) {
                return result;
            }
        }
        return DownloadFile(m_job.client, m_job.limits, m_job.progress,
                            InFolder(m_address, "files/" + file.sha256), file,
                            m_job.folder.Parts());
    }

    MirrorEnd MakeCandidate() {
        const common::FileDescriptor candidate = m_job.folder.BeginCandidate();
        bool isMade = candidate && WriteText(candidate.Get(), signed_index::kIndexName, m_text) &&
                      WriteText(candidate.Get(), signed_index::kSignatureName, m_signature);
        for (const IndexedFile& file : m_index.files) {
            // Linked, since two names may have one digest.
            isMade = isMade && DownloadFolder::LinkInto(candidate.Get(), m_job.folder.Parts(),
                                                        file.sha256, file.name);
        }
        if (!isMade || !m_job.folder.FinishCandidate()) {
            return FailToMake();
        }
        // The parts stay: whoever installs may refuse them, and the next run has them here.
        return MirrorEnd::kCandidate;
    }

    MirrorEnd FailToMake() {
        Fail(std::string("the candidate cannot be made: ") + std::strerror(errno));
        return MirrorEnd::kDiskFailed;
    }

    static bool WriteText(int folder, const char* name, std::string_view text) {
        const common::FileDescriptor file = common::OpenRegularFileAt(
            folder, name, O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0640);
        return file && common::Retrying([&] { return ::fchmod(file.Get(), 0640); }) == 0 &&
               common::WriteAll(file.Get(), text);
    }

    void Remember(const HttpAnswer& answer) {
        m_state.etag = answer.etag;
        m_state.modified = answer.modified;
        m_state.indexSha256 = Sha256Of(m_text);
    }

    MirrorEnd Postpone(const HttpAnswer& answer) {
        const std::time_t delay =
            answer.retryAfter.count() > 0 ? answer.retryAfter.count() : kUsualDelay;
        m_state.notBefore = m_job.now + delay;
        return Fail(answer.words + ", try again at " +
                    signed_index::FormatUtcTime(m_state.notBefore));
    }

    MirrorEnd TryAgain() {
        m_isChanging = true;
        return MirrorEnd::kFailed;
    }

    MirrorEnd Refuse(Refusal refusal) { return Refuse(WordsFor(refusal)); }

    MirrorEnd Refuse(const std::string& words) {
        m_job.progress.Refuse(Named(words));
        return MirrorEnd::kRefused;
    }

    MirrorEnd Fail(const std::string& words) {
        m_job.progress.Log(Named(words));
        return MirrorEnd::kFailed;
    }

    [[nodiscard]] std::string Named(const std::string& words) const {
        return ForLog(m_address) + ": " + words;
    }

    const MirrorJob& m_job;
    const std::string& m_address;
    MirrorState& m_state;
    std::string m_text;
    std::string m_signature;
    Index m_index;
    bool m_isConditional = false;
    bool m_isChanging = false;
};

}  // namespace

MirrorEnd FetchFromMirror(const MirrorJob& job, const std::string& address, MirrorState& state) {
    return Mirror(job, address, state).Fetch();
}

}  // namespace fetch
