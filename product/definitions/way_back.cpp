#include "product/definitions/way_back.h"

#include <algorithm>

namespace definitions {

namespace {

using signed_index::IndexedFile;

bool IsIn(const SetState& set, const IndexedFile& file) {
    return std::any_of(
        set.index.files.begin(), set.index.files.end(), [&](const IndexedFile& each) {
            return each.name == file.name && each.size == file.size && each.sha256 == file.sha256;
        });
}

// Of a file of an index, beside the set that was gone back from and the one in use now.
class WayBack {
public:
    WayBack(const SetState& heldBack, const SetState& inUse)
        : m_heldBack(heldBack), m_inUse(inUse) {}

    /// Whether it would bring back what was gone back from, or something older.
    [[nodiscard]] bool Undoes(const IndexedFile& file) const {
        const std::uint32_t refused = m_heldBack.VersionOf(file.name);
        if (IsIn(m_inUse, file)) {
            return false;
        }
        return HasHead(file.name)
                   ? refused > m_inUse.VersionOf(file.name) && file.version <= refused
                   : IsIn(m_heldBack, file) || file.version < refused;
    }

    /// Whether it is a newer state of something that was gone back from.
    [[nodiscard]] bool Overtakes(const IndexedFile& file) const {
        const std::uint32_t refused = m_heldBack.VersionOf(file.name);
        if (HasHead(file.name)) {
            return refused > m_inUse.VersionOf(file.name) && file.version > refused;
        }
        // Loose files carry no number themselves: another content may be as good as a higher one.
        return m_heldBack.IsIndexed(file.name) && file.version >= refused &&
               !IsIn(m_heldBack, file) && !IsIn(m_inUse, file);
    }

private:
    const SetState& m_heldBack;
    const SetState& m_inUse;
};

}  // namespace

bool HasNewerThan(const signed_index::Index& index, const SetState& heldBack,
                  const SetState& inUse) {
    const WayBack wayBack(heldBack, inUse);
    const auto any = [&](const auto& holds) {
        return std::any_of(index.files.begin(), index.files.end(), holds);
    };
    const auto overtakes = [&](bool onlyNumbered) {
        return any([&](const IndexedFile& file) {
            return (HasHead(file.name) || !onlyNumbered) && wayBack.Overtakes(file);
        });
    };
    if (any([&](const IndexedFile& file) { return HasHead(file.name) && wayBack.Undoes(file); })) {
        return overtakes(true);
    }
    if (any([&](const IndexedFile& file) { return wayBack.Undoes(file); })) {
        return overtakes(false);
    }
    return any([&](const IndexedFile& file) { return !IsIn(inUse, file); });
}

}  // namespace definitions
