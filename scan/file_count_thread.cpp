#include "scan/file_count_thread.h"

#include "common/run_state.h"
#include "scan/run/directory_walker.h"
#include "scan/scan_dialog.h"
#include "scan/zq_event.h"

namespace {

class CountingVisitor : public WalkVisitor {
public:
    bool GoOn(const char* /*directory*/) override {
        return !StopCount.load(std::memory_order_relaxed);
    }
    void OnFile(const char* /*path*/) override {
        g_totalfilestoscan.fetch_add(1, std::memory_order_relaxed);
    }
};

}  // namespace

std::uint32_t GetFileCount(const char* directory) {
    CountingVisitor visitor;
    return DirectoryWalker(visitor).Walk(directory);
}

FileCountThrd::FileCountThrd(const tagPathList* paths, ScanDialog* dialog)
    : m_paths(paths), m_dialog(dialog) {}

void FileCountThrd::Join() {
    wait();
    m_ended.load(std::memory_order_acquire);
}

void FileCountThrd::run() {
    for (const tagPathList* node = m_paths; node != nullptr; node = node->next) {
        if (GetFileCount(node->path) == kWalkStopped) {
            break;
        }
    }
    if (g_totalfilestoscan == 0) {
        g_totalfilestoscan = kUnknownTotal;
    }
    PostZqEvent(m_dialog, kEvtCountingDone);
    m_ended.store(true, std::memory_order_release);
}
