#include "common/log.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>

#include "common/io.h"
#include "common/shared_file.h"

void WriteToLog(const char* path, const char* message) {
    if (path == nullptr || message == nullptr) {
        return;
    }
    const common::FileDescriptor log = common::OpenSharedFile(path, O_WRONLY | O_APPEND, 0600);
    if (!log) {
        return;
    }
    // One write, so that a line of another process does not land inside this one.
    common::WriteAll(log.Get(), std::string(message) + "\n");
    (void)::fchmod(log.Get(), 0644);
}
