// bench_bare_loop DATABASE-DIRECTORY SCRATCH-DIRECTORY PATH...
//
// The same files through libclamav with the same settings, on one thread, and nothing else: no
// program around it, no messages, no member names, no way to stop it. Small files are read into one
// buffer, larger ones are read by the library through their descriptor. Prints one line
//
//   load=S scan=S files=N infected=N

#include <cerrno>
#include <clamav.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fts.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "bench/measurements.h"
#include "common/file_descriptor.h"
#include "product/scanning/library_engine.h"
#include "product/scanning/scan_profile.h"

namespace {

constexpr std::size_t kBufferSize = 1U << 20U;

using Engine = scanning::EngineOwner;

struct CloseWalk {
    void operator()(FTS* walk) const { fts_close(walk); }
};

struct CloseMap {
    void operator()(cl_fmap_t* map) const { cl_fmap_close(map); }
};

cl_scan_options ScanOptions() {
    tagSCANAPI_OPTIONS options{};
    options.scanArchives = 1;
    options.scanPacked = 1;
    options.dumbScan = 1;
    options.adwareLevel = 7;
    return scanning::LibraryOptions(scanning::ProfileFromOptions(options));
}

Engine LoadEngine(const char* databases, const char* scratch) {
    cl_set_clcb_msg([](cl_msg, const char*, const char*, void*) {});
    if (cl_init(CL_INIT_DEFAULT) != CL_SUCCESS) {
        return nullptr;
    }
    Engine engine(cl_engine_new());
    unsigned int signatures = 0;
    if (engine == nullptr || !scanning::SetBounds(engine.get(), scratch) ||
        cl_load(databases, engine.get(), &signatures, CL_DB_STDOPT | CL_DB_PUA) != CL_SUCCESS ||
        cl_engine_compile(engine.get()) != CL_SUCCESS) {
        return nullptr;
    }
    return engine;
}

off_t ReadAt(void* descriptor, void* buffer, std::size_t count, off_t offset) {
    ssize_t got = 0;
    do {
        got = pread(*static_cast<int*>(descriptor), buffer, count, offset);
    } while (got < 0 && errno == EINTR);
    return got;
}

class BareLoop {
public:
    explicit BareLoop(const cl_engine* engine) : m_engine(engine), m_buffer(kBufferSize) {}

    void ScanFile(const char* path, const char* name) {
        const common::FileDescriptor file(
            open(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat status {};
        if (!file || fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)) {
            return;
        }
        ++m_files;
        if (status.st_size > scanning::kMaxFileSize) {
            return;
        }
        int descriptor = file.Get();
        const auto size = static_cast<std::size_t>(status.st_size);
        std::unique_ptr<cl_fmap_t, CloseMap> map;
        if (size <= m_buffer.size()) {
            const off_t got = ReadAt(&descriptor, m_buffer.data(), size, 0);
            if (got < 0) {
                return;
            }
            map.reset(cl_fmap_open_memory(m_buffer.data(), static_cast<std::size_t>(got)));
        } else {
            map.reset(cl_fmap_open_handle(&descriptor, 0, size, ReadAt, 1));
        }
        const char* virusName = nullptr;
        unsigned long scanned = 0;
        if (map != nullptr && cl_scanmap_callback(map.get(), name, &virusName, &scanned, m_engine,
                                                  &m_options, nullptr) == CL_VIRUS) {
            ++m_infected;
        }
    }

    [[nodiscard]] unsigned long Files() const { return m_files; }
    [[nodiscard]] unsigned long Infected() const { return m_infected; }

private:
    const cl_engine* m_engine;
    cl_scan_options m_options = ScanOptions();
    std::vector<std::byte> m_buffer;
    unsigned long m_files = 0;
    unsigned long m_infected = 0;
};

bool Walk(char** paths, BareLoop& loop) {
    const std::unique_ptr<FTS, CloseWalk> walk(
        fts_open(paths, FTS_PHYSICAL | FTS_NOCHDIR | FTS_NOSTAT, nullptr));
    if (walk == nullptr) {
        return false;
    }
    while (const FTSENT* entry = fts_read(walk.get())) {
        // Without a stat of its own it tells directories and links from the rest, no more.
        if (entry->fts_info == FTS_NSOK || entry->fts_info == FTS_F) {
            loop.ScanFile(entry->fts_path, entry->fts_name);
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 4) {
        std::fputs("Usage: bench_bare_loop DATABASES SCRATCH PATH...\n", stderr);
        return EXIT_FAILURE;
    }
    const Stopwatch loading;
    const Engine engine = LoadEngine(argv[1], argv[2]);
    if (engine == nullptr) {
        std::fputs("the database could not be loaded\n", stderr);
        return EXIT_FAILURE;
    }
    const double load = loading.Seconds();
    const Stopwatch scanning;
    BareLoop loop(engine.get());
    if (!Walk(argv + 3, loop)) {
        std::perror("bench_bare_loop");
        return EXIT_FAILURE;
    }
    std::printf("load=%.3f scan=%.3f files=%lu infected=%lu\n", load, scanning.Seconds(),
                loop.Files(), loop.Infected());
    return EXIT_SUCCESS;
}
