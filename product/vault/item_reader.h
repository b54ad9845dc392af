#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "common/file_descriptor.h"
#include "product/vault/item.h"

namespace vault {

/// One item of the vault, read from a file that is believed nothing: every size and length is
/// checked, and the digests tell damage. An object is for one thread.
class ItemReader {
public:
    /// Takes what is read; false ends the reading.
    using Sink = std::function<bool(std::span<const std::byte>)>;

    /// Reads all but the contents. None with the reason, in words, in `why`.
    static std::optional<ItemReader> Open(common::FileDescriptor file, std::string& why);

    [[nodiscard]] const ItemFacts& Facts() const { return m_facts; }

    /// Hands the contents to `sink` piece by piece, never more than Facts().size bytes. Only when
    /// this is true were they the contents, whole; else the reason is in `why`, and empty when the
    /// sink has ended it.
    bool Extract(const Sink& sink, std::string& why) const;

private:
    ItemReader() = default;
    bool ReadHead(std::string& why);
    bool ReadRecords(std::string& why);

    common::FileDescriptor m_file;
    ItemFacts m_facts;
    std::string m_head;
    std::uint32_t m_recordsSize = 0;
    std::uint64_t m_packedSize = 0;
    std::uint64_t m_key = 0;
};

}  // namespace vault
