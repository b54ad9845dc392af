#include "product/shellscan/result_line.h"

#include <fcntl.h>

#include "common/io.h"

namespace shellscan {

std::string ResultLine(const RunSummary& summary) {
    return "scanned=" + std::to_string(summary.scanned) +
           " infected=" + std::to_string(summary.infected) +
           " unread=" + std::to_string(summary.unread) +
           " deleted=" + std::to_string(summary.deleted) +
           " repaired=" + std::to_string(summary.repaired) +
           " stopped=" + (summary.isInterrupted ? "1" : "0") +
           " seconds=" + std::to_string(summary.end - summary.start) + "\n";
}

common::FileDescriptor TakeResultDescriptor(int number, std::string& problem) {
    const int flags = ::fcntl(number, F_GETFL);
    if (flags < 0 || (flags & O_ACCMODE) == O_RDONLY) {
        problem = "the descriptor " + std::to_string(number) + " of the result is not open" +
                  (flags < 0 ? "" : " for writing");
        return {};
    }
    (void)::fcntl(number, F_SETFD, FD_CLOEXEC);
    return common::FileDescriptor(number);
}

bool WriteResult(int fd, const RunSummary& summary) {
    return common::WriteAll(fd, ResultLine(summary));
}

}  // namespace shellscan
