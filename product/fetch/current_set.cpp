#include "product/fetch/current_set.h"

#include <fcntl.h>

#include "common/io.h"
#include "common/regular_file.h"

namespace fetch {

CurrentSet::CurrentSet(const std::string& path)
    : m_folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const common::FileDescriptor file = OpenFile(signed_index::kIndexName);
    if (!file) {
        return;
    }
    std::string text(signed_index::kMaxIndexSize + 1, '\0');
    const auto length = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text)));
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    signed_index::Index index;
    if (signed_index::ParseIndex(text, index) == signed_index::Refusal::kNone) {
        m_index = std::move(index);
        m_indexText = std::move(text);
    }
}

common::FileDescriptor CurrentSet::OpenFile(const std::string& name) const {
    if (!m_folder) {
        return {};
    }
    return common::OpenRegularFileAt(m_folder.Get(), name.c_str(), O_RDONLY,
                                     common::Links::kNoSymbolic);
}

common::FileDescriptor CurrentSet::OpenFileOf(const std::string& sha256) const {
    if (m_index) {
        for (const signed_index::IndexedFile& file : m_index->files) {
            if (file.sha256 == sha256) {
                return OpenFile(file.name);
            }
        }
    }
    return {};
}

}  // namespace fetch
