#pragma once

#include <string>

#include "common/file_descriptor.h"
#include "product/schdlscn/kept_report.h"
#include "product/schdlscn/planner.h"

namespace schdlscn {

/// Runs scans as the owners of the tasks, each with a report that is made for it. For one thread,
/// in a process of one.
class ScanLauncher : public Launcher {
public:
    /// `program` scans; `reports` is the folder of the reports, "/" at its end; `notifier` is
    /// executed as a task's owner with a title and a text to show.
    ScanLauncher(std::string program, std::string reports, std::string notifier)
        : m_program(std::move(program)),
          m_reports(std::move(reports)),
          m_notifier(std::move(notifier)) {}

    std::string NameReport() override;
    std::unique_ptr<Run> Start(const KeptTask& task, ScheduleReason reason,
                               const std::string& report) override;
    std::string Recover(const KeptTask& task) override;
    std::unique_ptr<Notice> Tell(const KeptTask& task, const LastRun& last) override;
    ScheduleError DeleteReport(const std::string& report, uid_t user) override {
        return schdlscn::DeleteReport({m_reports, report}, user);
    }

private:
    [[nodiscard]] common::FileDescriptor OpenFolder() const;

    std::string m_program;
    std::string m_reports;
    std::string m_notifier;
};

/// The arguments of the program for a task.
std::vector<std::string> ScannerWords(const std::string& program, const Task& task,
                                      ScheduleReason reason);

}  // namespace schdlscn
