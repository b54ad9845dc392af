#include "product/updated/server.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <sys/socket.h>
#include <syslog.h>
#include <unistd.h>

#include "abi/updturl.h"
#include "common/escaped_text.h"
#include "product/updated/sources.h"
#include "product/updturl/account.h"
#include "product/updturl/message.h"
#include "product/updturl/service_connection.h"

namespace updated {

namespace {

using std::chrono::milliseconds;
using updturl::MessageKind;

constexpr std::size_t kMostAskers = 64;
constexpr std::size_t kMostOfOneUser = 8;
constexpr std::chrono::seconds kTimeToAsk(10);
// Whoever waits hears this often that it still waits.
constexpr milliseconds kTick(200);

/// How many lines of one run get into the log.
constexpr int kMostLogLines = 500;

std::string WhatCameOfIt(const OfficialMemory::Known& known) {
    if (!known.result) {
        return "what came of it is not known";
    }
    return known.isOfTimeBefore ? "that was broken off; this is what came of the time before"
                                : "this is what came of it";
}

}  // namespace

Server::Server(common::FileDescriptor listening, Settings settings)
    : m_listening(std::move(listening)),
      m_settings(std::move(settings)),
      m_official(m_settings.state) {
    if (const auto account = updturl::AccountOf(updturl::kServiceUser)) {
        m_serviceUser = account->uid;
    }
}

/// Root, and the automatic updates.
bool Server::IsTrusted(uid_t user) const {
    // By its name, too: without systemd this service is root's.
    return user == 0 || user == ::geteuid() || user == m_serviceUser;
}

void Server::Serve(int endDescriptor, int options, const std::function<void()>& onOptions) {
    while (Wait(endDescriptor, options, onOptions)) {
        EndTooLong();
        EndImpatiently();
        DropGone();
        StartNext();
        TellWaiting();
        DropGone();
    }
    m_updater.reset();
}

/// Whether the run lasts longer than it may. One that everybody has to wait for is no longer one's
/// own affair, least of all when those wait who could do without asking.
bool Server::IsTooLong() const {
    const auto age = Clock::now() - m_run.begun;
    if (age >= (m_run.isIndex ? m_settings.folderLimit : m_settings.siteLimit)) {
        return true;
    }
    const Asker* const next = NextAsker();
    return !m_run.isTrusted && age >= m_settings.awaitedLimit && next != nullptr &&
           IsTrusted(next->User());
}

void Server::EndTooLong() {
    if (!m_updater || m_updater->IsStopped() || m_updater->HasResult() || !IsTooLong()) {
        return;
    }
    LogRun("the update takes too long and is ended");
    m_run.isTooLong = true;
    m_updater->Stop();
}

void Server::EndImpatiently() {
    if (m_updater && m_updater->Patience() && Clock::now() >= *m_updater->Patience()) {
        if (!m_updater->HasResult()) {
            Finish(kUpdaterInterrupted);
        }
        m_updater.reset();
    }
}

int Server::Timeout() const {
    const bool isAnybodyThere = !m_askers.empty() || m_updater != nullptr;
    return isAnybodyThere ? static_cast<int>(kTick.count()) : -1;
}

bool Server::Wait(int endDescriptor, int options, const std::function<void()>& onOptions) {
    std::vector<pollfd> watched{{endDescriptor, POLLIN, 0},
                                {options, POLLIN, 0},
                                {m_listening.Get(), POLLIN, 0},
                                {-1, POLLIN, 0}};
    if (m_updater && !m_updater->HasEnded()) {
        watched[3] = {m_updater->Descriptor(),
                      static_cast<short>(m_updater->HasUnsent() ? POLLIN | POLLOUT : POLLIN), 0};
    }
    for (const auto& asker : m_askers) {
        watched.push_back({asker->Descriptor(),
                           static_cast<short>(asker->HasUnsent() ? POLLIN | POLLOUT : POLLIN), 0});
    }
    if (::poll(watched.data(), watched.size(), Timeout()) < 0 && errno != EINTR) {
        ::syslog(LOG_ERR, "waiting failed: %s", std::strerror(errno));
        return false;
    }
    if (watched[0].revents != 0) {
        return false;
    }
    if (watched[1].revents != 0) {
        onOptions();
    }
    for (std::size_t i = 0; i < m_askers.size(); ++i) {
        if ((watched[i + 4].revents & POLLOUT) != 0) {
            m_askers[i]->Send();
        }
        if ((watched[i + 4].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
            m_askers[i]->Hear();
        }
    }
    if (watched[3].revents != 0) {
        m_updater->Send();
        HearUpdater();
    }
    if (watched[2].revents != 0) {
        Accept();
    }
    return true;
}

void Server::Accept() {
    common::FileDescriptor connection(
        ::accept4(m_listening.Get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!connection) {
        return;
    }
    auto asker = std::make_unique<Asker>(std::move(connection));
    const auto sameUser = std::count_if(m_askers.begin(), m_askers.end(), [&](const auto& other) {
        return other->User() == asker->User();
    });
    const bool isFull =
        m_askers.size() >= kMostAskers || static_cast<std::size_t>(sameUser) >= kMostOfOneUser;
    if (isFull && !IsTrusted(asker->User())) {
        ::syslog(LOG_WARNING, "too many updates are asked for; user %u is turned away",
                 asker->User());
        return;
    }
    m_askers.push_back(std::move(asker));
}

void Server::HearUpdater() {
    if (m_updater == nullptr || m_updater->HasEnded()) {
        return;
    }
    for (const updturl::Message& message : m_updater->Hear()) {
        Relay(message);
    }
    if (m_updater->HasEnded()) {
        m_updater.reset();
    }
}

/// The folder of what was loaded is nobody's business outside.
void Server::Relay(const updturl::Message& message) {
    switch (message.kind) {
        case MessageKind::kStatus:
            if (m_running != nullptr) {
                m_running->Mention(updturl::StatusLine(message.number, message.text));
            }
            break;
        case MessageKind::kLog:
            if (++m_run.logLines <= kMostLogLines) {
                LogRun(message.text);
            }
            break;
        case MessageKind::kSwitching:
            if (m_running != nullptr) {
                m_running->Say(updturl::SwitchingLine());
            }
            break;
        case MessageKind::kResult:
            Finish(message.number);
            break;
        case MessageKind::kCandidate:
            break;
    }
}

void Server::LogRun(const std::string& text) {
    ::syslog(LOG_INFO, "%s", common::Escaped(text).c_str());
    if (m_running != nullptr) {
        m_running->Mention(updturl::LogLine(text));
    }
}

void Server::Finish(int result) {
    // Nobody wished for it; and of the folder 3 would say that it holds nothing valid.
    if (result == kUpdaterInterrupted && m_run.isTooLong) {
        result = kUpdaterFailed;
    }
    ::syslog(LOG_INFO, "the update ended with %d", result);
    if (m_run.isOfficial && result != kUpdaterInterrupted) {
        m_official.Remember(std::time(nullptr), result);
    }
    m_run = {};
    if (m_running != nullptr) {
        m_running->Say(updturl::ResultLine(result));
        m_running->Leave();
        m_running = nullptr;
    }
}

/// The first of those who wait, root and the automatic updates before the others; null for none.
Asker* Server::NextAsker() const {
    Asker* first = nullptr;
    for (const auto& asker : m_askers) {
        if (asker->Now() != Asker::State::kWaiting) {
            continue;
        }
        if (IsTrusted(asker->User())) {
            return asker.get();
        }
        first = first == nullptr ? asker.get() : first;
    }
    return first;
}

void Server::StartNext() {
    while (m_updater == nullptr) {
        Asker* const next = NextAsker();
        if (next == nullptr) {
            return;
        }
        StartFor(*next);
    }
}

void Server::StartFor(Asker& asker) {
    const bool isIndex = asker.Wanted() == Asker::Wish::kIndex;
    ::syslog(LOG_INFO, "user %u (process %d) asks for an update%s", asker.User(),
             static_cast<int>(asker.Process()), isIndex ? " from the folder" : "");
    asker.Begin();
    m_running = &asker;
    const auto request = ReadSources(m_settings.directory,
                                     isIndex ? updturl::Source::kIndex : updturl::Source::kSite);
    if (!request) {
        ::syslog(LOG_ERR, "the update options cannot be read");
        Finish(kUpdaterFailed);
        return;
    }
    const bool isOfficial = AsksOfficialMirror(*request);
    if (AnswerFromMemory(asker, isOfficial)) {
        return;
    }
    auto text = updturl::RequestText(*request);
    if (!text) {
        ::syslog(LOG_ERR, "the update options hold too much");
        Finish(kUpdaterFailed);
        return;
    }
    const bool isTrusted = IsTrusted(asker.User());
    // Before anything is asked, for stopping would be a way to ask again at once.
    const bool isCounted = isOfficial && !isTrusted;
    if (isCounted) {
        m_official.Begin(std::time(nullptr));
    }
    auto updater = std::make_unique<Updater>(m_settings.program, *std::move(text));
    if (!updater->IsRunning()) {
        if (isCounted) {
            m_official.Withdraw();
        }
        Finish(kUpdaterFailed);
        return;
    }
    m_run = {.begun = Clock::now(),
             .isIndex = isIndex,
             .isTrusted = isTrusted,
             .isOfficial = isOfficial};
    m_updater = std::move(updater);
}

/// What was new then is not new any more.
bool Server::AnswerFromMemory(Asker& asker, bool isOfficial) {
    const auto known = isOfficial && !IsTrusted(asker.User())
                           ? m_official.Recall(std::time(nullptr))
                           : std::nullopt;
    if (!known) {
        return false;
    }
    const int result = known->result.value_or(kUpdaterFailed);
    asker.Mention(updturl::LogLine("the official mirrors were asked less than 15 minutes ago; " +
                                   WhatCameOfIt(*known)));
    Finish(result == kUpdaterUpdated ? kUpdaterUpToDate : result);
    return true;
}

void Server::TellWaiting() {
    const auto now = Clock::now();
    if (now - m_told < kTick) {
        return;
    }
    m_told = now;
    for (const auto& asker : m_askers) {
        if (asker->Now() == Asker::State::kWaiting) {
            asker->Mention(updturl::StatusLine(kUpdateConnecting));
        } else if (asker->Now() == Asker::State::kNew && now - asker->Since() > kTimeToAsk) {
            asker->GiveUp();
        }
    }
}

/// Who only says "stop" stays: past the switch, what it hears is that the update is in.
void Server::StopRun() {
    if (m_updater && !m_updater->IsStopped()) {
        ::syslog(LOG_INFO, "the update is stopped by who asked for it");
        m_updater->Stop();
    }
}

void Server::DropGone() {
    const bool isGone = m_running != nullptr && m_running->Now() == Asker::State::kGone;
    if (isGone || (m_running != nullptr && m_running->IsStopping())) {
        StopRun();
    }
    if (isGone) {
        m_running = nullptr;
    }
    std::erase_if(m_askers, [](const auto& asker) { return asker->Now() == Asker::State::kGone; });
}

}  // namespace updated
