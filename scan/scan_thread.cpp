#include "scan/scan_thread.h"

#include <chrono>
#include <thread>

#include "scan/file_count_thread.h"
#include "scan/run/scan_run.h"
#include "scan/scan_dialog.h"

namespace {

// The dialog is still being laid out when its thread starts.
constexpr std::chrono::milliseconds kSettlingTime{100};

}  // namespace

void ScanFile(const char* path, QDialog* dialog) {
    if (path != nullptr) {
        static_cast<ScanDialog*>(dialog)->Run().ScanFile(path);
    }
}

std::uint32_t ScanDirectory(char* directory, QDialog* dialog) {
    return static_cast<ScanDialog*>(dialog)->Run().ScanDirectory(directory);
}

void ScanThrd::Join() {
    wait();
    m_ended.load(std::memory_order_acquire);
}

void ScanThrd::run() {
    FileCountThrd counting(m_run);
    m_run.Begin();
    std::this_thread::sleep_for(kSettlingTime);
    m_run.Scan(counting);
    m_ended.store(true, std::memory_order_release);
}
