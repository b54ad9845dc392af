#pragma once

#include <string>

#include "common/file_descriptor.h"
#include "product/schdlscn/planner.h"

namespace schdlscn {

/// Runs scans as the owners of the tasks, each with a report that is made for it. For one thread,
/// in a process of one.
class ScanLauncher : public Launcher {
public:
    /// `program` scans; `reports` is the folder of the reports, "/" at its end.
    ScanLauncher(std::string program, std::string reports)
        : m_program(std::move(program)), m_reports(std::move(reports)) {}

    std::string NameReport() override;
    std::unique_ptr<Run> Start(const KeptTask& task, ScheduleReason reason,
                               const std::string& report) override;
    std::string Recover(const KeptTask& task) override;

private:
    [[nodiscard]] common::FileDescriptor OpenFolder() const;

    std::string m_program;
    std::string m_reports;
};

/// The arguments of the program for a task.
std::vector<std::string> ScannerWords(const std::string& program, const Task& task,
                                      ScheduleReason reason);

}  // namespace schdlscn
