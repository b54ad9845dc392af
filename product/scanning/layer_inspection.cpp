#include "product/scanning/layer_inspection.h"

#include <memory>
#include <numeric>
#include <utility>

#include "product/scanning/embedded_archives.h"
#include "product/scanning/unread_reasons.h"
#include "product/scanning/zip_directory.h"

namespace scanning {

namespace {

struct MapCloser {
    void operator()(cl_fmap_t* map) const { cl_fmap_close(map); }
};
using MapOwner = std::unique_ptr<cl_fmap_t, MapCloser>;

constexpr std::string_view kUnknownType = "CL_TYPE_BINARY_DATA";
// Documents that keep their streams in pieces, which libclamav puts together.
constexpr std::string_view kInPieces = "CL_TYPE_MSOLE2";

// Ends the scan: the library takes CL_VIRUS as a detection, which is dropped.
constexpr cl_error_t kEndScan = CL_VIRUS;
// Ends that of the layer at hand only.
constexpr cl_error_t kSkipLayer = CL_BREAK;

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
        m_whole.Found({virusName, m_around.path});
    }
    Judge(result);
}

// The library calls many a file clean that it did not look at, or not to the end.
void LibraryRun::Judge(cl_error_t result) {
    if (result != CL_CLEAN && result != CL_VIRUS) {
        m_whole.Unread(cl_strerror(result));
    }
    // Without room to unpack it is not even looked at.
    if (!m_entered && m_file.size > kNeverMatched) {
        m_whole.Unread(kNoRoom);
    }
    if (!m_trail.AllEntered()) {
        m_whole.Missed();
    }
}

std::string LibraryRun::PathOf(const std::string& inner) const {
    return m_around.path.empty() || inner.empty() ? m_around.path + inner
                                                  : m_around.path + '/' + inner;
}

std::string LibraryRun::Types() const {
    return std::accumulate(
        m_types.begin(), m_types.end(), m_around.containers,
        [](std::string all, const std::string& type) { return std::move(all) + '/' + type; });
}

cl_error_t LibraryRun::Inspect(int descriptor, const Layer& layer) {
    m_entered = true;
    if (m_whole.Ended()) {
        return kEndScan;
    }
    m_types.resize(layer.level);
    m_types.emplace_back(layer.type);
    if (layer.level > 0 && (layer.attributes & LAYER_ATTRIBUTES_NORMALIZED) != 0) {
        // The same text once more, in a form that is easier to match.
        return CL_CLEAN;
    }
    m_trail.Entered(layer.level, layer.name, descriptor, layer.bytes.size());
    const bool isWholeFile = layer.level == 0 && !IsInside();
    if (isWholeFile && layer.type == kUnknownType) {
        m_whole.TypeIsUnknown();
    }
    if (!isWholeFile && !EnterMember(layer)) {
        return m_whole.Ended() ? kEndScan : kSkipLayer;
    }
    // What was handed over whole is scanned here once more for what libclamav makes of it: the
    // first of several streams perhaps, which looks like an archive cut short.
    if (m_trail.ExpectsNothing()) {
        return CL_CLEAN;
    }
    return LookInto(layer, KindOfContainer(layer.bytes));
}

// False when it is not to be looked at.
bool LibraryRun::EnterMember(const Layer& layer) {
    m_whole.Recognised();
    // A zip member is cut at the bound without an alert.
    if (layer.level > 0 && layer.bytes.size() >= static_cast<std::size_t>(kMaxFileSize)) {
        m_whole.Unread(kTooLarge);
    }
    if (layer.level > 0 && !layer.name.empty()) {
        m_whole.Announce(PathOf(m_trail.Path()));
    }
    if (m_whole.Ended()) {
        return false;
    }
    if (m_around.depth + layer.level >= static_cast<std::uint32_t>(kMaxNesting)) {
        m_whole.Unread(kTooDeep);
        return false;
    }
    return m_whole.Admit(Types(), layer.bytes, IsInside());
}

cl_error_t LibraryRun::LookInto(const Layer& layer, ContainerKind kind) {
    // With archives off, what they are made of is matched as it is.
    if (!m_whole.Profile().archives && kind != ContainerKind::Pdf) {
        return CL_CLEAN;
    }
    const LayerNews news{
        [&](const std::string& name, std::span<const std::byte> bytes) {
            return ScanInside(layer, name, bytes);
        },
        [this](std::string_view reason) { m_whole.Unread(reason); },
        [this](std::size_t members, std::size_t bytes) { m_trail.ExpectMembers(members, bytes); },
        m_whole.Room(),
    };
    if (kind == ContainerKind::None || kind == ContainerKind::Pdf) {
        LookBehind(layer, news);
    }
    if (kind != ContainerKind::None) {
        m_whole.Recognised();
        if (LookInside(kind, layer.bytes, m_whole.IsThorough(), news)) {
            m_trail.ExpectNothing();
        }
    }
    return m_whole.Ended() ? kEndScan : CL_CLEAN;
}

void LibraryRun::LookBehind(const Layer& layer, const LayerNews& news) {
    if (!m_whole.Profile().archives) {
        return;
    }
    const std::string_view text = TextOf(layer.bytes);
    const auto members = FindMembersPassedOver(text);
    if (members.encrypted) {
        m_whole.Unread(kEncrypted);
    }
    if (members.cutShort) {
        m_whole.Unread(kCutShort);
    }
    if (layer.type == kInPieces) {
        return;
    }
    if (members.packedOtherwise && !m_whole.IsThorough()) {
        m_whole.Missed();
    }
    const auto archives = FindEmbeddedArchives(text, members.packedOtherwise);
    if (archives.size() > kMostEmbedded) {
        m_whole.Unread(kTooMany);
    }
    for (const auto& [kind, offset] : archives) {
        // libclamav looks for archives in other data, but for no streams in scripts.
        const bool thorough = m_whole.IsThorough() || IsKnownStream(kind);
        LookInside(kind, layer.bytes.subspan(offset), thorough, news);
    }
}

bool LibraryRun::ScanInside(const Layer& layer, const std::string& name,
                            std::span<const std::byte> bytes) {
    if (m_whole.Ended()) {
        return false;
    }
    if (bytes.size() <= kNeverMatched) {
        return true;
    }
    Surroundings around{.depth = m_around.depth + layer.level + 1, .path = PathOf(m_trail.Path())};
    if (!IsInside()) {
        // libclamav knows of nothing around them now, and a signature may ask for that: what it
        // comes to by itself is looked at all the same.
        around.containers += '+';
    }
    around.containers += Types();
    if (!name.empty()) {
        if (!around.path.empty()) {
            around.path += '/';
        }
        around.path += name;
        m_whole.Announce(around.path);
    }
    const ScanInput member{
        .baseName = name.substr(name.rfind('/') + 1), .descriptor = -1, .size = bytes.size()};
    LibraryRun run(m_whole, member, std::move(around));
    run.Scan(cl_fmap_open_memory(bytes.data(), bytes.size()));
    return !m_whole.Ended();
}

void LibraryRun::Listed(std::string_view containerType, std::string_view name, std::size_t size,
                        std::uint32_t position) {
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
    m_whole.Found({std::string(virusName), PathOf(trail.Path())});
}

void InstallInspection(cl_engine* engine) {
    cl_engine_set_clcb_file_inspection(engine, OnInspection);
    cl_engine_set_clcb_meta(engine, OnListed);
    cl_engine_set_clcb_virus_found(engine, OnFound);
}

}  // namespace scanning
