#include "product/scanning/layer_inspection.h"

#include <memory>
#include <numeric>
#include <utility>

#include "product/scanning/unread_reasons.h"

namespace scanning {

namespace {

struct MapCloser {
    void operator()(cl_fmap_t* map) const { cl_fmap_close(map); }
};
using MapOwner = std::unique_ptr<cl_fmap_t, MapCloser>;

// Files of at most this size are clean to the library unread: nothing known is as small as that.
constexpr std::size_t kNeverMatched = 5;

constexpr std::string_view kUnknownType = "CL_TYPE_BINARY_DATA";

// Ends the scan: the library takes CL_VIRUS as a detection, which is dropped.
constexpr cl_error_t kEndScan = CL_VIRUS;
// Ends that of the layer at hand only.
constexpr cl_error_t kSkipLayer = CL_BREAK;

// Archives from which, when they can be read, at least the name of a member comes.
bool HasListing(std::string_view type) {
    return type.starts_with("CL_TYPE_RAR") || type == "CL_TYPE_ZIP" || type == "CL_TYPE_7Z";
}

bool IsZipType(std::string_view type) {
    return type == "CL_TYPE_ZIP" || type.starts_with("CL_TYPE_OOXML");
}

std::string_view OrEmpty(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

cl_error_t OnInspection(int descriptor, const char* type, const char** /*ancestors*/,
                        std::size_t /*parentSize*/, const char* name, std::size_t size,
                        const char* bytes, std::uint32_t level, std::uint32_t attributes,
                        void* opaque) {
    auto& run = *static_cast<LibraryRun*>(opaque);
    try {
        const auto all = std::as_bytes(std::span(bytes, bytes == nullptr ? 0 : size));
        if (bytes == nullptr && size > 0) {
            run.Whole().Unread(kReadError);
        }
        return run.Inspect(descriptor, {OrEmpty(type), OrEmpty(name), all, level, attributes});
    } catch (...) {
        run.Whole().Break();
        return kEndScan;
    }
}

cl_error_t OnListed(const char* containerType, unsigned long /*containerSize*/, const char* name,
                    unsigned long size, int /*encrypted*/, unsigned int position, void* opaque) {
    auto& run = *static_cast<LibraryRun*>(opaque);
    try {
        run.Listed(OrEmpty(containerType), OrEmpty(name), size, position);
    } catch (...) {
        run.Whole().Break();
    }
    return run.Whole().Ended() ? kEndScan : CL_CLEAN;
}

void OnFound(int descriptor, const char* virusName, void* opaque) {
    auto& run = *static_cast<LibraryRun*>(opaque);
    try {
        run.Found(descriptor, OrEmpty(virusName));
    } catch (...) {
        run.Whole().Break();
    }
}

}  // namespace

void LibraryRun::Scan(cl_fmap_t* map) {
    const MapOwner owner(map);
    if (owner == nullptr) {
        m_whole.Unread(kNoMemory);
        return;
    }
    cl_scan_options options = LibraryOptions(m_whole.Profile());
    if (m_whole.FindsAll()) {
        options.general |= CL_SCAN_GENERAL_ALLMATCHES;
    }
    const char* virusName = nullptr;
    unsigned long scanned = 0;
    const std::size_t hitsBefore = m_whole.Hits();
    const auto result = cl_scanmap_callback(map, m_file.baseName.c_str(), &virusName, &scanned,
                                            m_whole.Engine(), &options, this);
    if (result == CL_VIRUS && m_whole.Hits() == hitsBefore && virusName != nullptr &&
        !m_whole.Ended()) {
        m_whole.Found({virusName, {}});
    }
    Judge(result);
}

// The library calls many a file clean that it did not look at, or not to the end.
void LibraryRun::Judge(cl_error_t result) {
    if (m_sealed || m_sealedLevel || !m_trail.AllEntered()) {
        m_whole.Unread(kMissed);
    }
    if (result != CL_CLEAN && result != CL_VIRUS) {
        m_whole.Unread(cl_strerror(result));
    }
    // Without room to unpack it is not even looked at.
    if (!m_entered && m_file.size > kNeverMatched) {
        m_whole.Unread(kNoRoom);
    }
}

// An archive whose listing is cut off, or whose reader is a library of its own that is not
// installed, is passed over without a word.
void LibraryRun::Unseal(std::uint32_t level, std::string_view type) {
    m_sealed = m_sealed || (m_sealedLevel && level <= *m_sealedLevel);
    m_sealedLevel.reset();
    if (HasListing(type) && m_whole.Profile().archives) {
        m_sealedLevel = level;
    }
}

std::string LibraryRun::Types() const {
    return std::accumulate(
        m_types.begin(), m_types.end(), std::string(),
        [](std::string all, const std::string& type) { return std::move(all) + '/' + type; });
}

cl_error_t LibraryRun::Inspect(int descriptor, const Layer& layer) {
    m_entered = true;
    if (m_whole.Ended()) {
        return kEndScan;
    }
    Unseal(layer.level, layer.type);
    m_types.resize(layer.level);
    m_types.emplace_back(layer.type);
    if (layer.level == 0) {
        m_trail.Entered(0, {}, descriptor);
        if (layer.type == kUnknownType) {
            m_whole.TypeIsUnknown();
        }
        return CL_CLEAN;
    }
    if ((layer.attributes & LAYER_ATTRIBUTES_NORMALIZED) != 0) {
        // The same text once more, in a form that is easier to match.
        return CL_CLEAN;
    }
    m_whole.Recognised();
    // A zip member is cut at the bound without an alert.
    if (layer.bytes.size() >= static_cast<std::size_t>(kMaxFileSize)) {
        m_whole.Unread(kTooLarge);
    }
    m_trail.Entered(layer.level, layer.name, descriptor);
    if (!layer.name.empty()) {
        m_whole.Announce(m_trail.Path());
    }
    if (m_whole.Ended()) {
        return kEndScan;
    }
    return m_whole.Admit(Types(), layer.bytes) ? CL_CLEAN : kSkipLayer;
}

void LibraryRun::Listed(std::string_view containerType, std::string_view name, std::size_t size,
                        std::uint32_t position) {
    m_sealedLevel.reset();
    m_trail.Listed(name);
    // A zip member that is damaged, or packed in a way that the library does not know, is passed
    // over in silence.
    if (IsZipType(containerType) && size > kNeverMatched) {
        m_trail.Expect(position);
    }
}

void LibraryRun::Found(int descriptor, std::string_view virusName) {
    if (m_whole.Ended()) {
        return;
    }
    LayerTrail trail = m_trail;
    trail.BackTo(descriptor);
    m_whole.Found({std::string(virusName), trail.Path()});
}

void InstallInspection(cl_engine* engine) {
    cl_engine_set_clcb_file_inspection(engine, OnInspection);
    cl_engine_set_clcb_meta(engine, OnListed);
    cl_engine_set_clcb_virus_found(engine, OnFound);
}

}  // namespace scanning
