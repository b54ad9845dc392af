#include "scan/file_count_thread.h"

#include "common/run_state.h"
#include "scan/run/file_count.h"

std::uint32_t GetFileCount(const char* directory) {
    return scan::CountFiles(directory, StopCount, g_totalfilestoscan);
}

void FileCountThrd::Join() {
    wait();
    m_ended.load(std::memory_order_acquire);
}

void FileCountThrd::run() {
    m_run.Count();
    m_ended.store(true, std::memory_order_release);
}
