// bench_unread [--no-archives] [--no-packed] [--no-dumb] [--no-adware] [--names]
//              SCRATCH-DIRECTORY DATABASE[,DATABASE...] PATH...
//
// Each regular file below the paths through the scan of one file, on one thread. Prints a line for
// each one that is not clean: the verdict, then the reason or the virus and the member, then its
// path; with --names also one for each member. Over a tree of a healthy system, each "unread" needs
// an explanation. The last line is
//
//   files=N clean=N infected=N unread=N passed-over=N seconds=S

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fts.h>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "bench/measurements.h"
#include "common/file_descriptor.h"
#include "product/scanning/library_engine.h"
#include "product/scanning/library_scan.h"

namespace {

using scanning::Verdict;

constexpr std::size_t kBufferSize = 1U << 20U;

struct Wishes {
    scanning::ScanProfile profile{
        .archives = true, .packed = true, .unknownTypes = true, .unwanted = true};
    bool names = false;
};

struct Counts {
    std::size_t files = 0;
    std::size_t clean = 0;
    std::size_t infected = 0;
    std::size_t unread = 0;
    std::size_t passedOver = 0;
};

struct CloseWalk {
    void operator()(FTS* walk) const { fts_close(walk); }
};

std::vector<std::string> Split(const std::string& list) {
    std::vector<std::string> parts;
    std::istringstream stream(list);
    for (std::string part; std::getline(stream, part, ',');) {
        parts.push_back(part);
    }
    return parts;
}

scanning::ScanOutcome ScanFile(const cl_engine* engine, const Wishes& wishes, const char* path,
                               std::span<std::byte> buffer) {
    const common::FileDescriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        return {};
    }
    const auto onMember = [&](const std::string& member) {
        if (wishes.names) {
            std::printf("member %s/%s\n", path, member.c_str());
        }
        return true;
    };
    const scanning::ScanInput input{.baseName = std::strrchr(path, '/') + 1,
                                    .descriptor = file.Get(),
                                    .size = static_cast<std::size_t>(status.st_size)};
    if (input.size > buffer.size()) {
        return scanning::ScanDescriptor(engine, wishes.profile, input, onMember);
    }
    if (pread(file.Get(), buffer.data(), input.size, 0) != status.st_size) {
        return {};
    }
    return scanning::ScanBytes(engine, wishes.profile, input, buffer.first(input.size), onMember);
}

void Tell(const char* path, const scanning::ScanOutcome& outcome, Counts& counts) {
    ++counts.files;
    if (outcome.verdict == Verdict::Clean) {
        ++counts.clean;
    } else if (outcome.verdict == Verdict::Infected) {
        ++counts.infected;
        std::printf("infected [%s] [%s] %s\n", outcome.virusName.c_str(), outcome.member.c_str(),
                    path);
    } else if (outcome.verdict == Verdict::PassedOver) {
        ++counts.passedOver;
    } else {
        ++counts.unread;
        std::printf("unread [%s] %s\n", outcome.reason.c_str(), path);
    }
}

int ReadWishes(int argc, char** argv, Wishes& wishes) {
    int at = 1;
    for (; at < argc && std::strncmp(argv[at], "--", 2) == 0; ++at) {
        const std::string wish = argv[at];
        wishes.profile.archives = wishes.profile.archives && wish != "--no-archives";
        wishes.profile.packed = wishes.profile.packed && wish != "--no-packed";
        wishes.profile.unknownTypes = wishes.profile.unknownTypes && wish != "--no-dumb";
        wishes.profile.unwanted = wishes.profile.unwanted && wish != "--no-adware";
        wishes.names = wishes.names || wish == "--names";
    }
    return at;
}

}  // namespace

int main(int argc, char** argv) {
    Wishes wishes;
    const int first = ReadWishes(argc, argv, wishes);
    if (argc - first < 3) {
        std::fputs("Usage: bench_unread [OPTION...] SCRATCH DATABASE[,...] PATH...\n", stderr);
        return EXIT_FAILURE;
    }
    scanning::LoadedDatabases loaded;
    if (scanning::StartLibrary()) {
        loaded = scanning::LoadDatabases(Split(argv[first + 1]), argv[first],
                                         [](const std::string& path, const std::string& reason) {
                                             std::fprintf(stderr, "%s: %s\n", path.c_str(),
                                                          reason.c_str());
                                         });
    }
    if (loaded.engine == nullptr) {
        std::fputs("the database could not be loaded\n", stderr);
        return EXIT_FAILURE;
    }
    const std::unique_ptr<FTS, CloseWalk> walk(
        fts_open(argv + first + 2, FTS_PHYSICAL | FTS_NOCHDIR, nullptr));
    std::vector<std::byte> buffer(kBufferSize);
    Counts counts;
    const Stopwatch clock;
    while (const FTSENT* entry = walk == nullptr ? nullptr : fts_read(walk.get())) {
        if (entry->fts_info == FTS_F) {
            Tell(entry->fts_path, ScanFile(loaded.engine.get(), wishes, entry->fts_path, buffer),
                 counts);
        }
    }
    std::printf("files=%zu clean=%zu infected=%zu unread=%zu passed-over=%zu seconds=%.1f\n",
                counts.files, counts.clean, counts.infected, counts.unread, counts.passedOver,
                clock.Seconds());
    return EXIT_SUCCESS;
}
