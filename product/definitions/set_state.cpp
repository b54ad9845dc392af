#include "product/definitions/set_state.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/times.h"
#include "product/definitions/folder_names.h"

namespace definitions {

namespace {

constexpr std::uint32_t kMinorNumbers = 100;  // the record is shown as "%u.%02u"

std::uint16_t Clamped(std::uint32_t number) {
    return static_cast<std::uint16_t>(
        std::min<std::uint32_t>(number, std::numeric_limits<std::uint16_t>::max()));
}

const signed_index::IndexedFile* Find(const signed_index::Index& index, std::string_view name) {
    const auto found = std::find_if(index.files.begin(), index.files.end(),
                                    [&](const auto& file) { return file.name == name; });
    return found == index.files.end() ? nullptr : &*found;
}

SetDatabase ReadDatabase(int folder, const std::string& name, const signed_index::Index& index) {
    SetDatabase database{name, {}, HasHead(name)};
    if (database.hasHead) {
        const common::FileDescriptor file =
            common::OpenRegularFileAt(folder, name.c_str(), O_RDONLY, common::Links::kNoSymbolic);
        database.state = ReadHead(file.Get()).value_or(DatabaseState{});
    } else if (const auto* indexed = Find(index, name)) {
        database.state = {indexed->version, index.made};
    }
    return database;
}

bool IsOfIndex(std::string_view name) {
    return name == signed_index::kIndexName || name == signed_index::kSignatureName;
}

bool IsFile(int folder, const std::string& name) {
    struct stat status {};
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(status.st_mode);
}

// Any number that a database gives itself tells more than that of a loose file.
bool IsOlder(const SetDatabase& left, const SetDatabase& right) {
    if (left.hasHead != right.hasHead) {
        return right.hasHead;
    }
    return left.state.built != right.state.built ? left.state.built < right.state.built
                                                 : left.state.version < right.state.version;
}

}  // namespace

std::uint32_t SetState::VersionOfStem(std::string_view stem) const {
    std::uint32_t version = 0;
    for (const SetDatabase& each : databases) {
        if (each.hasHead && StemOf(each.name) == stem) {
            version = std::max(version, each.state.version);
        }
    }
    return version;
}

std::uint32_t SetState::VersionOf(std::string_view name) const {
    if (HasHead(name)) {
        return VersionOfStem(StemOf(name));
    }
    std::uint32_t version = 0;
    for (const SetDatabase& each : databases) {
        version = each.name == name ? std::max(version, each.state.version) : version;
    }
    return version;
}

void SetState::Add(const SetState& other) {
    const auto append = [](auto& all, const auto& more) {
        all.insert(all.end(), more.begin(), more.end());
    };
    index.serial = std::max(index.serial, other.index.serial);
    append(index.files, other.index.files);
    append(databases, other.databases);
    append(files, other.files);
}

bool SetState::IsIndexed(std::string_view name) const {
    return Find(index, name) != nullptr;
}

bool HasHead(std::string_view name) {
    return IsOfficialName(name) || (name.size() > 4 && name.ends_with(".cud"));
}

SetState ReadSetState(int folder) {
    SetState state;
    std::string text;
    if (!ReadSmallFile(folder, signed_index::kIndexName, signed_index::kMaxIndexSize, text) ||
        signed_index::ParseIndex(text, state.index) != signed_index::Refusal::kNone) {
        state.index = {};
    }
    for (const std::string& name : NamesIn(folder)) {
        const bool isDatabase = signed_index::CheckFileName(name) == signed_index::Refusal::kNone;
        if (!(isDatabase || IsOfIndex(name)) || !IsFile(folder, name)) {
            continue;
        }
        state.files.push_back(name);
        if (isDatabase) {
            state.databases.push_back(ReadDatabase(folder, name, state.index));
        }
    }
    return state;
}

tagZQVERINFO VersionOfSet(const SetState& state) {
    tagZQVERINFO version{};
    const auto newest = std::max_element(state.databases.begin(), state.databases.end(), IsOlder);
    if (newest == state.databases.end()) {
        return version;
    }
    version.major = Clamped(newest->state.version / kMinorNumbers);
    version.minor = static_cast<std::uint16_t>(newest->state.version % kMinorNumbers);
    const std::tm local = common::LocalTm(newest->state.built);
    TmToSystemTime(&local, &version.databaseDate);
    return version;
}

bool ReadSmallFile(int folder, const char* name, std::size_t limit, std::string& content) {
    const common::FileDescriptor file =
        common::OpenRegularFileAt(folder, name, O_RDONLY, common::Links::kNoSymbolic);
    if (!file) {
        return false;
    }
    content.resize(limit + 1);
    errno = 0;
    const auto got = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(content)));
    if (got < 0 || errno != 0) {
        content.clear();
        return false;
    }
    content.resize(static_cast<std::size_t>(got));
    if (content.size() > limit) {
        errno = EFBIG;
        return false;
    }
    return true;
}

}  // namespace definitions
