#include "product/mirror/publish.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <set>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/owners.h"
#include "common/regular_file.h"
#include "product/signed_index/index.h"
#include "product/signed_index/sha256.h"

namespace {

using signed_index::Index;
using signed_index::IndexedFile;
using signed_index::Refusal;

constexpr char kFiles[] = "files";
constexpr char kUnfinished[] = "unfinished";
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr std::time_t kDay = 86'400;

std::set<std::string> DigestsOf(const Index& index) {
    std::set<std::string> digests;
    for (const IndexedFile& file : index.files) {
        digests.insert(file.sha256);
    }
    return digests;
}

class Publisher {
public:
    Publisher(std::string mirror, std::string& problem)
        : m_path(std::move(mirror)), m_problem(problem) {}

    bool Open() {
        if (::mkdir(m_path.c_str(), 0755) != 0 && errno != EEXIST) {
            return Fail(m_path);
        }
        m_mirror.Reset(::open(m_path.c_str(), kOpenFolder));
        if (!m_mirror) {
            return Fail(m_path);
        }
        if (::flock(m_mirror.Get(), LOCK_EX | LOCK_NB) != 0) {
            m_problem = m_path + ": the mirror is being written by somebody else";
            return false;
        }
        if (::mkdirat(m_mirror.Get(), kFiles, 0755) != 0 && errno != EEXIST) {
            return Fail(kFiles);
        }
        m_files.Reset(::openat(m_mirror.Get(), kFiles, kOpenFolder | O_NOFOLLOW));
        return m_files.IsOpen() || Fail(kFiles);
    }

    // Of the index that is there now; all zero without one that can be read.
    [[nodiscard]] Index ReadPrevious() const {
        const common::FileDescriptor file = common::OpenRegularFileAt(
            m_mirror.Get(), signed_index::kIndexName, O_RDONLY, common::Links::kNoSymbolic);
        std::string text(signed_index::kMaxIndexSize + 1, '\0');
        const auto length = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text)));
        text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        Index index;
        return signed_index::ParseIndex(text, index) == Refusal::kNone ? index : Index();
    }

    bool AddFile(const SourceDatabase& database, Index& index) {
        const common::FileDescriptor source(::open(database.path.c_str(), O_RDONLY | O_CLOEXEC));
        const auto digest = source
                                ? signed_index::DigestOf(source.Get(), signed_index::kMaxFileSize)
                                : std::nullopt;
        if (!digest) {
            return Fail(database.path);
        }
        if (digest->size == 0 || digest->size > signed_index::kMaxFileSize) {
            m_problem = database.path + ": a database of this size cannot be published";
            return false;
        }
        index.files.push_back({database.name, digest->size, digest->sha256, database.version});
        return IsThere(*digest) || Copy(source.Get(), database.path, *digest);
    }

    bool SyncFiles() { return ::fsync(m_files.Get()) == 0 || Fail(kFiles); }

    bool PublishIndex(const std::string& text, const std::string& signature) {
        const std::string newIndex = std::string(signed_index::kIndexName) + ".new";
        const std::string newSignature = std::string(signed_index::kSignatureName) + ".new";
        if (!WriteNew(newIndex, text) || !WriteNew(newSignature, signature)) {
            return false;
        }
        // A reader between the two finds that they do not belong together, and reads again.
        if (::renameat(m_mirror.Get(), newIndex.c_str(), m_mirror.Get(),
                       signed_index::kIndexName) != 0) {
            return Fail(signed_index::kIndexName);
        }
        if (!RenameOrRemoveSignature(newSignature, !signature.empty())) {
            return Fail(signed_index::kSignatureName);
        }
        return ::fsync(m_mirror.Get()) == 0 || Fail(m_path);
    }

    // Removes what neither of these indexes names.
    void RemoveOthers(const Index& index, const Index& previous) {
        std::set<std::string> kept = DigestsOf(index);
        kept.merge(DigestsOf(previous));
        common::FileDescriptor again(::openat(m_files.Get(), ".", kOpenFolder));
        const common::DirectoryStream stream(::fdopendir(again.Get()));
        if (stream == nullptr) {
            return;
        }
        (void)again.Release();  // the stream's now
        while (const dirent* entry = ::readdir(stream.get())) {
            const std::string name = entry->d_name;
            if (signed_index::IsDigest(name) && !kept.contains(name)) {
                ::unlinkat(m_files.Get(), name.c_str(), 0);
            }
        }
    }

private:
    bool Fail(const std::string& what) {
        m_problem = what + ": " + std::strerror(errno);
        return false;
    }

    // Read through: what a disk has damaged is written anew.
    [[nodiscard]] bool IsThere(const signed_index::FileDigest& digest) const {
        const common::FileDescriptor file = common::OpenRegularFileAt(
            m_files.Get(), digest.sha256.c_str(), O_RDONLY, common::Links::kNoSymbolic);
        const auto found = signed_index::DigestOf(file.Get(), digest.size);
        return file && found && found->size == digest.size && found->sha256 == digest.sha256;
    }

    bool Copy(int source, const std::string& path, const signed_index::FileDigest& digest) {
        ::unlinkat(m_files.Get(), kUnfinished, 0);
        const common::FileDescriptor target = common::OpenRegularFileAt(
            m_files.Get(), kUnfinished, O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0644);
        if (!target || ::fchmod(target.Get(), 0644) != 0 || ::lseek(source, 0, SEEK_SET) != 0) {
            return Fail(path);
        }
        std::vector<std::byte> block(std::size_t{256} * 1024);
        signed_index::Sha256 hash;
        std::ptrdiff_t got = 0;
        while ((got = common::ReadFull(source, block)) > 0) {
            const auto bytes = std::span(block).first(static_cast<std::size_t>(got));
            hash.Add(bytes);
            if (!common::WriteAll(target.Get(), bytes)) {
                return Fail(kFiles);
            }
        }
        if (got < 0 || ::fsync(target.Get()) != 0) {
            return Fail(path);
        }
        if (hash.Finish() != digest.sha256) {
            m_problem = path + ": the database changes while it is copied";
            return false;
        }
        return ::renameat(m_files.Get(), kUnfinished, m_files.Get(), digest.sha256.c_str()) == 0 ||
               Fail(path);
    }

    bool WriteNew(const std::string& name, const std::string& text) {
        ::unlinkat(m_mirror.Get(), name.c_str(), 0);
        const common::FileDescriptor file = common::OpenRegularFileAt(
            m_mirror.Get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0644);
        return (file && ::fchmod(file.Get(), 0644) == 0 && common::WriteAll(file.Get(), text) &&
                ::fsync(file.Get()) == 0) ||
               Fail(name);
    }

    bool RenameOrRemoveSignature(const std::string& newName, bool isSigned) {
        if (isSigned) {
            return ::renameat(m_mirror.Get(), newName.c_str(), m_mirror.Get(),
                              signed_index::kSignatureName) == 0;
        }
        ::unlinkat(m_mirror.Get(), newName.c_str(), 0);
        return ::unlinkat(m_mirror.Get(), signed_index::kSignatureName, 0) == 0 || errno == ENOENT;
    }

    std::string m_path;
    std::string& m_problem;
    common::FileDescriptor m_mirror;
    common::FileDescriptor m_files;
};

}  // namespace

bool PublishMirror(const std::string& mirror, const std::vector<SourceDatabase>& databases,
                   const signed_index::SecretKey* key, std::time_t now, unsigned int days,
                   Published& published, std::string& problem) {
    if (databases.empty()) {
        problem = "there are no databases to publish";
        return false;
    }
    Publisher publisher(mirror, problem);
    if (!publisher.Open()) {
        return false;
    }
    const Index previous = publisher.ReadPrevious();
    Index index;
    index.serial = std::max(static_cast<std::uint64_t>(now), previous.serial + 1);
    index.made = now;
    index.expires = now + kDay * days;
    for (const SourceDatabase& database : databases) {
        if (!publisher.AddFile(database, index)) {
            return false;
        }
    }
    const std::string text = signed_index::FormatIndex(index);
    Index readAgain;
    if (const Refusal refusal = signed_index::ParseIndex(text, readAgain);
        refusal != Refusal::kNone) {
        problem = std::string("no machine would take this: ") + WordsFor(refusal);
        return false;
    }
    const std::string signature =
        key == nullptr ? std::string()
                       : key->Sign(text, "corvane mirror, serial " + std::to_string(index.serial));
    if (!publisher.SyncFiles() || !publisher.PublishIndex(text, signature)) {
        return false;
    }
    publisher.RemoveOthers(index, previous);
    published = {index.serial, index.expires, index.files.size()};
    return true;
}
