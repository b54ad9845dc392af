#include "product/updturl/fetch_stage.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "product/updturl/account.h"
#include "product/updturl/conversation.h"
#include "product/updturl/service_connection.h"

namespace updturl {
namespace {

/// How many lines of one stage get into the log.
constexpr int kMostLogLines = 500;

/// Whether this is the service that systemd runs without a network: it cannot download itself.
bool IsServiceMissing() {
    const auto account = AccountOf(kServiceUser);
    return account && account->uid == ::geteuid() && ::access("/run/systemd/system", F_OK) == 0;
}

/// Passes on to the asker what the stage says.
class StageListener : public ConversationListener {
public:
    explicit StageListener(Asker& asker) : m_asker(asker) {}

    void Status(std::uint16_t status, std::string_view fileName) override {
        m_asker.Status(status, fileName);
    }
    void Beat() override { m_asker.Beat(); }
    void Log(std::string_view text) override {
        if (++m_logLines <= kMostLogLines) {
            m_asker.Log(text);
        }
    }
    void Candidate(std::string_view folder) override { m_candidate = folder; }
    bool IsToStop() override { return m_asker.IsStopping(); }

    [[nodiscard]] const std::string& Candidate() const { return m_candidate; }

private:
    Asker& m_asker;
    int m_logLines = 0;
    std::string m_candidate;
};

}  // namespace

bool FetchStage::Start(const std::string& program, bool isAsCaller, std::string& why) {
    if (::geteuid() != 0 && ::access(kFetchSocket, F_OK) == 0) {
        m_socket = ConnectToService(kFetchSocket, kFetchUser, why);
        return m_socket.IsOpen();
    }
    if (IsServiceMissing()) {
        why = "corvane-fetch.socket is not running";
        return false;
    }
    std::vector<std::string> arguments{kFetchOption};
    if (isAsCaller) {
        arguments.emplace_back(kAsCallerOption);
    }
    m_socket = m_child.Start(program, std::move(arguments), ProcessGroup::kOfParent);
    why = std::strerror(errno);
    return m_socket.IsOpen();
}

Fetched FetchStage::Run(const Request& request, Asker& asker) {
    auto words = RequestText(request);
    if (!words) {
        asker.Log("a text of the request is too long");
        return {.result = kUpdaterFailed, .candidate = {}};
    }
    StageListener listener(asker);
    Conversation conversation(std::move(m_socket), listener);
    // The asker is answered at once; the stage is ended afterwards.
    const Ending ending = conversation.Hold(
        *std::move(words),
        {.end = {}, .timeToStop = std::chrono::milliseconds(0), .maySwitch = false});
    if (ending == Ending::kStopped) {
        return {.result = kUpdaterInterrupted, .candidate = {}};
    }
    if (!conversation.Result()) {
        asker.Log("the process that downloads ended without a result");
        return {.result = kUpdaterFailed, .candidate = {}};
    }
    Fetched fetched{.result = *conversation.Result(), .candidate = {}};
    if (fetched.result == kUpdaterUpdated) {
        auto candidate = CheckedCandidate(listener.Candidate(), request.downloadDirectory);
        if (!candidate) {
            asker.Log("the process that downloads names no folder of its own");
            fetched.result = kUpdaterFailed;
        }
        fetched.candidate = std::move(candidate).value_or("");
    }
    return fetched;
}

std::optional<std::string> CheckedCandidate(const std::string& candidate,
                                            const std::string& downloadDirectory) {
    if (downloadDirectory.empty() || !candidate.starts_with(downloadDirectory)) {
        return std::nullopt;
    }
    std::string name = candidate.substr(downloadDirectory.size());
    while (name.ends_with('/')) {
        name.pop_back();
    }
    while (name.starts_with('/')) {
        name.erase(0, 1);
    }
    if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
        return std::nullopt;
    }
    std::string path = downloadDirectory;
    if (!path.ends_with('/')) {
        path += '/';
    }
    path += name;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        return std::nullopt;
    }
    return path + "/";
}

}  // namespace updturl
