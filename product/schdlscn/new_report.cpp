#include "product/schdlscn/new_report.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace schdlscn {

namespace {

constexpr unsigned int kNames = 10'000;
// What makes no file needs no other group.
constexpr auto kSameGroup = static_cast<gid_t>(-1);

/// Makes files as somebody else while it lives. Root's rights over all files rest meanwhile.
class AsUser {
public:
    AsUser(uid_t uid, gid_t gid) {
        ::setfsgid(gid);
        ::setfsuid(uid);
    }
    ~AsUser() {
        const int error = errno;
        ::setfsuid(::geteuid());
        ::setfsgid(::getegid());
        errno = error;
    }
    AsUser(const AsUser&) = delete;
    AsUser& operator=(const AsUser&) = delete;
};

std::string NameOf(unsigned int number) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "schd%04u.rpt", number);
    return text.data();
}

}  // namespace

std::string FreeReportName(int reports) {
    unsigned int first = 0;
    (void)::getrandom(&first, sizeof first, 0);
    for (unsigned int i = 0; i < kNames; ++i) {
        std::string candidate = NameOf((first + i) % kNames);
        struct stat taken {};
        if (::fstatat(reports, candidate.c_str(), &taken, AT_SYMLINK_NOFOLLOW) != 0) {
            return errno == ENOENT ? candidate : std::string();
        }
    }
    errno = EEXIST;
    return {};
}

common::FileDescriptor MakeReport(int reports, uid_t uid, gid_t gid, const std::string& name) {
    const AsUser asUser(uid, gid);
    return common::FileDescriptor(
        ::openat(reports, name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
}

// A FIFO in its place keeps nobody waiting.
common::FileDescriptor OpenReport(int reports, uid_t uid, const std::string& name) {
    const AsUser asUser(uid, kSameGroup);
    common::FileDescriptor report(
        ::openat(reports, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (report &&
        (::fstat(report.Get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != uid)) {
        report.Reset();
    }
    return report;
}

bool RemoveReport(int reports, uid_t uid, const std::string& name) {
    const AsUser asUser(uid, kSameGroup);
    return ::unlinkat(reports, name.c_str(), 0) == 0 || errno == ENOENT;
}

}  // namespace schdlscn
