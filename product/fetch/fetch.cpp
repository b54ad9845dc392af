#include "product/fetch/fetch.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>

#include "product/fetch/current_set.h"
#include "product/fetch/download_folder.h"
#include "product/fetch/fetch_state.h"
#include "product/fetch/official.h"
#include "product/fetch/private_mirror.h"
#include "product/fetch/progress.h"
#include "product/signed_index/trusted_keys.h"

namespace fetch {

namespace {

using signed_index::Refusal;
using signed_index::TrustedKeys;

TrustedKeys KeysOf(const Request& request, Progress& progress) {
    TrustedKeys trusted;
    const Refusal refusal = signed_index::ReadTrustedKeys(request.productDirectory, trusted);
    if (refusal != Refusal::kNone) {
        progress.Log(std::string(signed_index::kKeyFolder) + ": " + WordsFor(refusal));
    }
    for (const signed_index::PassedOverKey& key : trusted.passedOver) {
        progress.Log(std::string(signed_index::kKeyFolder) + "/" + key.name + ": " +
                     WordsFor(key.why));
    }
    return trusted;
}

// One run over all addresses.
class Run {
public:
    Run(const Request& request, Progress& progress) : m_request(request), m_progress(progress) {}

    Outcome Fetch() {
        if (!m_request.hasAddresses) {
            return Fail("there is no list of addresses to update from");
        }
        if (m_request.addresses.empty()) {
            return Fail("the list of addresses to update from is empty");
        }
        if (!IsKnownProxy(m_request.proxy)) {
            return Fail("the proxy is of an unknown kind: " + m_request.proxy.server);
        }
        // A run that was stopped a moment ago may still be ending.
        const auto giveUp = std::chrono::steady_clock::now() + m_request.limits.otherRun;
        while (!m_folder.Open(m_request.downloadDirectory)) {
            if (errno != EWOULDBLOCK) {
                return Fail(m_request.downloadDirectory + ": " + std::strerror(errno));
            }
            if (std::chrono::steady_clock::now() >= giveUp) {
                return Fail(m_request.downloadDirectory + ": another update is running");
            }
            m_progress.Status(kUpdateConnecting);
            if (!m_progress.Wait(Progress::kBeat)) {
                return {kUpdaterInterrupted, {}};
            }
        }
        m_state = ReadState(m_folder.Get());
        Outcome outcome = FetchFromAny();
        if (!WriteState(m_folder.Get(), m_state)) {
            m_progress.Log(m_request.downloadDirectory +
                           ": the state cannot be written: " + std::strerror(errno));
        }
        return outcome;
    }

private:
    Outcome FetchFromAny() {
        const TrustedKeys trusted = KeysOf(m_request, m_progress);
        const CurrentSet current(m_request.currentSet);
        HttpClient client(m_request.proxy, m_request.limits, m_progress);
        const MirrorJob job{client,  m_request.limits, m_progress,        m_folder,
                            current, trusted.keys,     std::time(nullptr)};
        Outcome outcome;
        bool hasFailed = false;
        for (const std::string& address : AddressesToTry(
                 m_request.addresses, m_request.fromAdministrator, m_request.official.domain)) {
            m_progress.Status(kUpdateConnecting);
            switch (FetchFrom(job, address)) {
                case MirrorEnd::kCandidate:
                    return {kUpdaterUpdated, m_folder.CandidatePath()};
                case MirrorEnd::kUpToDate:
                    ForgetParts(current, hasFailed);
                    return {kUpdaterUpToDate, {}};
                case MirrorEnd::kStopped:
                    return {kUpdaterInterrupted, {}};
                case MirrorEnd::kDiskFailed:
                    return {kUpdaterFailed, {}};
                case MirrorEnd::kRefused:
                    outcome.result = kUpdaterInvalidFiles;
                    break;
                case MirrorEnd::kFailed:
                    break;
            }
            hasFailed = true;
        }
        return outcome;
    }

    // What is in use has been installed. The rest nobody offers, unless an address that failed
    // does.
    void ForgetParts(const CurrentSet& current, bool hasFailed) const {
        m_folder.RemoveParts([&](const std::string& digest) {
            return !hasFailed || current.OpenFileOf(digest).IsOpen();
        });
    }

    MirrorEnd FetchFrom(const MirrorJob& job, const std::string& address) {
        if (!PartsOf(address)) {
            m_progress.Log(ForLog(address) + ": this is no address of a web server");
            return MirrorEnd::kFailed;
        }
        if (IsOfficial(address, m_request.official.domain)) {
            return FetchFromOfficial({m_request.official, m_request.proxy, m_request.limits,
                                      m_progress, m_folder, job.current, job.now},
                                     address, m_state.official);
        }
        return FetchFromMirror(job, address, m_state.mirrors[address]);
    }

    Outcome Fail(const std::string& words) {
        m_progress.Log(words);
        return {kUpdaterFailed, {}};
    }

    const Request& m_request;
    Progress& m_progress;
    DownloadFolder m_folder;
    FetchState m_state;
};

}  // namespace

Outcome Fetch(const Request& request, Listener& listener) {
    Progress progress(listener);
    return Run(request, progress).Fetch();
}

}  // namespace fetch
