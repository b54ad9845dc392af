#include "product/schdlscn/notice.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>

#include "product/schdlscn/owned_process.h"

namespace schdlscn {

namespace {

using notifying::PlainText;

std::string WhyFailed(int result) {
    switch (result) {
        case kScheduleRunNotStarted:
            return "the scanner could not work";
        case kScheduleRunInterrupted:
            return "it was interrupted";
        case kScheduleRunTookTooLong:
            return "it was ended after 24 hours";
        case kScheduleRunNoReport:
            return "no report could be written";
        default:
            return {};
    }
}

class NoticeProcess : public Notice {
public:
    bool Start(const Owner& owner, std::vector<std::string> words, const std::string& session) {
        const common::FileDescriptor nowhere(::open("/dev/null", O_RDWR | O_CLOEXEC));
        return m_process.Start(owner, std::move(words),
                               {nowhere.Get(), nowhere.Get(), nowhere.Get()},
                               {"XDG_RUNTIME_DIR=" + session});
    }
    [[nodiscard]] int Descriptor() const override { return m_process.Descriptor(); }
    bool HasEnded() override { return m_process.Ended().has_value(); }

private:
    OwnedProcess m_process;
};

}  // namespace

std::optional<notifying::Notification> NoticeOf(const Task& task, const LastRun& last) {
    const std::string name = PlainText(task.name);
    const std::string report = last.report.empty() ? "" : " Its report is in the list of reports.";
    if (last.result == kScheduleRunFound) {
        const std::string files = last.infected == 1 ? " infected file." : " infected files.";
        return notifying::Notification{"Viruses were found",
                                       "The scheduled scan \"" + name + "\" has found " +
                                           std::to_string(last.infected) + files + report,
                                       true};
    }
    const std::string why = WhyFailed(last.result);
    if (why.empty()) {
        return std::nullopt;
    }
    const std::string detail = last.detail.empty() ? "." : ": " + PlainText(last.detail) + ".";
    return notifying::Notification{"A scheduled scan failed",
                                   "The scheduled scan \"" + name + "\": " + why + detail + report,
                                   true};
}

// Where the bus of all sessions of a user is, the system has laid down. Whether it is one, and
// answers, is found out with the user's rights.
std::unique_ptr<Notice> ShowNotice(const std::string& program, const KeptTask& task,
                                   const notifying::Notification& notification) {
    const std::string session = "/run/user/" + std::to_string(task.task.owner);
    struct stat status {};
    const auto owner = OwnerOf(task.task.owner, task.ownerName);
    if (!owner || ::lstat((session + "/bus").c_str(), &status) != 0) {
        return nullptr;
    }
    auto notice = std::make_unique<NoticeProcess>();
    if (!notice->Start(*owner, {program, notification.title, notification.body}, session)) {
        ::syslog(LOG_WARNING, "a user cannot be notified: %s", std::strerror(errno));
        return nullptr;
    }
    return notice;
}

}  // namespace schdlscn
