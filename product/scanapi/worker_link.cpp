#include "product/scanapi/worker_link.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <utility>

namespace scanapi {

namespace {

using scanwire::kSlotSize;

// Of one worker before the others are listened to.
constexpr int kMaxPacketsAtOnce = 64;

// A worker that ends before it begins is not to blame a file for. But one that was taken over could
// say so of the file that did it.
constexpr int kMaxTries = 10;

constexpr char kCutShort[] = "it was cut short or could not be read";

}  // namespace

std::unique_ptr<WorkerLink> WorkerLink::Make(const scanwire::Worker& worker,
                                             common::FileDescriptor socket) {
    SharedMemory region("corvane-files", scanwire::kSlots * kSlotSize, SharedMemory::Other::kReads);
    SharedMemory hand("corvane-hand", scanwire::kHandSize, SharedMemory::Other::kWrites);
    if (!region || !hand || !socket || ::fcntl(socket.Get(), F_SETFL, O_NONBLOCK) != 0) {
        return nullptr;
    }
    const std::array<int, 2> descriptors{region.Descriptor(), hand.Descriptor()};
    const std::string packet =
        scanwire::Written(scanwire::Region{.size = scanwire::kSlots * kSlotSize});
    if (scanwire::SendPacket(socket.Get(), packet, descriptors) != scanwire::Sent::kWhole) {
        return nullptr;
    }
    return std::unique_ptr<WorkerLink>(
        new WorkerLink(worker, std::move(socket), std::move(region), std::move(hand)));
}

WorkerLink::WorkerLink(const scanwire::Worker& worker, common::FileDescriptor socket,
                       SharedMemory region, SharedMemory hand)
    : m_worker(worker),
      m_socket(std::move(socket)),
      m_region(std::move(region)),
      m_hand(std::move(hand)) {}

// Only where there was no memory to put it back in the queue.
WorkerLink::~WorkerLink() {
    for (const Batch& batch : m_batches) {
        for (const UnderWay& each : batch.items) {
            each.scan->Finish({});
        }
    }
}

std::size_t WorkerLink::FreeSlot() const {
    const bool isFirstTaken = std::any_of(m_batches.begin(), m_batches.end(),
                                          [](const Batch& batch) { return batch.slot == 0; });
    return isFirstTaken ? 1 : 0;
}

// Puts a small file's bytes at `end` of the region, which it moves on; leaves a larger one to its
// descriptor.
bool WorkerLink::Load(PendingScan& scan, scanwire::Item& item, std::size_t& end) const {
    const TargetFile& file = scan.File();
    item.baseName = file.BaseName();
    item.size = file.Size();
    // A file system that lets us wait without end would keep everybody waiting; so the worker
    // reads.
    item.byDescriptor = file.Size() > kMaxHandedOver || !file.IsLocal();
    scan.BeginReading();
    if (item.byDescriptor) {
        return true;
    }
    item.offset = end;
    const auto place = m_region.Bytes().subspan(end, file.Size());
    if (file.ReadStart(place) != static_cast<std::ptrdiff_t>(file.Size())) {
        return false;
    }
    scan.EndReading();
    end += file.Size();
    return true;
}

bool WorkerLink::Give(Scans scans) {
    Batch batch{.slot = FreeSlot(), .items = {}};
    scanwire::Batch message{.profile = scans.front()->Profile(), .items = {}};
    std::vector<int> descriptors;
    std::size_t end = batch.slot * kSlotSize;
    for (auto& scan : scans) {
        scanwire::Item item;
        if (!Load(*scan, item, end)) {
            scan->FinishUnread(kCutShort);
            continue;
        }
        m_lastId = m_lastId == UINT32_MAX ? 1 : m_lastId + 1;
        item.id = m_lastId;
        if (item.byDescriptor) {
            descriptors.push_back(scan->File().Descriptor());
        }
        message.items.push_back(std::move(item));
        batch.items.push_back({m_lastId, std::move(scan)});
    }
    if (batch.items.empty()) {
        return true;
    }
    if (m_batches.empty()) {
        m_computedBefore = Computed();
    }
    m_batches.push_back(std::move(batch));
    return scanwire::SendPacket(m_socket.Get(), scanwire::Written(message), descriptors) ==
           scanwire::Sent::kWhole;
}

WorkerLink::Heard WorkerLink::Listen() {
    for (int count = 0; count < kMaxPacketsAtOnce; ++count) {
        scanwire::Packet packet;
        switch (m_receiver.Receive(m_socket.Get(), packet)) {
            case scanwire::Received::kNothing:
                return Heard::kAll;
            case scanwire::Received::kEnd:
                return Heard::kEnd;
            case scanwire::Received::kBroken:
                return Heard::kNonsense;
            case scanwire::Received::kPacket:
                break;
        }
        auto records = scanwire::ReadFromWorker(packet.bytes);
        if (!records || !packet.descriptors.empty()) {
            return Heard::kNonsense;
        }
        for (scanwire::FromWorker& record : *records) {
            if (!Take(std::move(record))) {
                return Heard::kNonsense;
            }
        }
        if (m_finishedOne) {
            m_finishedOne = false;
            m_computedBefore = Computed();
        }
    }
    return Heard::kSome;
}

bool WorkerLink::Take(scanwire::FromWorker record) {
    if (auto* verdict = std::get_if<scanwire::FileVerdict>(&record)) {
        return TakeVerdict(std::move(*verdict));
    }
    auto& member = std::get<scanwire::Member>(record);
    const auto place = Find(member.id);
    return place && place->item->scan->Tell(std::move(member.name));
}

// Verdicts come in no order that counts, but only on what is under way.
bool WorkerLink::TakeVerdict(scanwire::FileVerdict verdict) {
    const auto place = Find(verdict.id);
    if (!place) {
        return false;
    }
    TakeOut(*place)->Finish(std::move(verdict.outcome));
    m_finishedOne = true;
    m_hasFinishedAny = true;
    return true;
}

std::optional<WorkerLink::Place> WorkerLink::Find(std::uint32_t id) {
    for (auto batch = m_batches.begin(); batch != m_batches.end(); ++batch) {
        const auto item = std::find_if(batch->items.begin(), batch->items.end(),
                                       [&](const UnderWay& each) { return each.id == id; });
        if (item != batch->items.end()) {
            return Place{batch, item};
        }
    }
    return std::nullopt;
}

std::shared_ptr<PendingScan> WorkerLink::TakeOut(const Place& place) {
    auto scan = std::move(place.item->scan);
    place.batch->items.erase(place.item);
    if (place.batch->items.empty()) {
        m_batches.erase(place.batch);
    }
    return scan;
}

bool WorkerLink::HasOneToBreakOff() const {
    return std::any_of(m_batches.begin(), m_batches.end(), [](const Batch& batch) {
        return std::any_of(batch.items.begin(), batch.items.end(),
                           [](const UnderWay& each) { return each.scan->IsToBreakOff(); });
    });
}

void WorkerLink::LetWritersPass() const {
    for (const Batch& batch : m_batches) {
        for (const UnderWay& each : batch.items) {
            each.scan->LetWriterPass();
        }
    }
}

std::chrono::nanoseconds WorkerLink::Computed() const {
    clockid_t clock{};
    timespec time{};
    if (::clock_getcpuclockid(m_worker.pid, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        return m_computedBefore;
    }
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

bool WorkerLink::TookTooLong(std::chrono::milliseconds limit) const {
    return !m_batches.empty() && Computed() - m_computedBefore > limit;
}

bool WorkerLink::StoodStill(std::chrono::milliseconds limit) {
    const auto now = std::chrono::steady_clock::now();
    const auto computed = Computed();
    if (m_batches.empty() || computed != m_computedAtLook) {
        m_computedAtLook = computed;
        m_movedAt = now;
    }
    return now - m_movedAt > limit;
}

Scans WorkerLink::TakeUnfinished() {
    Scans unfinished;
    for (const Batch& batch : m_batches) {
        for (const UnderWay& each : batch.items) {
            if (each.scan->IsAbandoned()) {
                each.scan->FinishStopped();
            } else {
                unfinished.push_back(each.scan);
            }
        }
    }
    m_batches.clear();
    return unfinished;
}

bool WorkerLink::BlameTheOneAtHand(std::string_view reason) {
    if (m_batches.empty()) {
        return m_hasFinishedAny;
    }
    auto* const page = reinterpret_cast<std::uint32_t*>(m_hand.Bytes().data());
    const std::uint32_t atHand = std::atomic_ref(*page).load(std::memory_order_relaxed);
    const bool hadBegun = m_hasFinishedAny || atHand != 0;
    if (!hadBegun && m_batches.front().items.front().scan->TimesBegunAgain() < kMaxTries) {
        return false;
    }
    // It says so itself; where what it says cannot be, it was at the first.
    const Place first{m_batches.begin(), m_batches.front().items.begin()};
    TakeOut(Find(atHand).value_or(first))->FinishUnread(reason);
    return hadBegun;
}

}  // namespace scanapi
