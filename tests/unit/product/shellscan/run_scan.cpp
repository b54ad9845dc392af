#include "tests/unit/product/shellscan/run_scan.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <grp.h>
#include <regex>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/paths.h"
#include "tests/support/report_files.h"

namespace fs = std::filesystem;

ScanProcess::ScanProcess(const std::string& program, ScanStart start) {
    WriteFile(m_scratch / "in", start.input);
    WriteFile(m_scratch / "out", "");
    WriteFile(m_scratch / "err", "");
    m_pid = ::fork();
    if (m_pid == 0) {
        Become(program, start);
        ::_exit(127);
    }
}

void ScanProcess::Become(const std::string& program, ScanStart& start) const {
    constexpr int kWrite = O_WRONLY | O_APPEND;
    ::dup2(::open((m_scratch / "in").c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    ::dup2(start.errors.value_or(::open((m_scratch / "err").c_str(), kWrite | O_CLOEXEC)),
           STDERR_FILENO);
    if (start.output == -1) {
        ::close(STDOUT_FILENO);
    } else {
        ::dup2(start.output.value_or(::open((m_scratch / "out").c_str(), kWrite | O_CLOEXEC)),
               STDOUT_FILENO);
    }
    for (const auto& [ours, theirs] : start.descriptors) {
        ::dup2(ours, theirs);
    }
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        ::signal(signal, SIG_DFL);
    }
    if (::chdir(start.folder.c_str()) != 0) {
        ::_exit(125);
    }
    if (start.user != 0 &&
        (::setgroups(0, nullptr) != 0 || ::setgid(start.user) != 0 || ::setuid(start.user) != 0)) {
        ::_exit(126);
    }
    std::vector<char*> words{const_cast<char*>(program.c_str())};
    for (std::string& argument : start.arguments) {
        words.push_back(argument.data());
    }
    words.push_back(nullptr);
    ::execv(program.c_str(), words.data());
}

ScanProcess::~ScanProcess() {
    if (!m_status && m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        Status();
    }
}

int ScanProcess::Status() {
    if (!m_status) {
        int status = 0;
        while (::waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return *m_status;
}

void ShellScanProgram::SetUp() {
    if (!InSandbox()) {
        GTEST_SKIP() << "the locks of the virus log are touched in the sandbox only";
    }
    fs::copy_file(SCAN_PROGRAM, Program());
    ASSERT_EQ(::chmod(m_application.Path().c_str(), 0755), 0);
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0755), 0);
    MakeReportFiles(m_application.Path());
    // The virus log names the version of the definitions, and without one takes no record.
    fs::create_directories(kProductDirectory);
    WriteFile(std::string(kProductDirectory) + "scanver.cnf",
              std::string("\5\0\14\0", 4) + std::string(16, '\0'));
    UseEngine("good");
    fs::create_directory(Tree());
    m_engine.SetScript("");
}

void ShellScanProgram::UseEngine(const std::string& variant) const {
    fs::copy_file(FakeEngine::Variant(variant) + "scanapi.so", m_application / "scanapi.so",
                  fs::copy_options::overwrite_existing);
}

ShellScanProgram::Result ShellScanProgram::Run(ScanStart start) const {
    ScanProcess process(Program(), std::move(start));
    const int status = process.Status();
    return {status, process.Output(), process.Errors()};
}

std::vector<std::string> ShellScanProgram::Opened() const {
    std::vector<std::string> names;
    for (const std::string& call : m_engine.Calls("ZqOpenFile ")) {
        names.push_back(call.substr(11, call.find(" -> ") - 11));
    }
    return names;
}

std::string WithoutTimes(std::string report) {
    report = std::regex_replace(report, std::regex("Scan Report For - [^\n]*"),
                                "Scan Report For - DATE");
    return std::regex_replace(report, std::regex("[0-9][0-9]:[0-9][0-9]:[0-9][0-9]"), "HH:MM:SS");
}
