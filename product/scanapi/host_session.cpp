#include "product/scanapi/host_session.h"

#include <algorithm>
#include <csignal>
#include <exception>
#include <utility>

#include "common/escaped_text.h"
#include "product/scanapi/engine_log.h"

namespace scanapi {

namespace {

using std::chrono::milliseconds;

// How often the time that scans take is looked at.
constexpr int kLookInterval = 100;  // milliseconds
// A host that does not say in this time that a worker ended, or who takes its place, is none: it
// does both at once.
constexpr std::chrono::seconds kHostPatience(10);
// It ends within a few milliseconds of its socket.
constexpr milliseconds kEndPatience(500);
// So many workers in a row that could be given nothing: the next would fare no better.
constexpr int kMaxUselessWorkers = 100;

constexpr char kStoodStill[] = "the scan of it stood still";
constexpr char kTooLong[] = "the scan of it took too long";
constexpr char kNonsense[] = "what scanned it answered nonsense";

const char* ReasonOfEnd(int status) {
    switch (-status) {
        case SIGKILL:
            return "the scan of it was killed, for want of memory perhaps";
        case SIGSYS:
            return "what scanned it tried something that it may not";
        default:
            return "the scan of it crashed";
    }
}

}  // namespace

HostSession::HostSession(const PoolSettings& settings, ScanQueue& queue, const Wakeup& wakeup,
                         Owner& owner)
    : m_settings(settings), m_queue(queue), m_wakeup(wakeup), m_owner(owner) {}

HostSession::~HostSession() {
    try {
        for (auto& [number, place] : m_places) {
            LetGo(place);
        }
    } catch (const std::exception& error) {
        LogLine(error.what());
    }
    m_process.End(kEndPatience);
}

bool HostSession::Run(const std::vector<definitions::Database>& databases) {
    if (!m_process.Start(m_settings.host)) {
        return false;
    }
    for (const definitions::Database& each : databases) {
        m_toHost.push_back(scanwire::Written(scanwire::Database{each.path}));
    }
    m_toHost.push_back(scanwire::Written(scanwire::Load{.workers = m_settings.workers,
                                                        .memoryLimitMiB = m_settings.memoryMiB,
                                                        .scratchBase = m_settings.scratchBase,
                                                        .switches = m_settings.switches}));
    while (!m_ended && !m_owner.IsCancelled()) {
        Send();
        LookAfter();
        GiveWork();
        Wait();
        TalkToWorkers();
        TalkToHost();
    }
    return true;
}

void HostSession::Wait() {
    const short hostEvents = m_toHost.empty() ? POLLIN : POLLIN | POLLOUT;
    m_polled.clear();
    m_polled.push_back({m_wakeup.Descriptor(), POLLIN, 0});
    m_polled.push_back({m_process.Socket(), hostEvents, 0});
    m_polled.push_back({m_process.Process(), POLLIN, 0});
    bool isBusy = m_wakeup.Descriptor() < 0;
    for (const auto& [number, place] : m_places) {
        isBusy = isBusy || place.silentSince || place.emptySince ||
                 (place.link != nullptr && place.link->BatchesUnderWay() > 0);
        const bool isListenedTo = place.link != nullptr && !place.silentSince;
        m_polled.push_back({isListenedTo ? place.link->Socket() : -1, POLLIN, 0});
    }
    (void)::poll(m_polled.data(), m_polled.size(), isBusy ? kLookInterval : -1);
    m_wakeup.Clear();
}

void HostSession::Send() {
    while (!m_toHost.empty()) {
        const auto sent = scanwire::SendPacket(m_process.Socket(), m_toHost.front());
        if (sent == scanwire::Sent::kNoRoom) {
            return;
        }
        // A host that reads no more has ended, which is seen elsewhere.
        m_toHost.pop_front();
    }
}

void HostSession::TalkToHost() {
    const bool hasEnded = (m_polled[2].revents & POLLIN) != 0;
    while (!m_ended) {
        scanwire::Packet packet;
        switch (m_receiver.Receive(m_process.Socket(), packet)) {
            case scanwire::Received::kPacket:
                m_ended = !Hear(packet.bytes, std::move(packet.descriptors));
                break;
            case scanwire::Received::kNothing:
                m_ended = hasEnded;
                return;
            case scanwire::Received::kEnd:
            case scanwire::Received::kBroken:
                m_ended = true;
                return;
        }
    }
}

// False when it is no host that speaks so.
bool HostSession::Hear(std::string_view bytes, std::vector<common::FileDescriptor> descriptors) {
    const auto message = scanwire::ReadFromHost(bytes);
    if (!message) {
        return false;
    }
    if (const auto* leftOut = std::get_if<scanwire::LeftOut>(&*message)) {
        m_owner.OnLeftOut(leftOut->path, leftOut->reason);
    } else if (const auto* log = std::get_if<scanwire::Log>(&*message)) {
        LogOfHost(log->text);
    } else if (const auto* notLoaded = std::get_if<scanwire::NotLoaded>(&*message)) {
        // Said of loaded databases it means that there was no process for a worker: another host
        // may fare better.
        if (!m_hasLoaded) {
            m_owner.OnNotLoaded(notLoaded->reason);
        } else {
            LogLine(common::Escaped(notLoaded->reason));
        }
        return false;
    } else if (const auto* worker = std::get_if<scanwire::Worker>(&*message)) {
        HearWorker(*worker, std::move(descriptors));
    } else if (const auto* ended = std::get_if<scanwire::Ended>(&*message)) {
        HearEnded(*ended);
    } else if (!std::exchange(m_hasLoaded, true)) {
        m_owner.OnLoaded(m_process.Memory());
    }
    return true;
}

void HostSession::HearWorker(const scanwire::Worker& worker,
                             std::vector<common::FileDescriptor> descriptors) {
    if (descriptors.size() != 1 || worker.worker >= m_settings.workers) {
        return;
    }
    Place& place = m_places[worker.worker];
    LetGo(place);
    place.emptySince.reset();
    place.link = WorkerLink::Make(worker, std::move(descriptors.front()));
    if (place.link == nullptr) {
        // It has ended already, or there is no memory for it now: the next may fare better.
        AskForAnother(worker);
        CountUseless();
    }
}

void HostSession::HearEnded(const scanwire::Ended& ended) {
    const auto found = m_places.find(ended.worker);
    if (found == m_places.end() || found->second.link == nullptr ||
        found->second.link->Which().generation != ended.generation) {
        return;  // one that we had replaced
    }
    Place& place = found->second;
    // What it said last counts.
    auto heard = WorkerLink::Heard::kSome;
    while (heard == WorkerLink::Heard::kSome) {
        heard = place.link->Listen();
    }
    const bool hadBegun = place.link->BlameTheOneAtHand(
        heard == WorkerLink::Heard::kNonsense ? kNonsense : ReasonOfEnd(ended.status));
    if (hadBegun) {
        m_uselessWorkers = 0;
    } else {
        CountUseless();
    }
    LetGo(place);
}

void HostSession::CountUseless() {
    m_ended = m_ended || ++m_uselessWorkers > kMaxUselessWorkers;
}

void HostSession::TalkToWorkers() {
    std::size_t index = 3;
    for (auto& [number, place] : m_places) {
        if (m_polled[index++].revents != 0) {
            ListenTo(place);
        }
    }
}

void HostSession::ListenTo(Place& place) {
    switch (place.link->Listen()) {
        case WorkerLink::Heard::kAll:
        case WorkerLink::Heard::kSome:
            m_uselessWorkers = place.link->HasFinishedAny() ? 0 : m_uselessWorkers;
            break;
        case WorkerLink::Heard::kEnd:
            AwaitEnd(place);
            break;
        case WorkerLink::Heard::kNonsense:
            Replace(place, kNonsense);
            break;
    }
}

// Why it ended, the host will say. One that only closed its socket is ended by this.
void HostSession::AwaitEnd(Place& place) {
    place.silentSince = Clock::now();
    AskForAnother(place.link->Which());
}

void HostSession::AskForAnother(const scanwire::Worker& worker) {
    m_toHost.push_back(scanwire::Written(scanwire::Replace{worker.worker, worker.generation}));
}

void HostSession::LookAfter() {
    for (auto& [number, place] : m_places) {
        if (place.link == nullptr) {
            m_ended =
                m_ended || (place.emptySince && Clock::now() - *place.emptySince > kHostPatience);
            continue;
        }
        place.link->LetWritersPass();
        if (place.silentSince) {
            m_ended = m_ended || Clock::now() - *place.silentSince > kHostPatience;
        } else if (place.link->HasOneToBreakOff()) {
            Replace(place, {});
        } else if (place.link->TookTooLong(m_settings.processorTime)) {
            // What it has just said of that file comes first.
            ListenTo(place);
            if (place.link != nullptr && !place.silentSince &&
                place.link->TookTooLong(m_settings.processorTime)) {
                Replace(place, kTooLong);
            }
        } else if (place.link->StoodStill(m_settings.standstill)) {
            Replace(place, kStoodStill);
        }
    }
}

WorkerLink* HostSession::NextToTake() {
    WorkerLink* next = nullptr;
    for (const auto& [number, place] : m_places) {
        if (place.link != nullptr && !place.silentSince && place.link->CanTake() &&
            (next == nullptr || place.link->BatchesUnderWay() < next->BatchesUnderWay())) {
            next = place.link.get();
        }
    }
    return next;
}

void HostSession::GiveWork() {
    for (WorkerLink* link = NextToTake(); link != nullptr && !m_ended; link = NextToTake()) {
        Scans batch = m_queue.TakeBatch(m_settings.workers);
        if (batch.empty()) {
            return;
        }
        if (!link->Give(std::move(batch))) {
            // What it was at, and what it said last, is looked at once the host tells of its end.
            AwaitEnd(m_places.at(link->Which().worker));
        }
    }
}

// Those who wait for what it was at wait no longer; the host does the rest.
void HostSession::Replace(Place& place, std::string_view blame) {
    AskForAnother(place.link->Which());
    if (!blame.empty()) {
        place.link->BlameTheOneAtHand(blame);
    }
    LetGo(place);
    Send();
}

void HostSession::LetGo(Place& place) {
    if (place.link != nullptr) {
        m_queue.PutBack(place.link->TakeUnfinished());
        place.emptySince = Clock::now();
    }
    place.link.reset();
    place.silentSince.reset();
}

}  // namespace scanapi
