#include "product/fetch/freshclam_child.h"

#include <array>
#include <cerrno>
#include <clamav.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/regular_file.h"
#include "common/retrying.h"
#include "product/definitions/database_archive.h"

extern "C" {
#include <libfreshclam.h>
}

namespace fetch {

namespace {

const char* OrNull(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

// The settings decide about proxies, and nothing else.
void ForgetProxies() {
    for (const char* name : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY",
                             "no_proxy", "NO_PROXY", "ftp_proxy", "FTP_PROXY"}) {
        ::unsetenv(name);
    }
}

fc_error_t Update(const FreshclamSettings& settings) {
    fc_config config{};
    config.maxAttempts = 3;
    config.connectTimeout = settings.connectSeconds;
    config.requestTimeout = settings.slowSeconds;
    config.proxyServer = OrNull(settings.proxyServer);
    config.proxyPort = settings.proxyPort;
    config.proxyUsername = OrNull(settings.proxyUser);
    config.proxyPassword = OrNull(settings.proxyPassword);
    config.databaseDirectory = settings.databaseDirectory.c_str();
    config.tempDirectory = settings.tempDirectory.c_str();
    const fc_error_t code = fc_initialize(&config);
    if (code != FC_SUCCESS) {
        return code;
    }
    char* dnsInfo = nullptr;
    char* newVersion = nullptr;
    if (!settings.dnsServer.empty()) {
        // Without an answer the mirror itself is asked.
        (void)fc_dns_query_update_info(settings.dnsServer.c_str(), &dnsInfo, &newVersion);
    }
    // The library takes lists of texts that it could write to, and does not.
    std::vector<char*> databases;
    for (const std::string& name : settings.databases) {
        databases.push_back(const_cast<char*>(name.c_str()));
    }
    std::array<char*, 1> servers{const_cast<char*>(settings.server.c_str())};
    std::uint32_t updated = 0;
    return fc_update_databases(databases.data(), static_cast<std::uint32_t>(databases.size()),
                               servers.data(), servers.size(), 0, dnsInfo, 1, nullptr, &updated);
}

cl_error_t Verify(const std::string& path) {
    const cl_error_t code = cl_cvdverify(path.c_str());
    if (code != CL_SUCCESS || !path.ends_with(".cld")) {
        return code;
    }
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kNoSymbolic);
    // The library compares the files it comes by with the signed list, and misses none.
    const auto list = definitions::ReadSignedList(file.Get());
    return list && definitions::HasAllListed(file.Get(), list->text) ? CL_SUCCESS : CL_EMALFDB;
}

// The library looks at the heads only of what it already has, and would keep a damaged database for
// as long as its head is good. Without it the whole one is loaded.
bool RemoveDamaged(const FreshclamSettings& settings) {
    if (cl_init(CL_INIT_DEFAULT) != CL_SUCCESS) {
        return false;
    }
    bool hasRemoved = false;
    for (const std::string& database : settings.databases) {
        for (const char* ending : {".cvd", ".cld"}) {
            const std::string path = settings.databaseDirectory + "/" + database + ending;
            if (::access(path.c_str(), F_OK) != 0) {
                continue;
            }
            const cl_error_t code = Verify(path);
            // A lack of memory says nothing of the file.
            if (code != CL_SUCCESS && code != CL_EMEM && ::unlink(path.c_str()) == 0) {
                std::printf("%s%s is damaged and was removed: %s\n", database.c_str(), ending,
                            cl_strerror(code));
                hasRemoved = true;
            }
        }
    }
    return hasRemoved;
}

[[noreturn]] void Work(const FreshclamSettings& settings, int output) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ForgetProxies();
    if (::dup2(output, STDOUT_FILENO) < 0 || ::dup2(output, STDERR_FILENO) < 0) {
        ::_exit(FC_ERROR);
    }
    (void)std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    const fc_error_t code = Update(settings);
    const bool hasRemoved = RemoveDamaged(settings);
    (void)std::fflush(nullptr);
    if (hasRemoved) {
        ::_exit(FreshclamChild::kDamagedDatabase);
    }
    ::_exit(code == FC_UPTODATE ? FC_SUCCESS : static_cast<int>(code));
}

}  // namespace

bool FreshclamChild::Start(const FreshclamSettings& settings) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return false;
    }
    m_output.Reset(ends[0]);
    const common::FileDescriptor input(ends[1]);
    m_child = ::fork();
    if (m_child == 0) {
        Work(settings, input.Get());
    }
    return m_child > 0;
}

int FreshclamChild::Join() {
    int status = 0;
    const pid_t joined = common::Retrying([&] { return ::waitpid(m_child, &status, 0); });
    m_child = -1;
    return joined > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void FreshclamChild::Kill() {
    if (m_child > 0) {
        ::kill(m_child, SIGKILL);
        (void)Join();
    }
}

}  // namespace fetch
