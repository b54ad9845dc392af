#include "product/scanapi/verdict_file.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/user_folders.h"
#include "product/scanapi/verdict_format.h"
#include "product/vault/place.h"

namespace scanapi {

namespace {

using std::chrono::steady_clock;

constexpr char kName[] = "verdicts";
constexpr char kNewName[] = "verdicts.new";
constexpr std::chrono::milliseconds kPatience(1000);
constexpr std::chrono::milliseconds kPause(5);

// On the folder, until the object is gone. Who holds it does so for some hundredths of a second; a
// program that was stopped while it did keeps nobody waiting for long.
class FolderLock {
public:
    explicit FolderLock(int folder) : m_folder(folder) {
        const auto deadline = steady_clock::now() + kPatience;
        while (!(m_isHeld = flock(m_folder, LOCK_EX | LOCK_NB) == 0) &&
               (errno == EWOULDBLOCK || errno == EINTR) && steady_clock::now() < deadline) {
            std::this_thread::sleep_for(kPause);
        }
    }
    ~FolderLock() { (void)flock(m_folder, LOCK_UN); }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;
    [[nodiscard]] bool IsHeld() const { return m_isHeld; }

private:
    int m_folder;
    bool m_isHeld = false;
};

bool IsOnlyOurs(const struct stat& status) {
    return status.st_uid == geteuid() && status.st_nlink == 1 && (status.st_mode & 077U) == 0;
}

bool WriteAt(int file, std::string_view bytes, std::uint64_t place) {
    return lseek(file, static_cast<off_t>(place), SEEK_SET) >= 0 && common::WriteAll(file, bytes);
}

}  // namespace

std::string PathOfVerdicts() {
    if (geteuid() == 0) {
        return kVerdictsOfRoot;
    }
    const std::string caches = common::UserFolder("XDG_CACHE_HOME", "/.cache");
    return caches.empty() ? "" : caches + "/corvane";
}

std::optional<VerdictFile> VerdictFile::Open(const std::string& path, std::uint64_t limit,
                                             std::string& why) {
    common::FileDescriptor folder = vault::OpenPrivateFolder(path, vault::Missing::kMake, why);
    return folder ? std::optional(VerdictFile(std::move(folder), limit)) : std::nullopt;
}

// The file, when its head is whole and says how much of it counts. Needs the lock, as what follows.
common::FileDescriptor VerdictFile::OpenBelieved(std::uint64_t& counting) const {
    common::FileDescriptor file =
        common::OpenRegularFileAt(m_folder.Get(), kName, O_RDWR, common::Links::kNoSymbolic);
    struct stat status {};
    std::string head(kVerdictHeadSize, '\0');
    if (!file || fstat(file.Get(), &status) != 0 || !IsOnlyOurs(status) ||
        common::ReadFull(file.Get(), std::as_writable_bytes(std::span(head))) !=
            static_cast<std::ptrdiff_t>(head.size())) {
        return {};
    }
    const auto said = DecodeHead(head);
    if (!said || *said > static_cast<std::uint64_t>(status.st_size) || *said > m_limit) {
        return {};
    }
    counting = *said;
    return file;
}

// The batches; the file stands behind its head. What cannot be read looks like what is damaged.
std::string VerdictFile::Contents(int file, std::uint64_t counting) const {
    std::string batches(counting - kVerdictHeadSize, '\0');
    return common::ReadFull(file, std::as_writable_bytes(std::span(batches))) >= 0 ? batches : "x";
}

void VerdictFile::Remove() const {
    (void)unlinkat(m_folder.Get(), kName, 0);
}

void VerdictFile::Read(std::string_view basis, std::int64_t now,
                       const std::function<void(std::string_view)>& onRecords) const {
    const FolderLock lock(m_folder.Get());
    if (!lock.IsHeld()) {
        return;
    }
    // What a killed program has left.
    (void)unlinkat(m_folder.Get(), kNewName, 0);
    std::uint64_t counting = 0;
    const common::FileDescriptor file = OpenBelieved(counting);
    const std::string contents = file ? Contents(file.Get(), counting) : "x";
    const auto batches = DecodeBatches(contents, basis, now);
    if (!batches) {
        Remove();
        return;
    }
    for (const Batch& batch : *batches) {
        onRecords(batch.records);
    }
}

bool VerdictFile::Replace(std::string_view contents) const {
    (void)unlinkat(m_folder.Get(), kNewName, 0);
    const common::FileDescriptor file(openat(
        m_folder.Get(), kNewName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    // Nothing is synced: what a power cut leaves is damaged, and then the next one begins anew.
    if (file && common::WriteAll(file.Get(), contents) &&
        renameat(m_folder.Get(), kNewName, m_folder.Get(), kName) == 0) {
        return true;
    }
    (void)unlinkat(m_folder.Get(), kNewName, 0);
    return false;
}

bool VerdictFile::Append(std::string_view basis, std::int64_t now, std::string_view records) const {
    const std::string added = EncodeBatch(now, basis, records);
    const FolderLock lock(m_folder.Get());
    if (!lock.IsHeld() || kVerdictHeadSize + added.size() > m_limit) {
        return false;
    }
    std::uint64_t counting = 0;
    const common::FileDescriptor file = OpenBelieved(counting);
    if (file && counting + added.size() <= m_limit) {
        return WriteAt(file.Get(), added, counting) &&
               WriteAt(file.Get(), EncodeHead(counting + added.size()), 0);
    }
    // From the newest back until half of the room is used, so that this is not to do each time.
    const std::string contents = file ? Contents(file.Get(), counting) : "";
    const auto batches = DecodeBatches(contents, basis, now).value_or(std::vector<Batch>());
    std::uint64_t size = kVerdictHeadSize + added.size();
    auto first = batches.end();
    while (first != batches.begin() && size + std::prev(first)->whole.size() <= m_limit / 2) {
        size += (--first)->whole.size();
    }
    std::string replacement = EncodeHead(size);
    for (; first != batches.end(); ++first) {
        replacement += first->whole;
    }
    return Replace(replacement += added);
}

}  // namespace scanapi
