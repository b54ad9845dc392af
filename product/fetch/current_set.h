#pragma once

#include <optional>
#include <string>

#include "common/file_descriptor.h"
#include "product/signed_index/index.h"

namespace fetch {

/// The set of databases that is installed, to compare with. For one thread.
class CurrentSet {
public:
    /// Opens the folder `path`, through a link if it is one. What is missing counts as an empty
    /// set.
    explicit CurrentSet(const std::string& path);

    [[nodiscard]] int Get() const { return m_folder.Get(); }

    /// The text of its index; empty when it came from no private mirror.
    [[nodiscard]] const std::string& IndexText() const { return m_indexText; }

    /// Its index. Nothing signed is looked for: who can write there needs no mirror.
    [[nodiscard]] const std::optional<signed_index::Index>& Index() const { return m_index; }
    [[nodiscard]] std::uint64_t Serial() const { return m_index ? m_index->serial : 0; }

    /// Opens the file that has this digest by the index; not open when there is none.
    [[nodiscard]] common::FileDescriptor OpenFileOf(const std::string& sha256) const;

    /// Opens a file by its name.
    [[nodiscard]] common::FileDescriptor OpenFile(const std::string& name) const;

private:
    common::FileDescriptor m_folder;
    std::string m_indexText;
    std::optional<signed_index::Index> m_index;
};

}  // namespace fetch
