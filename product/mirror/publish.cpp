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
#include "product/signed_index/minisign.h"
#include "product/signed_index/sha256.h"

namespace {

using signed_index::Index;
using signed_index::IndexedFile;
using signed_index::Refusal;

constexpr char kFiles[] = "files";
constexpr char kUnfinished[] = "unfinished";
constexpr int kOpenFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr std::time_t kDay = 86'400;

constexpr char kSignatureEnding[] = ".minisig";

std::string Sha256Of(std::string_view text) {
    signed_index::Sha256 hash;
    hash.Add(std::as_bytes(std::span(text)));
    return hash.Finish();
}

/// Without text, or one that is none, an empty one with the serial 0.
Index IndexOf(const std::string& text) {
    Index index;
    return signed_index::ParseIndex(text, index) == Refusal::kNone ? index : Index();
}

/// What lies in the folder of files for the index of this text.
std::set<std::string> NamesOf(const std::string& text) {
    std::set<std::string> names{Sha256Of(text) + kSignatureEnding};
    for (const IndexedFile& file : IndexOf(text).files) {
        names.insert(file.sha256);
    }
    return names;
}

/// The content of a small file; empty when it is missing or larger than `limit` bytes.
std::string Read(int folder, const char* name, std::size_t limit) {
    const common::FileDescriptor file =
        common::OpenRegularFileAt(folder, name, O_RDONLY, common::Links::kNoSymbolic);
    std::string text(limit + 1, '\0');
    const auto length = file ? common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text)))
                             : std::ptrdiff_t{0};
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text.size() <= limit ? text : std::string();
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

    // The text of the index that is published now; empty without.
    [[nodiscard]] std::string PreviousText() const {
        return Read(m_mirror.Get(), signed_index::kIndexName, signed_index::kMaxIndexSize);
    }

    // The folder in which an index waits for its signature; not open without.
    [[nodiscard]] common::FileDescriptor OpenUnsigned() const {
        return common::FileDescriptor(
            ::openat(m_mirror.Get(), kUnsignedFolder, kOpenFolder | O_NOFOLLOW));
    }

    bool WriteUnsigned(const std::string& text) {
        if (::mkdirat(m_mirror.Get(), kUnsignedFolder, 0755) != 0 && errno != EEXIST) {
            return Fail(kUnsignedFolder);
        }
        const common::FileDescriptor folder = OpenUnsigned();
        if (!folder) {
            return Fail(kUnsignedFolder);
        }
        // The signature of another one first.
        (void)::unlinkat(folder.Get(), signed_index::kSignatureName, 0);
        return WriteWhole(folder.Get(), signed_index::kIndexName, text);
    }

    void ForgetUnsigned() const {
        const common::FileDescriptor folder = OpenUnsigned();
        if (folder) {
            // Without the index nothing waits any more, whatever else is left.
            (void)::unlinkat(folder.Get(), signed_index::kIndexName, 0);
            (void)::unlinkat(folder.Get(), signed_index::kSignatureName, 0);
            (void)::unlinkat(m_mirror.Get(), kUnsignedFolder, AT_REMOVEDIR);
        }
    }

    bool HasFilesOf(const Index& index) {
        for (const IndexedFile& file : index.files) {
            if (!IsThere({file.size, file.sha256})) {
                m_problem = file.name + ": is not in the mirror any more";
                return false;
            }
        }
        return true;
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
        // A reader between the two renames, and after the second never came, finds the signature
        // under the digest of the index that it has.
        return WriteWhole(m_files.Get(), Sha256Of(text) + kSignatureEnding, signature) &&
               WriteWhole(m_mirror.Get(), signed_index::kIndexName, text) &&
               WriteWhole(m_mirror.Get(), signed_index::kSignatureName, signature);
    }

    // Removes what neither of these indexes names.
    void RemoveOthers(const std::string& text, const std::string& previousText) {
        std::set<std::string> kept = NamesOf(text);
        kept.merge(NamesOf(previousText));
        common::FileDescriptor again(::openat(m_files.Get(), ".", kOpenFolder));
        const common::DirectoryStream stream(::fdopendir(again.Get()));
        if (stream == nullptr) {
            return;
        }
        (void)again.Release();  // the stream's now
        while (const dirent* entry = ::readdir(stream.get())) {
            const std::string name = entry->d_name;
            if (signed_index::IsDigest(name.substr(0, name.find('.'))) && !kept.contains(name)) {
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

    bool WriteWhole(int folder, const std::string& name, const std::string& text) {
        const std::string newName = name + ".new";
        ::unlinkat(folder, newName.c_str(), 0);
        const common::FileDescriptor file = common::OpenRegularFileAt(
            folder, newName.c_str(), O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0644);
        return (file && ::fchmod(file.Get(), 0644) == 0 && common::WriteAll(file.Get(), text) &&
                ::fsync(file.Get()) == 0 &&
                ::renameat(folder, newName.c_str(), folder, name.c_str()) == 0 &&
                ::fsync(folder) == 0) ||
               Fail(name);
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
    const std::string previous = publisher.PreviousText();
    const std::string waiting =
        Read(publisher.OpenUnsigned().Get(), signed_index::kIndexName, signed_index::kMaxIndexSize);
    Index index;
    index.serial = std::max({static_cast<std::uint64_t>(now), IndexOf(previous).serial + 1,
                             IndexOf(waiting).serial + 1});
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
    published = {index.serial, index.expires, index.files.size()};
    if (!publisher.SyncFiles()) {
        return false;
    }
    if (key == nullptr) {
        return publisher.WriteUnsigned(text);
    }
    if (!publisher.PublishIndex(
            text, key->Sign(text, "corvane mirror, serial " + std::to_string(index.serial)))) {
        return false;
    }
    publisher.ForgetUnsigned();
    publisher.RemoveOthers(text, previous);
    return true;
}

bool PublishSigned(const std::string& mirror, std::time_t now, Published& published,
                   std::string& problem) {
    Publisher publisher(mirror, problem);
    if (!publisher.Open()) {
        return false;
    }
    const common::FileDescriptor folder = publisher.OpenUnsigned();
    const std::string text =
        Read(folder.Get(), signed_index::kIndexName, signed_index::kMaxIndexSize);
    const std::string signature =
        Read(folder.Get(), signed_index::kSignatureName, signed_index::kMaxSignatureSize);
    Index index;
    signed_index::Signature parsed;
    Refusal refusal = signed_index::ParseIndex(text, index);
    if (text.empty()) {
        problem = mirror + ": no index waits for its signature";
        return false;
    }
    if (refusal == Refusal::kNone) {
        refusal = signed_index::ParseSignature(signature, parsed);
    }
    if (refusal == Refusal::kNone && index.expires <= now) {
        refusal = Refusal::kExpired;
    }
    if (refusal != Refusal::kNone) {
        problem = mirror + "/" + kUnsignedFolder + ": " + WordsFor(refusal);
        return false;
    }
    const std::string previous = publisher.PreviousText();
    // Published already by a call that was broken off, it only has to be brought to its end.
    const bool isAgain = text == previous;
    const std::uint64_t serial = IndexOf(previous).serial;
    if (!isAgain && index.serial <= serial) {
        problem = mirror + (index.serial < serial ? ": what is published is newer"
                                                  : ": another index of this serial is published");
        return false;
    }
    if (!publisher.HasFilesOf(index) || !publisher.PublishIndex(text, signature)) {
        return false;
    }
    publisher.ForgetUnsigned();
    // Which state was before cannot be told any more: its files stay until the next time, too.
    if (!isAgain) {
        publisher.RemoveOthers(text, previous);
    }
    published = {index.serial, index.expires, index.files.size()};
    return true;
}
