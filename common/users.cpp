#include "common/users.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <pwd.h>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utmp.h>
#include <vector>

#include "common/io.h"
#include "common/owners.h"
#include "common/regular_file.h"
#include "common/text_field.h"

static_assert(sizeof(utmp) == 384);

namespace {

constexpr std::size_t kStatusLineSize = 1024;
constexpr std::size_t kMaxUserRecord = std::size_t{1} << 20;

// The real user id in the "Uid:" line of a process's status, whose first number it is.
std::optional<uid_t> RealUserOfProcess(int processId) {
    const std::string path = "/proc/" + std::to_string(processId) + "/status";
    const common::FileStream status(std::fopen(path.c_str(), "re"));
    if (status == nullptr) {
        return std::nullopt;
    }
    char buffer[kStatusLineSize];
    while (std::fgets(buffer, sizeof buffer, status.get()) != nullptr) {
        std::string_view line(buffer);
        if (!line.starts_with("Uid:")) {
            continue;
        }
        const std::size_t digits = line.find_first_of("0123456789");
        if (digits == std::string_view::npos) {
            return std::nullopt;
        }
        line.remove_prefix(digits);
        uid_t uid = 0;
        if (std::from_chars(line.data(), line.data() + line.size(), uid).ec != std::errc()) {
            return std::nullopt;
        }
        return uid;
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> common::UserName(uid_t uid) {
    std::vector<char> strings(1024);
    passwd record{};
    passwd* found = nullptr;
    int result = 0;
    while ((result = ::getpwuid_r(uid, &record, strings.data(), strings.size(), &found)) != 0) {
        if (result == ERANGE && strings.size() < kMaxUserRecord) {
            strings.resize(strings.size() * 2);
        } else if (result != EINTR) {
            return std::nullopt;
        }
    }
    if (found == nullptr) {
        return std::nullopt;
    }
    return found->pw_name;
}

int IsRootPrivileges() {
    return common::UserName(::getuid()) == "root" ? 1 : 0;
}

int GetLoggedInUsername(char* buffer, std::size_t size) {
    if (buffer == nullptr) {
        return 0;
    }
    const common::FileDescriptor records =
        common::OpenRegularFile("/var/run/utmp", O_RDONLY, common::Links::kFollow);
    if (!records) {
        return 0;
    }
    utmp record{};
    for (;;) {
        const std::ptrdiff_t got = common::ReadFull(records.Get(), common::BytesOf(record));
        if (got < 0) {
            return 0;
        }
        if (static_cast<std::size_t>(got) < sizeof record) {
            return 1;
        }
        const std::string_view user = common::FieldText(record.ut_user);
        const std::string_view line = common::FieldText(record.ut_line);
        if (!user.empty() && !line.empty() && !line.starts_with('~')) {
            common::CopyToField({buffer, size}, user);
            return 1;
        }
    }
}

int ProcessIdToUsername(int processId, char* buffer, std::size_t size) {
    if (processId < 1 || buffer == nullptr) {
        return 0;
    }
    const std::optional<uid_t> uid = RealUserOfProcess(processId);
    if (!uid) {
        return 0;
    }
    const std::optional<std::string> name = common::UserName(*uid);
    if (!name) {
        return 0;
    }
    common::CopyToField({buffer, size}, *name);
    return 1;
}
