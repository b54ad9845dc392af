#include "product/vault/collection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "product/vault/place.h"

namespace vault {

std::optional<Collection> Collection::Open(std::string& why) {
    const std::string path = PathOfVault();
    if (path.empty()) {
        why = "no home folder is known";
        return std::nullopt;
    }
    Collection collection;
    collection.m_vault = OpenPrivateFolder(path, Missing::kFail, why);
    if (!collection.m_vault) {
        return errno == ENOENT ? std::optional(std::move(collection)) : std::nullopt;
    }
    for (const uid_t owner : OwnersIn(collection.m_vault.Get())) {
        const auto folder = OwnerFolder::Open(collection.m_vault.Get(), owner, Missing::kFail, why);
        if (!folder) {
            return std::nullopt;
        }
        for (ItemEntry& entry : folder->Items()) {
            collection.m_items.push_back({owner, std::move(entry)});
        }
    }
    std::stable_sort(collection.m_items.begin(), collection.m_items.end(),
                     [](const PlacedItem& left, const PlacedItem& right) {
                         return left.entry.name < right.entry.name;
                     });
    return collection;
}

const PlacedItem* Collection::Find(const std::string& name) const {
    const auto found = std::find_if(m_items.begin(), m_items.end(), [&](const PlacedItem& item) {
        return item.entry.name == name;
    });
    return found == m_items.end() ? nullptr : &*found;
}

std::optional<ItemReader> Collection::Read(const PlacedItem& item, std::string& why) const {
    const auto folder = OwnerFolder::Open(m_vault.Get(), item.owner, Missing::kFail, why);
    if (!folder) {
        return std::nullopt;
    }
    common::FileDescriptor file = folder->OpenItem(item.entry.name);
    if (!file) {
        why = std::string("it cannot be read: ") + std::strerror(errno);
        return std::nullopt;
    }
    return ItemReader::Open(std::move(file), why);
}

bool Collection::Remove(const PlacedItem& item, std::string& why) const {
    const auto folder = OwnerFolder::Open(m_vault.Get(), item.owner, Missing::kFail, why);
    if (!folder) {
        return false;
    }
    if (!folder->Lock()) {
        why = "another process does not let go of the vault";
        return false;
    }
    folder->RemoveUnfinished();
    if (!folder->Remove(item.entry.name)) {
        why = std::string("it cannot be removed: ") + std::strerror(errno);
        return false;
    }
    return true;
}

}  // namespace vault
