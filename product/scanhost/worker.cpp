#include "product/scanhost/worker.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "product/scanhost/refused_calls.h"
#include "product/scanning/library_scan.h"

namespace scanhost {

using scanning::ScanOutcome;
using scanning::Verdict;

Worker::Worker(const cl_engine* engine, int socket, bool notesRefusals)
    : m_engine(engine), m_socket(socket), m_notesRefusals(notesRefusals), m_reporter(socket) {}

WorkerExit Worker::Run() {
    while (!m_reporter.IsGone()) {
        scanwire::Packet packet;
        const auto received = m_receiver.Receive(m_socket, packet);
        if (received != scanwire::Received::kPacket) {
            return received == scanwire::Received::kEnd ? kExitEngineGone : kExitRefused;
        }
        const auto message = scanwire::ReadToWorker(packet.bytes);
        if (!message) {
            return kExitRefused;
        }
        const auto* region = std::get_if<scanwire::Region>(&*message);
        const bool isFine = region != nullptr
                                ? TakeRegion(*region, packet.descriptors)
                                : Scan(std::get<scanwire::Batch>(*message), packet.descriptors);
        if (!isFine) {
            return kExitRefused;
        }
    }
    return kExitEngineGone;
}

bool Worker::TakeRegion(const scanwire::Region& region, const Descriptors& descriptors) {
    if (m_region || descriptors.size() != 2) {
        return false;
    }
    m_region = SharedMapping::Make(descriptors[0].Get(), region.size, SharedMapping::kRead);
    m_hand = SharedMapping::Make(descriptors[1].Get(), scanwire::kHandSize, SharedMapping::kWrite);
    return m_region && m_hand;
}

bool Worker::IsFine(const scanwire::Batch& batch, std::size_t descriptors) const {
    if (!m_region || descriptors != scanwire::DescriptorsOf(batch)) {
        return false;
    }
    const std::size_t room = m_region->Bytes().size();
    return std::all_of(batch.items.begin(), batch.items.end(), [room](const auto& item) {
        return item.byDescriptor || (item.offset <= room && item.size <= room - item.offset);
    });
}

bool Worker::Scan(const scanwire::Batch& batch, const Descriptors& descriptors) {
    if (!IsFine(batch, descriptors.size())) {
        return false;
    }
    auto next = descriptors.begin();
    for (const scanwire::Item& item : batch.items) {
        const int descriptor = item.byDescriptor ? (next++)->Get() : -1;
        SetAtHand(item.id);
        m_reporter.Tell(scanwire::FileVerdict{item.id, ScanItem(item, batch.profile, descriptor)});
        SetAtHand(0);
        if (m_reporter.IsGone()) {
            break;
        }
    }
    m_reporter.Flush();
    return true;
}

ScanOutcome Worker::ScanItem(const scanwire::Item& item, const scanning::ScanProfile& profile,
                             int descriptor) {
    const scanning::ScanInput input{item.baseName, descriptor, item.size};
    const auto tell = [&](std::string member) {
        m_reporter.Tell(scanwire::Member{item.id, std::move(member)});
        return !m_reporter.IsGone();
    };
    ForgetRefusals();
    ScanOutcome outcome =
        item.byDescriptor
            ? scanning::ScanDescriptor(m_engine, profile, input, tell)
            : scanning::ScanBytes(m_engine, profile, input,
                                  m_region->Bytes().subspan(item.offset, item.size), tell);
    // What found nothing found it without what it was refused.
    std::string refusal = m_notesRefusals ? FirstRefusal() : std::string();
    if (!refusal.empty() && outcome.verdict != Verdict::Infected) {
        outcome = {.verdict = Verdict::Unreadable, .reason = std::move(refusal)};
    }
    return outcome;
}

void Worker::SetAtHand(std::uint32_t id) const {
    auto& hand = *reinterpret_cast<std::uint32_t*>(m_hand->WritableBytes().data());
    std::atomic_ref<std::uint32_t>(hand).store(id, std::memory_order_release);
}

}  // namespace scanhost
