#include "product/scanhost/end_watcher.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

#include "common/io.h"
#include "common/retrying.h"

namespace scanhost {

namespace {

void Watch(int socket, int enough) {
    // What comes is left for the one who reads there; only the end counts.
    std::array<pollfd, 2> events{{{socket, 0, 0}, {enough, POLLIN, 0}}};
    const int count = common::Retrying([&] { return ::poll(events.data(), events.size(), -1); });
    if (count < 0 || (events[0].revents & (POLLHUP | POLLERR)) != 0) {
        ::_exit(0);
    }
}

}  // namespace

EndWatcher::EndWatcher(int socket) : m_enough(::eventfd(0, EFD_CLOEXEC)) {
    if (!m_enough) {
        throw std::system_error(errno, std::generic_category());
    }
    m_thread = std::thread(Watch, socket, m_enough.Get());
}

EndWatcher::~EndWatcher() {
    const std::uint64_t one = 1;
    common::WriteAll(m_enough.Get(), common::BytesOf(one));
    m_thread.join();
}

}  // namespace scanhost
