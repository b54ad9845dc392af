// bench_bare_loop WORKERS DATABASE-DIRECTORY SCRATCH-DIRECTORY PATH...
//
// The same files through libclamav with the same settings, by as many processes that share one
// database, and nothing else: no program around it, no messages, no member names, no way to stop
// it, no confinement. Small files are read into a buffer, larger ones are read by the library
// through their descriptor. One worker is this process itself; several are given the paths in
// batches, whoever has time. Prints one line
//
//   load=S scan=S files=N infected=N memory=KiB
//
// memory: of all these processes together, at the end.

#include <array>
#include <atomic>
#include <cerrno>
#include <clamav.h>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fts.h>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "bench/measurements.h"
#include "common/file_descriptor.h"
#include "product/scanning/library_engine.h"
#include "product/scanning/scan_profile.h"

namespace {

constexpr std::size_t kBufferSize = 1U << 20U;
constexpr std::size_t kBatchSize = 4096;  // bytes of paths, each with its end
constexpr int kMostWorkers = 64;

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

// What the workers found, in memory that all of them share.
struct Counts {
    std::atomic<unsigned long> files{0};
    std::atomic<unsigned long> infected{0};
};

using FoundFile = std::function<void(const char* path, const char* name)>;

bool Walk(char** paths, const FoundFile& found) {
    const std::unique_ptr<FTS, CloseWalk> walk(
        fts_open(paths, FTS_PHYSICAL | FTS_NOCHDIR | FTS_NOSTAT, nullptr));
    if (walk == nullptr) {
        return false;
    }
    while (const FTSENT* entry = fts_read(walk.get())) {
        // Without a stat of its own it tells directories and links from the rest, no more.
        if (entry->fts_info == FTS_NSOK || entry->fts_info == FTS_F) {
            found(entry->fts_path, entry->fts_name);
        }
    }
    return true;
}

void ScanBatches(int socket, const cl_engine* engine, Counts& counts) {
    BareLoop loop(engine);
    std::string batch(kBatchSize * 2, '\0');
    ssize_t got = 0;
    while ((got = recv(socket, batch.data(), batch.size(), 0)) > 0) {
        std::string_view paths(batch.data(), static_cast<std::size_t>(got));
        while (!paths.empty()) {
            const std::string_view path = paths.substr(0, paths.find('\0'));
            loop.ScanFile(path.data(), path.data() + path.rfind('/') + 1);
            paths.remove_prefix(path.size() + 1);
        }
    }
    counts.files += loop.Files();
    counts.infected += loop.Infected();
}

class Pool {
public:
    Pool(int workers, const cl_engine* engine, Counts& counts) {
        // Who reads takes a whole packet; the one line of packets is all that they share.
        std::array<int, 2> ends{};
        if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            std::perror("bench_bare_loop");
            std::exit(EXIT_FAILURE);
        }
        m_ours.Reset(ends[0]);
        const common::FileDescriptor theirs(ends[1]);
        for (int i = 0; i < workers; ++i) {
            if (fork() == 0) {
                m_ours.Reset();
                ScanBatches(theirs.Get(), engine, counts);
                std::_Exit(EXIT_SUCCESS);
            }
        }
    }

    void Add(std::string_view path) {
        if (m_batch.size() + path.size() >= kBatchSize) {
            Send();
        }
        m_batch.append(path).push_back('\0');
    }

    void Send() {
        if (!m_batch.empty() &&
            send(m_ours.Get(), m_batch.data(), m_batch.size(), MSG_NOSIGNAL) < 0) {
            std::perror("bench_bare_loop");
            std::exit(EXIT_FAILURE);
        }
        m_batch.clear();
    }

    void AwaitEnd() {
        m_ours.Reset();
        while (wait(nullptr) > 0) {
        }
    }

private:
    common::FileDescriptor m_ours;
    std::string m_batch;
};

// False when the paths cannot be walked. `memory`: in KiB, at the end.
bool ScanAll(int workers, char** paths, const cl_engine* engine, Counts& counts, long& memory) {
    if (workers == 1) {
        BareLoop loop(engine);
        const bool isWalked =
            Walk(paths, [&](const char* path, const char* name) { loop.ScanFile(path, name); });
        counts.files = loop.Files();
        counts.infected = loop.Infected();
        memory = ProportionalMemory();
        return isWalked;
    }
    Pool pool(workers, engine, counts);
    const bool isWalked = Walk(paths, [&](const char* path, const char*) { pool.Add(path); });
    pool.Send();
    memory = ProportionalMemory("bench_bare_loop");
    pool.AwaitEnd();
    return isWalked;
}

}  // namespace

int main(int argc, char** argv) {
    const int workers = argc < 5 ? 0 : std::atoi(argv[1]);
    if (workers < 1 || workers > kMostWorkers) {
        std::fputs("Usage: bench_bare_loop WORKERS DATABASES SCRATCH PATH...\n", stderr);
        return EXIT_FAILURE;
    }
    const Stopwatch loading;
    const Engine engine = LoadEngine(argv[2], argv[3]);
    if (engine == nullptr) {
        std::fputs("the database could not be loaded\n", stderr);
        return EXIT_FAILURE;
    }
    const double load = loading.Seconds();
    void* shared =
        mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED) {
        std::perror("bench_bare_loop");
        return EXIT_FAILURE;
    }
    auto& counts = *new (shared) Counts;
    long memory = 0;
    const Stopwatch scanning;
    if (!ScanAll(workers, argv + 4, engine.get(), counts, memory)) {
        std::perror("bench_bare_loop");
        return EXIT_FAILURE;
    }
    std::printf("load=%.3f scan=%.3f files=%lu infected=%lu memory=%ld\n", load, scanning.Seconds(),
                counts.files.load(), counts.infected.load(), memory);
    return EXIT_SUCCESS;
}
