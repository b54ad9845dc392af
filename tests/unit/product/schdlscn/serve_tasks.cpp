// serve_tasks run|add|modify|delete SCANNER ANSWERED: the scheduler's service at its place, by a
// clock that stands still, until what is due has been run and listed, or until a user has asked for
// that change of the task "a" and noted in the file ANSWERED that it was done. 0 then.

#include <array>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/io.h"
#include "product/schdlscn/scan_launcher.h"
#include "tests/unit/product/schdlscn/served_tasks.h"

namespace {

using namespace schdlscn;

/// What is due was missed: the machine has been up for long when it is looked at.
class FixedClock : public Clock {
public:
    Moment Read() override {
        Moment moment = ServedMoment(m_sinceBoot);
        m_sinceBoot = std::chrono::hours(2);
        return moment;
    }
    [[nodiscard]] int Descriptor() const override { return -1; }
    void Heard() override {}
    void WakeAt(std::optional<std::chrono::sys_seconds> /*moment*/) override {}

private:
    std::chrono::seconds m_sinceBoot = std::chrono::hours(1);
};

Request RequestOf(const std::string& what) {
    if (what == "add") {
        return {Request::Kind::kAdd, NewTask()};
    }
    return {what == "modify" ? Request::Kind::kModify : Request::Kind::kDelete, ChangedTask()};
}

/// A service that is killed takes its client along: nobody is to ask the next one.
bool EndWith(pid_t service) {
    return ::prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && ::getppid() == service;
}

void AskFor(const std::string& what, const char* answered, pid_t service) {
    if (what == "run") {
        (void)(EndWith(service) &&
               WaitUntil([] { return ListedReports() != 0; }, std::chrono::seconds(60)));
        return;
    }
    const int file = ::open(answered, O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    if (::setresuid(kTaskOwner, kTaskOwner, kTaskOwner) != 0 || !EndWith(service)) {
        return;
    }
    const auto answer = AskService(kServiceSocket, RequestOf(what), std::chrono::seconds(60));
    if (answer && answer->error == kScheduleOk) {
        (void)common::WriteAll(file, std::string_view("done"));
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    std::array<int, 2> end{};
    if (::pipe2(end.data(), O_CLOEXEC) != 0) {
        return 2;
    }
    common::FileDescriptor listening = serving::Listen(kServiceSocket);
    const pid_t service = ::getpid();
    const pid_t client = ::fork();
    if (client == 0) {
        AskFor(argv[1], argv[3], service);
        ::close(end[0]);
        ::close(end[1]);
        ::_exit(0);
    }
    ::close(end[1]);
    FixedClock clock;
    ScanLauncher launcher(argv[2], common::InProductDirectory("reports/"), "/nowhere");
    Service scheduler(std::move(listening), common::InProductDirectory(kScheduleTaskList), clock,
                      launcher);
    scheduler.Serve(end[0]);
    ::waitpid(client, nullptr, 0);
    return 0;
}
