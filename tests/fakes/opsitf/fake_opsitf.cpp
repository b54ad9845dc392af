// An on-access protection service that writes its calls down in the file named by FAKE_OPSITF_LOG,
// with whether the program's single-instance lock was there at that time.

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"

namespace {

constexpr char kInstanceLock[] = "/tmp/scan.lck";

unsigned int Note(const char* call, int processId, const unsigned int* status) {
    const char* path = std::getenv("FAKE_OPSITF_LOG");
    if (path == nullptr) {
        return 0;
    }
    const common::FileDescriptor log(open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    std::string line = call;
    line += processId == getpid() ? " self" : " " + std::to_string(processId);
    line += access(kInstanceLock, F_OK) == 0 ? " lock" : " nolock";
    line += status == nullptr ? " nostatus\n" : "\n";
    common::WriteAll(log.Get(), line);
    return 0;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) unsigned int OPSIgnoreProcess(
    int processId, unsigned int* status) {
    return Note("ignore", processId, status);
}

extern "C" __attribute__((visibility("default"))) unsigned int OPSUnignoreProcess(
    int processId, unsigned int* status) {
    return Note("unignore", processId, status);
}
