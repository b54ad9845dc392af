// bench_update_run ADDRESS: lets the installed updater update once from a private mirror, as the
// program does. Prints "seconds=S loading=S result=N": the whole of it; until everything that came
// was checked and on the disk, and what is left is to load it for a test (0 when it does not come
// to that); and what the updater returned.

#include <array>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <poll.h>
#include <string>
#include <string_view>
#include <sys/inotify.h>
#include <thread>
#include <unistd.h>

#include "abi/updturl.h"
#include "bench/measurements.h"
#include "common/file_descriptor.h"
#include "common/paths.h"
#include "product/definitions/definition_folder.h"
#include "product/signed_index/index.h"

namespace {

/// Notes when a set in the making has got its last file from outside, the signature of its index.
class SetWatch {
public:
    SetWatch(std::string definitions, const Stopwatch& stopwatch)
        : m_definitions(std::move(definitions)),
          m_stopwatch(stopwatch),
          m_events(::inotify_init1(IN_CLOEXEC)) {
        if (::inotify_add_watch(m_events.Get(), m_definitions.c_str(), IN_CREATE) < 0) {
            std::perror(m_definitions.c_str());
            std::exit(EXIT_FAILURE);
        }
        m_thread = std::jthread([this](const std::stop_token& end) { Watch(end); });
    }

    double Finish() {
        m_thread.request_stop();
        m_thread.join();
        return m_seconds;
    }

private:
    void Watch(const std::stop_token& end) {
        constexpr int kLook = 20;  // milliseconds
        pollfd waiting{.fd = m_events.Get(), .events = POLLIN, .revents = 0};
        while (!end.stop_requested()) {
            if (::poll(&waiting, 1, kLook) > 0) {
                TakeEvents();
            }
        }
    }

    void TakeEvents() {
        alignas(inotify_event) std::array<char, 4096> events;
        const ssize_t size = ::read(m_events.Get(), events.data(), events.size());
        for (ssize_t at = 0; at < size;) {
            const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
            Take(event->len > 0 ? event->name : "");
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }

    void Take(std::string_view name) {
        if (name == definitions::kUnfinishedFolder) {
            const std::string folder = m_definitions + "/" + definitions::kUnfinishedFolder;
            (void)::inotify_add_watch(m_events.Get(), folder.c_str(), IN_CLOSE_WRITE);
        } else if (name == signed_index::kSignatureName) {
            m_seconds = m_stopwatch.Seconds();
        }
    }

    std::string m_definitions;
    const Stopwatch& m_stopwatch;
    common::FileDescriptor m_events;
    double m_seconds = 0;
    std::jthread m_thread;
};

int GoOn(const tagUPDATEINFO* /*info*/, void* /*context*/) {
    return kUpdateGoOn;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string product = kProductDirectory;
    void* const library = ::dlopen((product + kUpdaterLibrary).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr || argc != 2) {
        std::fprintf(stderr, "bench_update_run: %s\n",
                     library == nullptr ? ::dlerror() : "it needs one address");
        return EXIT_FAILURE;
    }
    const auto update = reinterpret_cast<PFNZQUPDATEFROMSITE>(::dlsym(library, kUpdateFromSite));
    const Stopwatch stopwatch;
    SetWatch watch(product + definitions::kFolderName, stopwatch);
    const double begin = stopwatch.Seconds();
    const int result = update(product.c_str(), (product + "download/").c_str(), 0, 1, 0, nullptr,
                              nullptr, &argv[1], 1, &GoOn, nullptr, nullptr);
    const double seconds = stopwatch.Seconds() - begin;
    const double loading = watch.Finish();
    std::printf("seconds=%.4f loading=%.4f result=%d\n", seconds, loading, result);
    return EXIT_SUCCESS;
}
