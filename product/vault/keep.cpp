#include "product/vault/keep.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <sys/xattr.h>
#include <unistd.h>

#include "common/file_state.h"
#include "product/vault/item_writer.h"
#include "product/vault/owner_folder.h"
#include "product/vault/room.h"

namespace vault {

namespace {

constexpr mode_t kModeBits = 07777;

bool IsAsScanned(const FileToKeep& file) {
    struct stat now {};
    return fstat(file.file, &now) == 0 && common::IsUnchanged(now, file.scanned);
}

// What the system shows in a list and then does not give is no part of the file for this user.
bool IsWithheld(int error) {
    return error == ENODATA || error == ENOTSUP || error == EPERM || error == EACCES;
}

bool ReadAttributes(int file, std::vector<ExtendedAttribute>& attributes) {
    std::string names(kMaxAttributeValue, '\0');
    const ssize_t length = flistxattr(file, names.data(), names.size());
    if (length < 0) {
        return IsWithheld(errno);
    }
    names.resize(static_cast<std::size_t>(length));
    std::string value(kMaxAttributeValue, '\0');
    for (std::size_t start = 0; start < names.size();) {
        const std::string name = names.c_str() + start;
        start += name.size() + 1;
        const ssize_t size = fgetxattr(file, name.c_str(), value.data(), value.size());
        if (size >= 0) {
            attributes.push_back({name, value.substr(0, static_cast<std::size_t>(size))});
        } else if (!IsWithheld(errno)) {
            return false;
        }
    }
    return true;
}

ItemFacts FactsOf(const FileToKeep& file, std::int64_t now) {
    ItemFacts facts;
    facts.path = file.path;
    facts.owner = file.scanned.st_uid;
    facts.group = file.scanned.st_gid;
    facts.mode = file.scanned.st_mode & kModeBits;
    facts.accessed = file.scanned.st_atim;
    facts.modified = file.scanned.st_mtim;
    facts.virusName = file.virusName;
    facts.database = file.database;
    facts.kept = now;
    facts.size = static_cast<std::uint64_t>(file.scanned.st_size);
    return facts;
}

// Writes the item under the name of an unfinished one and finishes it. Empty on failure.
std::string Write(const FileToKeep& file, const OwnerFolder& folder, const Settings& settings,
                  const Usage& before, ItemFacts& facts, std::string& why) {
    const common::FileDescriptor item = folder.MakeUnfinished();
    if (!item) {
        why = std::strerror(errno);
        return {};
    }
    if (!WriteItem(item.Get(), file.file, facts, settings.bytes, why)) {
        return {};
    }
    struct stat written {};
    if (fsync(item.Get()) != 0 || fstat(item.Get(), &written) != 0) {
        why = std::string("it cannot be written to the vault: ") + std::strerror(errno);
        return {};
    }
    if (!IsAsScanned(file)) {
        why = "it changed while it was copied";
        return {};
    }
    const auto plan = PlanRoom(folder, before, RoomOf(written), facts.kept, settings);
    if (!plan) {
        why = "the vault is full";
        return {};
    }
    std::string name = folder.Finish(facts.kept);
    if (name.empty()) {
        why = std::string("it cannot be written to the vault: ") + std::strerror(errno);
        return {};
    }
    bool areRemoved = true;
    for (const std::string& old : plan->toRemove) {
        areRemoved = folder.Remove(old) && areRemoved;
    }
    if (areRemoved) {
        RememberUsage(folder, plan->after);
    }
    return name;
}

std::optional<OwnerFolder> OpenFolder(uid_t owner, Missing missing, std::string& why) {
    const std::string path = PathOfVault();
    if (path.empty()) {
        why = "no home folder is known";
        return std::nullopt;
    }
    const common::FileDescriptor vault = OpenPrivateFolder(path, missing, why);
    auto folder = vault ? OwnerFolder::Open(vault.Get(), owner, missing, why) : std::nullopt;
    if (folder && !folder->Lock()) {
        why = "another process does not let go of the vault";
        folder.reset();
    }
    return folder;
}

}  // namespace

std::optional<KeptItem> Keep(const FileToKeep& file, const Settings& settings, std::string& why) {
    ItemFacts facts = FactsOf(file, std::time(nullptr));
    if (!ReadAttributes(file.file, facts.attributes)) {
        why = "its extended attributes cannot be read";
        return std::nullopt;
    }
    const auto folder = OpenFolder(file.scanned.st_uid, Missing::kMake, why);
    if (!folder) {
        return std::nullopt;
    }
    const Usage before = UsageOf(*folder);
    const std::string name = Write(file, *folder, settings, before, facts, why);
    if (name.empty()) {
        folder->RemoveUnfinished();
        RememberUsage(*folder, before);
        return std::nullopt;
    }
    return KeptItem{name, facts.sha256};
}

void Discard(const KeptItem& item, uid_t owner) {
    std::string why;
    const auto folder = OpenFolder(owner, Missing::kFail, why);
    if (folder) {
        (void)folder->Remove(item.name);
    }
}

}  // namespace vault
