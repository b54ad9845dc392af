#include "tests/unit/app/program.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <grp.h>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "common/paths.h"
#include "tests/fakes/splash_picture.h"

namespace fs = std::filesystem;

namespace {

constexpr uid_t kNobody = 65534;

[[noreturn]] void Execute(const fs::path& program, const std::vector<std::string>& arguments,
                          std::vector<std::string> environment,
                          const StagedProgram::Conditions& conditions) {
    const std::vector<std::string> own = environment;
    const auto isReplaced = [&own](const std::string& entry) {
        const std::string name = entry.substr(0, entry.find('=') + 1);
        return name == "WAYLAND_DISPLAY=" ||
               std::any_of(own.begin(), own.end(),
                           [&name](const std::string& each) { return each.starts_with(name); });
    };
    for (char** entry = environ; *entry != nullptr; ++entry) {
        if (!isReplaced(*entry)) {
            environment.emplace_back(*entry);
        }
    }
    std::vector<std::string> texts{program};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        argv.push_back(text.data());
    }
    argv.push_back(nullptr);
    std::vector<char*> envp;
    envp.reserve(environment.size() + 1);
    for (std::string& text : environment) {
        envp.push_back(text.data());
    }
    envp.push_back(nullptr);

    // What the one who runs the tests has left open must not count against the limit.
    (void)close_range(STDERR_FILENO + 1, ~0U, 0);
    if (conditions.descriptorLimit) {
        const rlimit limit{*conditions.descriptorLimit, *conditions.descriptorLimit};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (conditions.asNobody &&
        (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0)) {
        _exit(125);
    }
    execve(program.c_str(), argv.data(), envp.data());
    _exit(126);
}

}  // namespace

StagedProgram::StagedProgram(const std::string& name) {
    // Not below /tmp, whose mode some tests change.
    std::string pattern = "/var/lib/corvane-app-XXXXXX";
    m_scratch = mkdtemp(pattern.data());
    chmod(m_scratch.c_str(), 0777);
    fs::create_directory(m_scratch / "runtime");
    chmod((m_scratch / "runtime").c_str(), 0700);
    m_directory = m_scratch / name;
    fs::create_directories(m_directory / "qimages");
    chmod(m_directory.c_str(), 0777);
    fs::copy_file(CORVANE_PROGRAM, m_directory / "corvane");
    InstallEngine("good");
    WriteSplashPicture(m_directory / "qimages" / "splash.bmp");
    fs::create_directories(kProductDirectory);
}

StagedProgram::~StagedProgram() {
    std::error_code ignored;
    fs::remove_all(m_scratch, ignored);
    fs::remove_all(kProductDirectory, ignored);
    fs::remove("/tmp/scan.lck", ignored);
}

void StagedProgram::InstallOnAccessService(const std::string& variant) const {
    fs::copy_file(std::string(FAKE_OPSITF_DIR) + variant + "/opsitf.so",
                  std::string(kProductDirectory) + "opsitf.so",
                  fs::copy_options::overwrite_existing);
}

void StagedProgram::InstallEngine(const std::string& variant) const {
    fs::copy_file(std::string(FAKE_SCANAPI_DIR) + variant + "/scanapi.so",
                  m_directory / "scanapi.so", fs::copy_options::overwrite_existing);
    const fs::path script = std::string(FAKE_SCANAPI_DIR) + variant + "/scanapi.script";
    if (fs::exists(script)) {
        fs::copy_file(script, m_directory / "scanapi.script", fs::copy_options::overwrite_existing);
    }
}

pid_t StagedProgram::Start(const std::vector<std::string>& arguments,
                           const Conditions& conditions) const {
    std::vector<std::string> environment = conditions.environment;
    environment.push_back("CORVANE_DRIVER_LOG=" + (m_scratch / "seen").string());
    environment.push_back("FAKE_OPSITF_LOG=" + (m_scratch / "opsitf").string());
    environment.push_back("FAKE_SCANAPI_LOG=" + (m_scratch / "engine").string());
    environment.emplace_back("QT_QPA_GENERIC_PLUGINS=corvanetestdriver");
    environment.emplace_back("QT_PLUGIN_PATH=" CORVANE_TEST_DRIVER_DIR);
    environment.push_back("XDG_RUNTIME_DIR=" + (m_scratch / "runtime").string());
    const pid_t child = fork();
    if (child == 0) {
        Execute(m_directory / "corvane", arguments, std::move(environment), conditions);
    }
    return child;
}

int StagedProgram::Wait(pid_t program) {
    using namespace std::chrono_literals;
    const auto limit = std::chrono::steady_clock::now() + 1min;
    int status = 0;
    while (waitpid(program, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > limit) {
            kill(program, SIGKILL);
            waitpid(program, &status, 0);
            return -1;
        }
        std::this_thread::sleep_for(5ms);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int StagedProgram::Run(const std::vector<std::string>& arguments,
                       const Conditions& conditions) const {
    return Wait(Start(arguments, conditions));
}

std::vector<std::string> StagedProgram::Seen() const {
    return FileLines(m_scratch / "seen");
}

std::vector<std::string> StagedProgram::OnAccessCalls() const {
    return FileLines(m_scratch / "opsitf");
}

std::vector<std::string> StagedProgram::EngineCalls() const {
    return FileLines(m_scratch / "engine");
}

std::optional<std::string> FileBytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), {});
}

int ModeOf(const fs::path& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}

std::vector<std::string> FileLines(const fs::path& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}
