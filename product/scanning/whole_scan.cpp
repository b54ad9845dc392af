#include "product/scanning/whole_scan.h"

#include <algorithm>
#include <utility>

#include "product/scanning/detection_kind.h"
#include "product/scanning/unread_reasons.h"

namespace scanning {

void WholeScan::Announce(const std::string& path) {
    const bool isNew = m_announced.insert(path).second;
    if (m_onMember && (isNew || !m_again)) {
        m_stopped = m_stopped || !m_onMember(path);
    }
}

bool WholeScan::Admit(std::string_view containers, std::span<const std::byte> bytes,
                      bool unpackedByUs) {
    if (!m_seen.Add(containers, bytes)) {
        return false;
    }
    if (!unpackedByUs) {
        return true;
    }
    ++m_members;
    m_bytes += bytes.size();
    if (m_members > static_cast<std::size_t>(kMaxMembers)) {
        Unread(kTooMany);
        return false;
    }
    if (m_bytes > static_cast<std::size_t>(kMaxScanSize)) {
        Unread(kTooLarge);
        return false;
    }
    return true;
}

void WholeScan::Found(Hit hit) {
    if (MeansNotWholeScanned(hit.name)) {
        Unread(hit.name.starts_with("Heuristics.Encrypted.") ? kEncrypted : kLimited);
    }
    m_found = m_found || IsReported(hit);
    m_hits.push_back(std::move(hit));
}

void WholeScan::Unread(std::string_view reason) {
    if (m_reason.empty()) {
        m_reason = reason;
    }
}

bool WholeScan::IsReported(const Hit& hit) const {
    return !MeansNotWholeScanned(hit.name) && (m_profile.unwanted || !IsUnwanted(hit.name));
}

bool WholeScan::GoAgain() {
    // The unwanted program that nobody asked about may have hidden what was found after it.
    const bool mayHide =
        !m_findsAll && std::any_of(m_hits.begin(), m_hits.end(),
                                   [](const Hit& hit) { return IsUnwanted(hit.name); });
    const bool mayReadMore = !m_thorough && m_missed && m_reason.empty();
    if (Ended() || (!mayHide && !mayReadMore)) {
        return false;
    }
    m_findsAll = m_findsAll || mayHide;
    m_thorough = m_thorough || mayReadMore;
    m_again = true;
    m_hits.clear();
    m_reason = {};
    m_libraryFailed = false;
    m_seen.Clear();
    m_members = 0;
    m_bytes = 0;
    m_room = kAllRoom;
    m_missed = false;
    return true;
}

ScanOutcome WholeScan::Outcome() {
    const auto hit = std::find_if(m_hits.begin(), m_hits.end(),
                                  [this](const Hit& each) { return IsReported(each); });
    if (hit != m_hits.end()) {
        return {Verdict::Infected, std::move(hit->name), std::move(hit->member)};
    }
    if (m_stopped) {
        return {Verdict::Stopped, {}, {}};
    }
    if (m_broken) {
        Unread(kNoMemory);
    }
    if (m_missed) {
        Unread(kMissed);
    }
    if (m_libraryFailed) {
        Unread(kEngineError);
    }
    if (!m_reason.empty()) {
        return {.verdict = Verdict::Unreadable, .reason = std::string(m_reason)};
    }
    const bool passedOver = m_typeUnknown && !m_recognised && !m_profile.unknownTypes;
    return {.verdict = passedOver ? Verdict::PassedOver : Verdict::Clean};
}

}  // namespace scanning
