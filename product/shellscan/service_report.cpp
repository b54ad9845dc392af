#include "product/shellscan/service_report.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

#include "common/run_state.h"
#include "scan/run/step_lines.h"

namespace shellscan {

void ServiceReport::Begin() {
    m_report.WriteHeader(&g_scnopts);
    if (!m_note.empty()) {
        Write(m_note + "\n\n");
    }
}

void ServiceReport::Step(const scan::ScanStep& step) {
    scan::WriteStepLines(step, *this);
}

void ServiceReport::End(const RunSummary& summary) {
    tagScanCount count{.scanned = summary.scanned,
                       .found = summary.infected,
                       .repaired = summary.repaired,
                       .deleted = summary.deleted,
                       .skipped = summary.skipped,
                       .ioErrors = summary.ioErrors};
    m_report.WriteSummary(&count);
}

void ServiceReport::Write(std::string_view text) {
    if (m_error == 0 && !m_report.WriteToFile(std::string(text).c_str())) {
        m_error = errno;
    }
}

common::FileDescriptor TakeReportDescriptor(int number, std::string& problem) {
    struct stat status {};
    const std::string what = "the descriptor " + std::to_string(number) + " of the report ";
    const int flags = ::fcntl(number, F_GETFL);
    if (flags < 0 || ::fstat(number, &status) != 0) {
        problem = what + "is not open";
    } else if ((flags & O_ACCMODE) == O_RDONLY) {
        problem = what + "is not open for writing";
    } else if (!S_ISREG(status.st_mode) || status.st_size != 0) {
        problem = what + "is no empty file";
    } else {
        (void)::fcntl(number, F_SETFD, FD_CLOEXEC);
        return common::FileDescriptor(number);
    }
    return {};
}

}  // namespace shellscan
