#include "common/log.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>

#include "common/io.h"
#include "common/shared_file.h"

bool common::AppendToLog(const char* path, std::string_view message) {
    const FileDescriptor log = OpenSharedFile(path, O_WRONLY | O_APPEND, 0600);
    if (!log) {
        return false;
    }
    // One write, so that a line of another process does not land inside this one.
    const bool isWritten = WriteAll(log.Get(), std::string(message) + "\n");
    (void)::fchmod(log.Get(), 0644);
    return isWritten;
}

void WriteToLog(const char* path, const char* message) {
    if (path != nullptr && message != nullptr) {
        (void)common::AppendToLog(path, message);
    }
}
