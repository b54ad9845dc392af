// bench_verdict_cache FOLDER FILES: what the verdict cache costs in an empty folder of its own, in
// nanoseconds of processor time a file: to remember, to read at the start of the next program, to
// find, and to tell the file system of a file.

#include "product/scanapi/verdict_cache.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/stat.h>

#include "common/file_descriptor.h"
#include "product/scanapi/kept_file_systems.h"
#include "product/scanapi/verdict_format.h"

namespace {

scanapi::FileIdentity FileOf(std::uint64_t number) {
    scanapi::FileIdentity file;
    file.inode = number;
    file.size = number % 5000;
    file.changed.nanoseconds = static_cast<std::uint32_t>(number);
    return file;
}

std::string NameOf(std::uint64_t number) {
    return "file-" + std::to_string(number) + ".txt";
}

double Nanoseconds(const std::function<void()>& work) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
    };
    const double begun = now();
    work();
    return now() - begun;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fputs("usage: bench_verdict_cache FOLDER FILES\n", stderr);
        return 2;
    }
    const std::string folder = argv[1];
    const std::uint64_t files = std::strtoull(argv[2], nullptr, 10);
    const double each = 1.0 / static_cast<double>(files);
    const std::string basis(scanapi::kBasisSize, 'b');
    const scanapi::CacheSettings settings{true, std::uint64_t{1} << 30U};
    const double remembered = Nanoseconds([&] {
        std::string why;
        const auto file = scanapi::VerdictFile::Open(folder, settings.bytes, why);
        std::string records;
        for (std::uint64_t number = 0; file && number < files; ++number) {
            records += scanapi::EncodeRecord({{}, FileOf(number), NameOf(number), {}});
            if (records.size() > scanapi::kMaxBatchRecords / 2 || number + 1 == files) {
                if (!file->Append(basis, scanapi::Now().seconds, records)) {
                    std::fputs("not added\n", stderr);
                    std::exit(1);
                }
                records.clear();
            }
        }
    });
    std::unique_ptr<scanapi::VerdictCache> cache;
    const double read = Nanoseconds(
        [&] { cache = std::make_unique<scanapi::VerdictCache>(folder, settings, basis); });
    std::uint64_t found = 0;
    const double looked = Nanoseconds([&] {
        for (std::uint64_t number = 0; number < files; ++number) {
            found += cache->Find(FileOf(number), NameOf(number), {}) ? 1 : 0;
        }
    });
    const common::FileDescriptor file(open(folder.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    (void)fstat(file.Get(), &status);
    scanapi::KeptFileSystems fileSystems;
    std::uint64_t kept = 0;
    const double told = Nanoseconds([&] {
        for (std::uint64_t number = 0; number < files; ++number) {
            kept += fileSystems.Of(file.Get(), status.st_dev) ? 1 : 0;
        }
    });
    std::printf(
        "remember %.0f ns, read %.0f ns, find %.0f ns (%.0f %% found), file system %.0f ns "
        "(%s)\n",
        remembered * each, read * each, looked * each, 100 * static_cast<double>(found) * each,
        told * each, kept > 0 ? "kept" : "not kept");
    return found == files ? 0 : 1;
}
