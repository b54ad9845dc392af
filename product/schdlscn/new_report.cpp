#include "product/schdlscn/new_report.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/fsuid.h>
#include <sys/random.h>
#include <unistd.h>

namespace schdlscn {

namespace {

constexpr unsigned int kNames = 10'000;

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

common::FileDescriptor MakeReport(int reports, uid_t uid, gid_t gid, std::string& name) {
    unsigned int first = 0;
    (void)::getrandom(&first, sizeof first, 0);
    const AsUser asUser(uid, gid);
    for (unsigned int i = 0; i < kNames; ++i) {
        std::string candidate = NameOf((first + i) % kNames);
        common::FileDescriptor report(::openat(
            reports, candidate.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (report) {
            name = std::move(candidate);
            return report;
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return {};
}

}  // namespace schdlscn
