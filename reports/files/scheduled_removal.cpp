#include "reports/files/scheduled_removal.h"

#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include "abi/schdlscn.h"
#include "common/owners.h"
#include "reports/files/scheduled_index.h"

namespace reports {

namespace {

/// What is missing is not forbidden.
bool IsIndexForbidden() {
    return ::faccessat(AT_FDCWD, kScheduledIndexPath, W_OK, AT_EACCESS) != 0 &&
           ::access(kScheduledIndexPath, F_OK) == 0;
}

bool AskForRemoval(const std::string& report, unsigned int uid) {
    void* handle = nullptr;
    unsigned int error = 0;
    const auto remove = reinterpret_cast<PFNDELETESCHEDULEREPORT>(
        LoadDylibAndGetPFN(kSchedulerLibrary, kDeleteScheduleReport, &handle, &error));
    const common::LibraryHandle library(handle);
    return remove != nullptr && remove(report.c_str(), uid, &error);
}

}  // namespace

bool RemoveScheduledReport(const std::string& path, unsigned int uid) {
    if (!IsIndexForbidden()) {
        unsigned int error = kIndexOk;
        return DeleteReportForFile(kScheduledIndexKind, path.c_str(), uid, &error);
    }
    const std::filesystem::path report(path);
    return report.parent_path() == std::filesystem::path(kScheduledIndexPath).parent_path() &&
           AskForRemoval(report.filename(), uid);
}

}  // namespace reports
