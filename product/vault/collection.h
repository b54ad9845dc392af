#pragma once

#include <optional>
#include <string>
#include <vector>

#include "product/vault/item_reader.h"
#include "product/vault/owner_folder.h"

namespace vault {

/// One item, and in whose folder.
struct PlacedItem {
    uid_t owner;
    ItemEntry entry;
};

/// The vault of the effective user as people see it: all items of all owners. For one thread.
class Collection {
public:
    /// One that is missing is empty. None, with the reason in `why`, where it cannot be opened.
    static std::optional<Collection> Open(std::string& why);

    /// The oldest first.
    [[nodiscard]] const std::vector<PlacedItem>& Items() const { return m_items; }

    /// None when it is not there.
    [[nodiscard]] const PlacedItem* Find(const std::string& name) const;

    std::optional<ItemReader> Read(const PlacedItem& item, std::string& why) const;

    /// False with the reason in `why`.
    bool Remove(const PlacedItem& item, std::string& why) const;

private:
    common::FileDescriptor m_vault;
    std::vector<PlacedItem> m_items;
};

}  // namespace vault
