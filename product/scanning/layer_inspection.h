#pragma once

#include <clamav.h>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "product/scanning/layer_trail.h"
#include "product/scanning/whole_scan.h"

namespace scanning {

/// One layer, as libclamav comes to it.
struct Layer {
    std::string_view type;
    std::string_view name;
    std::span<const std::byte> bytes;
    std::uint32_t level;
    std::uint32_t attributes;
};

/// One run of libclamav over the file, which comes back here at each layer. Calls that are made
/// from C let nothing be thrown.
class LibraryRun {
public:
    /// Both are kept by reference.
    LibraryRun(WholeScan& whole, const ScanInput& file) : m_whole(whole), m_file(file) {}

    /// Takes the map over; one that could not be made makes the file unreadable.
    void Scan(cl_fmap_t* map);

    [[nodiscard]] WholeScan& Whole() { return m_whole; }
    [[nodiscard]] const ScanInput& File() const { return m_file; }

    cl_error_t Inspect(int descriptor, const Layer& layer);
    void Listed(std::string_view containerType, std::string_view name, std::size_t size,
                std::uint32_t position);
    void Found(int descriptor, std::string_view virusName);

private:
    void Unseal(std::uint32_t level, std::string_view type);
    /// The types of the layers down to the one at hand, outermost first.
    [[nodiscard]] std::string Types() const;
    void Judge(cl_error_t result);

    WholeScan& m_whole;
    const ScanInput& m_file;
    LayerTrail m_trail{};
    std::vector<std::string> m_types{};            ///< of the layers down to the one at hand
    std::optional<std::uint32_t> m_sealedLevel{};  ///< of an archive that nothing came out of yet
    bool m_sealed = false;                         ///< such an archive was left unread
    bool m_entered = false;                        ///< the library began to look at it
};

void InstallInspection(cl_engine* engine);

}  // namespace scanning
