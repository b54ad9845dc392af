#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "product/schdlscn/planner.h"

// Runs that the test ends.

class FakeLauncher : public schdlscn::Launcher {
public:
    std::string NameReport() override { return "schd0042.rpt"; }
    std::unique_ptr<schdlscn::Run> Start(const schdlscn::KeptTask& task, ScheduleReason reason,
                                         const std::string& report) override {
        reports.push_back(report);
        begun.push_back(task.task.name + " " + std::to_string(reason));
        return std::make_unique<FakeRun>(*this, task.task.name);
    }

    std::string Recover(const schdlscn::KeptTask& task) override {
        recovered.push_back(task.task.name + " " + task.last.report);
        return "schd0043.rpt";
    }

    std::unique_ptr<schdlscn::Notice> Tell(const schdlscn::KeptTask& task,
                                           const schdlscn::LastRun& last) override {
        told.push_back(task.task.name + " " + std::to_string(last.result) + " " + last.report);
        return std::make_unique<FakeNotice>(*this);
    }

    ScheduleError DeleteReport(const std::string& report, uid_t user) override {
        return report == "schd0001.rpt" && user == 1 ? kScheduleOk : kScheduleNoSuchReport;
    }

    /// The run of that task ends.
    void End(const std::string& name, schdlscn::Outcome outcome = {.result = kScheduleRunClean}) {
        outcomes[name] = std::move(outcome);
    }

    std::vector<std::string> begun;      ///< name and reason
    std::vector<std::string> reports;    ///< of the runs that have begun
    std::vector<std::string> recovered;  ///< name, and report as it was noted
    std::vector<std::string> told;       ///< name, result and report
    int notices = 0;                     ///< under way
    bool areNoticesOver = false;
    std::vector<std::string> stopped;  ///< names
    std::map<std::string, schdlscn::Outcome> outcomes;
    std::vector<std::string> running;

private:
    class FakeNotice : public schdlscn::Notice {
    public:
        explicit FakeNotice(FakeLauncher& owner) : m_owner(owner) { ++m_owner.notices; }
        ~FakeNotice() override { --m_owner.notices; }
        FakeNotice(const FakeNotice&) = delete;
        FakeNotice& operator=(const FakeNotice&) = delete;

        [[nodiscard]] int Descriptor() const override { return 4711; }
        bool HasEnded() override { return m_owner.areNoticesOver; }

    private:
        FakeLauncher& m_owner;
    };

    class FakeRun : public schdlscn::Run {
    public:
        FakeRun(FakeLauncher& owner, std::string name) : m_owner(owner), m_name(std::move(name)) {
            m_owner.running.push_back(m_name);
        }
        ~FakeRun() override { std::erase(m_owner.running, m_name); }
        FakeRun(const FakeRun&) = delete;
        FakeRun& operator=(const FakeRun&) = delete;

        [[nodiscard]] int Descriptor() const override { return -1; }
        std::optional<schdlscn::Outcome> Ended() override {
            const auto found = m_owner.outcomes.find(m_name);
            if (found == m_owner.outcomes.end()) {
                return std::nullopt;
            }
            auto outcome = found->second;
            m_owner.outcomes.erase(found);
            return outcome;
        }
        void Stop() override { m_owner.stopped.push_back(m_name); }
        schdlscn::Outcome EndNow() override {
            return {.result = kScheduleRunClean, .report = "schd0001.rpt"};
        }

    private:
        FakeLauncher& m_owner;
        std::string m_name;
    };
};
