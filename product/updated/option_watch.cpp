#include "product/updated/option_watch.h"

#include <array>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/option_file.h"

namespace updated {

namespace {

constexpr mode_t kModeBits = 07777;
constexpr mode_t kShared = 0666;

}  // namespace

OptionWatch::OptionWatch(const std::string& directory)
    : m_path(directory + "zqupdate.opt"), m_watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    // The folder, for the file may be put there anew.
    if (m_watch && ::inotify_add_watch(m_watch.Get(), directory.c_str(),
                                       IN_ATTRIB | IN_CREATE | IN_MOVED_TO) < 0) {
        m_watch.Reset();
    }
    SetMode();
}

void OptionWatch::Look() {
    alignas(inotify_event) std::array<char, 4096> events{};
    while (::read(m_watch.Get(), events.data(), events.size()) > 0) {
    }
    SetMode();
}

// Only where it is another: setting it is something that happens there.
void OptionWatch::SetMode() const {
    struct stat status {};
    if (::lstat(m_path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
        (status.st_mode & kModeBits) != kShared) {
        common::ShareWithEveryone(m_path.c_str());
    }
}

}  // namespace updated
