#include "product/vault/owner_folder.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "common/directory_reader.h"
#include "common/regular_file.h"
#include "common/times.h"
#include "product/vault/free_name.h"

namespace vault {

namespace {

using std::chrono::steady_clock;

constexpr char kUnfinished[] = ".unfinished";
constexpr std::chrono::seconds kPatience(10);
constexpr std::chrono::milliseconds kPause(20);
constexpr std::size_t kTimeLength = 15;  // "20261122-074512"
constexpr std::size_t kNameLength = kTimeLength + 9;
constexpr int kTries = 10;

std::string TimeText(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm utc{};
    return gmtime_r(&time, &utc) == nullptr ? "" : common::FormatTime("%Y%m%d-%H%M%S", utc);
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsHexadecimal(std::string_view text) {
    return text.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

int NumberIn(std::string_view text) {
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::string NewName(std::int64_t now) {
    std::uint32_t random = 0;
    const std::string time = TimeText(now);
    if (time.size() != kTimeLength || getrandom(&random, sizeof(random), 0) != sizeof(random)) {
        return {};
    }
    char digits[9];
    std::snprintf(digits, sizeof(digits), "%08x", random);
    return time + "-" + digits;
}

}  // namespace

std::optional<std::int64_t> TimeOfItem(std::string_view name) {
    if (name.size() != kNameLength || name[8] != '-' || name[kTimeLength] != '-' ||
        !std::all_of(name.begin(), name.begin() + 8, IsDigit) ||
        !std::all_of(name.begin() + 9, name.begin() + kTimeLength, IsDigit) ||
        !IsHexadecimal(name.substr(kTimeLength + 1))) {
        return std::nullopt;
    }
    std::tm utc{};
    utc.tm_year = NumberIn(name.substr(0, 4)) - 1900;
    utc.tm_mon = NumberIn(name.substr(4, 2)) - 1;
    utc.tm_mday = NumberIn(name.substr(6, 2));
    utc.tm_hour = NumberIn(name.substr(9, 2));
    utc.tm_min = NumberIn(name.substr(11, 2));
    utc.tm_sec = NumberIn(name.substr(13, 2));
    const std::int64_t seconds = timegm(&utc);
    // A day that no month has becomes another one.
    return TimeText(seconds) == name.substr(0, kTimeLength) ? std::optional(seconds) : std::nullopt;
}

std::optional<OwnerFolder> OwnerFolder::Open(int vault, uid_t owner, Missing missing,
                                             std::string& why) {
    common::FileDescriptor folder = OpenPrivateFolderAt(vault, std::to_string(owner), missing, why);
    return folder ? std::optional(OwnerFolder(std::move(folder))) : std::nullopt;
}

std::uint64_t RoomOf(const struct stat& status) {
    constexpr std::uint64_t kBlock = 512;  // bytes, as stat() counts
    return std::max(static_cast<std::uint64_t>(status.st_blocks) * kBlock,
                    static_cast<std::uint64_t>(status.st_size));
}

bool OwnerFolder::Lock() const {
    const auto deadline = steady_clock::now() + kPatience;
    while (flock(m_folder.Get(), LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

std::vector<ItemEntry> OwnerFolder::Items() const {
    std::vector<ItemEntry> items;
    // A description of its own: the place in the folder belongs to it.
    const common::FileDescriptor folder(
        openat(m_folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    common::DirectoryReader reader;
    reader.Start(folder.Get(), common::DirectoryReader::Want::kAll);
    while (const auto entry = reader.Next()) {
        const auto kept = TimeOfItem(entry->name);
        struct stat status {};
        if (kept && fstatat(folder.Get(), entry->name.data(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode)) {
            items.push_back({std::string(entry->name), *kept, RoomOf(status)});
        }
    }
    std::sort(items.begin(), items.end(),
              [](const ItemEntry& left, const ItemEntry& right) { return left.name < right.name; });
    return items;
}

common::FileDescriptor OwnerFolder::OpenItem(const std::string& name) const {
    return common::OpenRegularFileAt(m_folder.Get(), name.c_str(), O_RDONLY,
                                     common::Links::kNoSymbolic);
}

common::FileDescriptor OwnerFolder::MakeUnfinished() const {
    RemoveUnfinished();
    return common::FileDescriptor(openat(
        m_folder.Get(), kUnfinished, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
}

void OwnerFolder::RemoveUnfinished() const {
    (void)unlinkat(m_folder.Get(), kUnfinished, 0);
}

std::string OwnerFolder::Finish(std::int64_t now) const {
    for (int i = 0; i < kTries; ++i) {
        std::string name = NewName(now);
        if (name.empty()) {
            return {};
        }
        if (MoveToFreeName(m_folder.Get(), kUnfinished, name.c_str())) {
            if (fsync(m_folder.Get()) == 0) {
                return name;
            }
            const int error = errno;
            (void)Remove(name);
            errno = error;
            return {};
        }
        if (errno != EEXIST) {
            return {};
        }
    }
    return {};
}

bool OwnerFolder::Remove(const std::string& name) const {
    return unlinkat(m_folder.Get(), name.c_str(), 0) == 0;
}

std::vector<uid_t> OwnersIn(int vault) {
    std::vector<uid_t> owners;
    const common::FileDescriptor folder(openat(vault, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    common::DirectoryReader reader;
    reader.Start(folder.Get(), common::DirectoryReader::Want::kAll);
    while (const auto entry = reader.Next()) {
        uid_t owner = 0;
        const char* const end = entry->name.data() + entry->name.size();
        if (std::from_chars(entry->name.data(), end, owner).ptr == end &&
            std::to_string(owner) == entry->name) {
            owners.push_back(owner);
        }
    }
    std::sort(owners.begin(), owners.end());
    return owners;
}

}  // namespace vault
