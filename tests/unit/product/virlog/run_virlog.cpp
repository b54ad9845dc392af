#include "tests/unit/product/virlog/run_virlog.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/run_state.h"
#include "common/text_field.h"

namespace fs = std::filesystem;

Queue::Queue(int key) : m_id(::msgget(key, IPC_CREAT | IPC_EXCL | 0600)) {
    EXPECT_GE(m_id, 0);
}

void Queue::Remove() const {
    ::msgctl(m_id, IPC_RMID, nullptr);
}

bool IsHeld(int key) {
    return ::msgget(key, 0) >= 0;
}

VirlogRun::VirlogRun(std::vector<std::string> arguments, std::string_view input, uid_t user) {
    Start(std::move(arguments), -1, user);
    if (!input.empty()) {
        Type(input);
        CloseInput();
    }
}

VirlogRun::VirlogRun(std::vector<std::string> arguments, int output) {
    Start(std::move(arguments), output, 0);
}

void VirlogRun::Start(std::vector<std::string> arguments, int output, uid_t user) {
    std::signal(SIGPIPE, SIG_IGN);
    // Where every user may run it.
    const std::string program = m_scratch / "corvane-virlog";
    fs::copy_file(VIRLOG_PROGRAM, program);
    ::chmod(program.c_str(), 0755);
    ::chmod(m_scratch.Path().c_str(), 0755);
    arguments.insert(arguments.begin(), program);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    const common::FileDescriptor out(::open((m_scratch / "out").c_str(), kFlags, 0600));
    const common::FileDescriptor err(::open((m_scratch / "err").c_str(), kFlags, 0600));
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const common::FileDescriptor input(ends[0]);
    m_input.Reset(ends[1]);
    m_pid = ::fork();
    if (m_pid == 0) {
        ::dup2(input.Get(), STDIN_FILENO);
        ::dup2(output >= 0 ? output : out.Get(), STDOUT_FILENO);
        ::dup2(err.Get(), STDERR_FILENO);
        std::signal(SIGPIPE, SIG_DFL);
        if (user != 0 &&
            (::setgroups(0, nullptr) != 0 || ::setgid(user) != 0 || ::setuid(user) != 0)) {
            ::_exit(126);
        }
        ::execv(program.c_str(), pointers.data());
        ::_exit(127);
    }
}

VirlogRun::~VirlogRun() {
    if (!m_status && m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        Status();
    }
}

void VirlogRun::Type(std::string_view text) const {
    EXPECT_EQ(::write(m_input.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

int VirlogRun::Status() {
    if (!m_status) {
        int status = 0;
        while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return *m_status;
}

void VirlogProgramTest::SetUp() {
    if (!InSandbox()) {
        GTEST_SKIP() << "the product directory and the locks are touched in the sandbox only";
    }
    ASSERT_FALSE(IsHeld(kMainKey));
    ASSERT_FALSE(IsHeld(kRecordKey));
    fs::create_directories(kProduct);
    fs::remove_all(kReports);
    fs::create_directories(kReports);
    ASSERT_EQ(::chmod(kReports, 01777), 0);
    WriteFile(std::string(kProduct) + "scanver.cnf",
              std::string("\5\0\14\0", 4) + std::string(16, '\0'));
    common::CopyToField(g_szAppPath, kProduct);
}

void VirlogProgramTest::WriteLog(const std::vector<std::string>& records) {
    std::string log = Head(static_cast<std::uint32_t>(records.size()));
    std::string table;
    for (const std::string& record : records) {
        table += Number(static_cast<std::uint32_t>(log.size()));
        log += record;
    }
    WriteFile(kRecords, log);
    WriteFile(kOffsets, table);
    ASSERT_EQ(::chmod(kRecords, 0666), 0);
    ASSERT_EQ(::chmod(kOffsets, 0666), 0);
}

std::string Number(std::uint32_t number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(number >> shift);
    }
    return bytes;
}

std::string Wide(std::u16string_view text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

namespace {

std::string Padded(std::string text, std::size_t size) {
    text.resize(size, '\0');
    return text;
}

}  // namespace

std::string Head(std::uint32_t count) {
    return Number(0) + Number(count) + Number(0) + Number(5) + Number(12) + std::string(32, '\0') +
           Padded(Wide(u"desk"), 36);
}

std::string Record(std::u16string_view path, std::uint16_t day) {
    const std::string wide = Wide(path);
    const char16_t time[] = {2026, 3, 4, day, 7, 4, 9, 123};
    return Number(static_cast<std::uint32_t>(wide.size())) + Number(12) + Number(8000) +
           Padded("Eicar-Signature", 50) + Padded(Wide(u"File is skipped"), 100) +
           Wide(std::u16string_view(time, 8)) + Padded(Wide(u"alice"), 32) + wide + Wide(u"(none)");
}

std::string CsvOf(const std::string& path) {
    return "2026-03-05 07:04:09,8000,Eicar-Signature,File is skipped,alice," + path + ",(none)\r\n";
}

std::string Listed(std::vector<std::string> arguments) {
    VirlogRun run(std::move(arguments));
    EXPECT_EQ(run.Status(), 0);
    EXPECT_EQ(run.Errors(), "");
    return run.Output();
}
