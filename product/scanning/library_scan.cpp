#include "product/scanning/library_scan.h"

#include <cerrno>
#include <sodium.h>
#include <unistd.h>

#include "product/scanning/container_reader.h"
#include "product/scanning/layer_inspection.h"
#include "product/scanning/unread_reasons.h"
#include "product/scanning/whole_scan.h"

namespace scanning {

namespace {

// What this thread scans. The library forgets whom to tell of an error as soon as it is called for
// something inside a file.
thread_local WholeScan* t_scan = nullptr;

class ToldOfErrors {
public:
    explicit ToldOfErrors(WholeScan& scan) { t_scan = &scan; }
    ~ToldOfErrors() { t_scan = nullptr; }
    ToldOfErrors(const ToldOfErrors&) = delete;
    ToldOfErrors& operator=(const ToldOfErrors&) = delete;
};

off_t OnRead(void* opaque, void* buffer, std::size_t count, off_t offset) {
    auto& run = *static_cast<LibraryRun*>(opaque);
    while (!run.Whole().IsStopped()) {
        const auto got = pread(run.File().descriptor, buffer, count, offset);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        // The end of the file before its known size: it was cut short under the scan.
        if (got < 0 || (got == 0 && count > 0)) {
            run.Whole().Unread(kReadError);
        }
        return got;
    }
    errno = ECANCELED;
    return -1;
}

template <typename MapMaker>
ScanOutcome ScanMapped(const cl_engine* engine, const ScanProfile& profile, const ScanInput& file,
                       const OnMember& onMember, MapMaker makeMap) {
    WholeScan whole(engine, profile, onMember);
    const ToldOfErrors told(whole);
    do {
        LibraryRun run(whole, file, {});
        run.Scan(makeMap(run));
    } while (whole.GoAgain());
    return whole.Outcome();
}

}  // namespace

void InstallScanCallbacks(cl_engine* engine) {
    PrepareContainerReader();
    // Lets the library of digests pick its code for this processor; it works without, too.
    [[maybe_unused]] const int picked = sodium_init();
    InstallInspection(engine);
}

ScanOutcome ScanBytes(const cl_engine* engine, const ScanProfile& profile, const ScanInput& file,
                      std::span<const std::byte> bytes, const OnMember& onMember) {
    return ScanMapped(engine, profile, file, onMember, [bytes](LibraryRun&) {
        return cl_fmap_open_memory(bytes.data(), bytes.size());
    });
}

ScanOutcome ScanDescriptor(const cl_engine* engine, const ScanProfile& profile,
                           const ScanInput& file, const OnMember& onMember) {
    return ScanMapped(engine, profile, file, onMember, [&file](LibraryRun& run) {
        // Without aging: pages that it let go of come back as "changed" and are then not scanned.
        constexpr int kKeepPages = 0;
        return cl_fmap_open_handle(&run, 0, file.size, OnRead, kKeepPages);
    });
}

void SilenceLibrary() {
    cl_set_clcb_msg([](cl_msg severity, const char*, const char*, void* /*opaque*/) {
        if (severity == CL_MSG_ERROR && t_scan != nullptr) {
            t_scan->LibraryFailed();
        }
    });
}

}  // namespace scanning
