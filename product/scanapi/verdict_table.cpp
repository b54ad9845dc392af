#include "product/scanapi/verdict_table.h"

#include <algorithm>
#include <functional>
#include <limits>

#include "product/scanapi/verdict_format.h"

namespace scanapi {

namespace {

constexpr std::size_t kFewSlots = 1024;  // a power of two, as every size after it

// Whoever names files can see to it that many of them fall on one slot. That may cost them their
// place here, but never the scan its time.
constexpr std::size_t kMostSteps = 32;

}  // namespace

std::string_view VerdictTable::At(std::uint32_t place) const {
    std::string_view records = std::string_view(m_records).substr(place - 1);
    return TakeRecord(records).value_or(std::string_view());
}

// The slot that holds the key, or else the free one that it would get.
std::optional<std::size_t> VerdictTable::SlotOf(std::string_view key) const {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = std::hash<std::string_view>{}(key)&mask;
    const std::size_t steps = std::min(kMostSteps, m_slots.size());
    for (std::size_t step = 0; step < steps; ++step, slot = (slot + 1) & mask) {
        if (m_slots[slot] == 0 || KeyOf(At(m_slots[slot])) == key) {
            return slot;
        }
    }
    return std::nullopt;
}

void VerdictTable::Grow() {
    const std::vector<std::uint32_t> before = std::move(m_slots);
    m_slots.assign(std::max(kFewSlots, 2 * before.size()), 0);
    m_count = 0;
    for (const std::uint32_t place : before) {
        const auto slot = place == 0 ? std::nullopt : SlotOf(KeyOf(At(place)));
        if (slot) {
            m_slots[*slot] = place;
            ++m_count;
        }
    }
}

bool VerdictTable::Add(std::string_view record) {
    constexpr std::uint64_t kMostPlaces = std::numeric_limits<std::uint32_t>::max() - 1;
    const std::uint64_t size = m_records.size() + record.size();
    if (size > std::min(m_limit, kMostPlaces)) {
        return false;
    }
    if (m_slots.size() < 2 * (m_count + 1)) {
        Grow();
    }
    const auto slot = SlotOf(KeyOf(record));
    if (!slot) {
        return false;
    }
    m_count += m_slots[*slot] == 0 ? 1 : 0;
    m_slots[*slot] = static_cast<std::uint32_t>(m_records.size()) + 1;
    m_records += record;
    return true;
}

std::optional<std::string_view> VerdictTable::Find(std::string_view key) const {
    const auto slot = m_slots.empty() ? std::nullopt : SlotOf(key);
    return slot && m_slots[*slot] != 0 ? std::optional(At(m_slots[*slot])) : std::nullopt;
}

}  // namespace scanapi
