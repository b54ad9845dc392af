#include "product/fetch/file_download.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/retrying.h"
#include "product/signed_index/sha256.h"

namespace fetch {

namespace {

using signed_index::IndexedFile;
using signed_index::Refusal;

constexpr int kTries = 3;
constexpr std::size_t kBlockSize = std::size_t{256} * 1024;

// Takes what comes of a file, behind what is already there.
class PartSink : public HttpSink {
public:
    PartSink(common::FileDescriptor file, const IndexedFile& wanted)
        : m_file(std::move(file)), m_wanted(wanted) {}

    /// Reads what an earlier try left. False when told to end; a part too long starts anew.
    bool Resume(Progress& progress) {
        std::vector<std::byte> block(kBlockSize);
        std::ptrdiff_t got = 0;
        while ((got = common::ReadFull(m_file.Get(), block)) > 0) {
            if (!progress.GoesOn()) {
                return false;
            }
            m_hash.Add(std::span(block).first(static_cast<std::size_t>(got)));
            m_size += static_cast<std::uint64_t>(got);
        }
        return (got == 0 && m_size <= m_wanted.size) || StartAnew();
    }

    bool Begin(const HttpHead& head) override {
        // A server that knows no ranges sends all; one that sends another range is not followed.
        const bool goesOn = head.status == 206;
        if (goesOn ? head.rangeBegins != m_size : (m_size > 0 && !StartAnew())) {
            return false;
        }
        if (head.length && *head.length != m_wanted.size - m_size) {
            m_refusal = Refusal::kWrongFileSize;
        }
        return m_refusal == Refusal::kNone;
    }

    bool Take(std::span<const std::byte> bytes) override {
        if (bytes.size() > m_wanted.size - m_size) {
            m_refusal = Refusal::kWrongFileSize;
            return false;
        }
        if (!common::WriteAll(m_file.Get(), bytes)) {
            m_diskError = errno;
            return false;
        }
        m_hash.Add(bytes);
        m_size += bytes.size();
        return true;
    }

    bool StartAnew() {
        m_hash = {};
        m_size = 0;
        if (common::Retrying([&] { return ::ftruncate(m_file.Get(), 0); }) != 0 ||
            ::lseek(m_file.Get(), 0, SEEK_SET) != 0) {
            m_diskError = errno;
            return false;
        }
        return true;
    }

    [[nodiscard]] std::uint64_t Size() const { return m_size; }
    [[nodiscard]] Refusal Why() const { return m_refusal; }
    [[nodiscard]] int DiskError() const { return m_diskError; }
    [[nodiscard]] bool HasDigest() { return m_hash.Finish() == m_wanted.sha256; }

private:
    common::FileDescriptor m_file;
    const IndexedFile& m_wanted;
    signed_index::Sha256 m_hash;
    std::uint64_t m_size = 0;
    Refusal m_refusal = Refusal::kNone;
    int m_diskError = 0;
};

class TextSink : public HttpSink {
public:
    TextSink(std::string& bytes, std::size_t limit) : m_bytes(bytes), m_limit(limit) {}

    bool Begin(const HttpHead& head) override {
        m_bytes.clear();
        return head.status == 200 && head.length.value_or(0) <= m_limit;
    }

    bool Take(std::span<const std::byte> bytes) override {
        if (bytes.size() > m_limit - m_bytes.size()) {
            return false;
        }
        m_bytes.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        return true;
    }

private:
    std::string& m_bytes;
    std::size_t m_limit;
};

// Whether the same may go well a little later.
bool IsWorthAnotherTry(const HttpAnswer& answer) {
    constexpr long kTimeout = 408;
    switch (answer.end) {
        case HttpEnd::kNameNotFound:
        case HttpEnd::kRefused:
        case HttpEnd::kNoAnswer:
        case HttpEnd::kTooSlow:
        case HttpEnd::kCut:
        case HttpEnd::kFailed:
            return true;
        case HttpEnd::kAnswered:
            return answer.status >= 500 || answer.status == kTimeout;
        default:
            return false;
    }
}

std::chrono::milliseconds PauseAfter(int tries, const Limits& limits) {
    return limits.firstPause * (tries == 1 ? 1 : 3);
}

FileResult DiskFailure(int error) {
    return {FileEnd::kDiskFailed, std::string("it cannot be written: ") + std::strerror(error)};
}

// One try. None when another one is worth it, with the words of this one in `words`.
std::optional<FileResult> TryOnce(HttpClient& client, Progress& progress,
                                  const std::string& address, const IndexedFile& file, int parts,
                                  std::string& words) {
    common::FileDescriptor part = common::OpenRegularFileAt(
        parts, file.sha256.c_str(), O_RDWR | O_CREAT, common::Links::kNone, 0640);
    if (!part) {
        return DiskFailure(errno);
    }
    PartSink sink(std::move(part), file);
    if (!sink.Resume(progress)) {
        return sink.DiskError() != 0 ? DiskFailure(sink.DiskError())
                                     : FileResult{FileEnd::kStopped, {}};
    }
    const bool isResumed = sink.Size() > 0;
    if (sink.Size() < file.size) {
        const HttpAnswer answer = client.Get({address, sink.Size(), {}, {}}, sink);
        words = answer.words;
        if (answer.end == HttpEnd::kStopped) {
            return FileResult{FileEnd::kStopped, {}};
        }
        if (sink.DiskError() != 0) {
            return DiskFailure(sink.DiskError());
        }
        constexpr long kRangeNotSatisfiable = 416;
        if (isResumed && (sink.Why() != Refusal::kNone || answer.end == HttpEnd::kSinkFailed ||
                          answer.status == kRangeNotSatisfiable)) {
            // The part may be of something else; the whole file decides.
            sink.StartAnew();
            return std::nullopt;
        }
        if (sink.Why() != Refusal::kNone) {
            sink.StartAnew();
            return FileResult{FileEnd::kRefused, WordsFor(sink.Why())};
        }
        if (answer.end != HttpEnd::kAnswered || (answer.status != 200 && answer.status != 206)) {
            return IsWorthAnotherTry(answer)
                       ? std::nullopt
                       : std::optional(FileResult{FileEnd::kUnreachable, answer.words});
        }
        if (sink.Size() < file.size) {
            // A server that tells no length cannot be cut off visibly.
            words = WordsFor(Refusal::kWrongFileSize);
            return std::nullopt;
        }
    }
    if (sink.HasDigest()) {
        return FileResult{FileEnd::kWhole, {}};
    }
    sink.StartAnew();
    words = WordsFor(Refusal::kWrongFileDigest);
    return isResumed ? std::nullopt : std::optional(FileResult{FileEnd::kRefused, words});
}

}  // namespace

FileResult DownloadFile(HttpClient& client, const Limits& limits, Progress& progress,
                        const std::string& address, const IndexedFile& file, int parts) {
    std::string words;
    for (int tries = 1; tries <= kTries; ++tries) {
        if (auto result = TryOnce(client, progress, address, file, parts, words)) {
            return *result;
        }
        if (tries < kTries && !progress.Wait(PauseAfter(tries, limits))) {
            return {FileEnd::kStopped, {}};
        }
    }
    const bool isShort = words == WordsFor(Refusal::kWrongFileSize);
    return {isShort ? FileEnd::kRefused : FileEnd::kUnreachable, words};
}

FileResult CopyFile(Progress& progress, int source, const IndexedFile& file, int parts) {
    common::FileDescriptor part = common::OpenRegularFileAt(
        parts, file.sha256.c_str(), O_RDWR | O_CREAT | O_TRUNC, common::Links::kNone, 0640);
    if (!part) {
        return DiskFailure(errno);
    }
    PartSink sink(std::move(part), file);
    std::vector<std::byte> block(kBlockSize);
    std::ptrdiff_t got = 0;
    while ((got = common::ReadFull(source, block)) > 0) {
        if (!progress.GoesOn()) {
            return {FileEnd::kStopped, {}};
        }
        if (!sink.Take(std::span(block).first(static_cast<std::size_t>(got)))) {
            break;
        }
    }
    if (sink.DiskError() != 0) {
        return DiskFailure(sink.DiskError());
    }
    if (sink.Size() == file.size && sink.HasDigest()) {
        return {FileEnd::kWhole, {}};
    }
    (void)common::Retrying([&] { return ::unlinkat(parts, file.sha256.c_str(), 0); });
    return {FileEnd::kRefused, WordsFor(Refusal::kWrongFileDigest)};
}

HttpAnswer DownloadText(HttpClient& client, const Limits& limits, Progress& progress,
                        const HttpRequest& request, std::size_t limit, std::string& bytes) {
    HttpAnswer answer;
    for (int tries = 1; tries <= kTries; ++tries) {
        bytes.clear();
        TextSink sink(bytes, limit);
        answer = client.Get(request, sink);
        if (!IsWorthAnotherTry(answer)) {
            break;
        }
        if (tries < kTries && !progress.Wait(PauseAfter(tries, limits))) {
            answer.end = HttpEnd::kStopped;
            break;
        }
    }
    return answer;
}

}  // namespace fetch
