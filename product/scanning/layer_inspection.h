#pragma once

#include <clamav.h>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "product/scanning/container_kind.h"
#include "product/scanning/layer_reader.h"
#include "product/scanning/layer_trail.h"
#include "product/scanning/whole_scan.h"

namespace scanning {

/// What lies around bytes that are handed to libclamav by themselves.
struct Surroundings {
    std::uint32_t depth = 0;   ///< layers around them; 0: they are the file itself
    std::string path{};        ///< the member they are, empty for the file itself
    std::string containers{};  ///< the types of those layers, outermost first
};

/// One layer, as libclamav comes to it.
struct Layer {
    std::string_view type;
    std::string_view name;
    std::span<const std::byte> bytes;
    std::uint32_t level;
    std::uint32_t attributes;
};

/// One run of libclamav, over the file or over something that was unpacked from it for libclamav,
/// which comes back here at each layer. Calls that are made from C let nothing be thrown.
class LibraryRun {
public:
    /// The first two are kept by reference.
    LibraryRun(WholeScan& whole, const ScanInput& file, Surroundings around)
        : m_whole(whole), m_file(file), m_around(std::move(around)) {}

    /// Takes the map over; one that could not be made makes the file unreadable.
    void Scan(cl_fmap_t* map);

    [[nodiscard]] WholeScan& Whole() { return m_whole; }
    [[nodiscard]] const ScanInput& File() const { return m_file; }

    cl_error_t Inspect(int descriptor, const Layer& layer);
    void Listed(std::string_view containerType, std::string_view name, std::size_t size,
                std::uint32_t position);
    void Found(int descriptor, std::string_view virusName);

private:
    [[nodiscard]] bool IsInside() const { return m_around.depth > 0; }
    bool EnterMember(const Layer& layer);
    cl_error_t LookInto(const Layer& layer, ContainerKind kind);
    /// The same for archives within what is no archive itself.
    void LookBehind(const Layer& layer, const LayerNews& news);
    bool ScanInside(const Layer& layer, const std::string& name, std::span<const std::byte> bytes);
    [[nodiscard]] std::string PathOf(const std::string& inner) const;
    /// The types of the layers down to the one at hand, outermost first.
    [[nodiscard]] std::string Types() const;
    void Judge(cl_error_t result);

    WholeScan& m_whole;
    const ScanInput& m_file;
    Surroundings m_around;
    LayerTrail m_trail{};
    std::vector<std::string> m_types{};  ///< of the layers down to the one at hand
    bool m_entered = false;              ///< the library began to look at it
};

void InstallInspection(cl_engine* engine);

}  // namespace scanning
