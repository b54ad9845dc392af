#pragma once

#include <string>

#include "common/file_descriptor.h"
#include "product/schdlscn/task.h"

namespace schdlscn {

/// A report of a scheduled scan.
struct ReportFile {
    std::string folder;  ///< of the reports, "/" at its end
    std::string name;    ///< in it
};

/// Has everybody read the report, open as `file`, which a run of the task has written, and puts it
/// on the list of reports. One that nothing was written to is removed instead. Whether there is a
/// report. For root and a process of one thread.
bool KeepReport(const ReportFile& report, const common::FileDescriptor& file, const Task& task);

/// The same of a report that a run has left whose end nobody saw, unless it is on the list already.
bool KeepLeftReport(const ReportFile& report, const Task& task);

/// Deletes the report and its record, when the list of reports has one of `user`'s, or anybody's
/// for root. All other records stay. The file goes with its owner's rights: what else has that name
/// now is left alone.
ScheduleError DeleteReport(const ReportFile& report, uid_t user);

}  // namespace schdlscn
