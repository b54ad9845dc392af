#include "product/scanning/library_scan.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <unistd.h>
#include <vector>

#include "product/scanning/detection_kind.h"
#include "product/scanning/layer_trail.h"

namespace scanning {

namespace {

struct Hit {
    std::string name;
    std::string member;
};

// Archives from which, when they can be read, at least the name of a member comes.
bool HasListing(std::string_view type) {
    return type.starts_with("CL_TYPE_RAR") || type == "CL_TYPE_ZIP" || type == "CL_TYPE_7Z";
}

/// What one scan's callbacks share. The library hands it back to each of them.
struct ScanContext {
    const ScanInput& file;
    const ScanProfile& profile;
    const OnMember& onMember;
    LayerTrail trail{};
    std::vector<Hit> hits{};
    std::optional<std::uint32_t> sealedLevel{};  ///< of an archive that nothing came out of so far
    bool sealed = false;                         ///< such an archive was left unread
    bool cutMember = false;                      ///< a member was unpacked in part only
    bool entered = false;                        ///< the library began to look at the file
    bool libraryFailed = false;                  ///< it complained of an error of its own
    bool passedOver = false;
    bool stopped = false;  ///< whoever is told of members wants no more
    bool readFailed = false;
    bool broken = false;   ///< a callback ran out of memory
    bool announce = true;  ///< members are told of once, also when a file is scanned twice

    // An archive whose listing is cut off, or whose reader is a library of its own that is not
    // installed, is passed over without a word.
    void Unseal(std::uint32_t level, std::string_view type) {
        sealed = sealed || (sealedLevel && level <= *sealedLevel);
        sealedLevel.reset();
        if (HasListing(type) && profile.archives) {
            sealedLevel = level;
        }
    }
    [[nodiscard]] bool Ended() const { return passedOver || broken || stopped; }
};

struct MapCloser {
    void operator()(cl_fmap_t* map) const { cl_fmap_close(map); }
};
using MapOwner = std::unique_ptr<cl_fmap_t, MapCloser>;

// Files of at most this size are clean to the library unread.
constexpr std::size_t kNeverMatched = 5;

constexpr std::string_view kUnknownType = "CL_TYPE_BINARY_DATA";

bool IsZipType(std::string_view type) {
    return type == "CL_TYPE_ZIP" || type.starts_with("CL_TYPE_OOXML");
}

std::string_view TextOf(const char* text) {
    return text == nullptr ? std::string_view() : std::string_view(text);
}

// Ends the scan: the library takes CL_VIRUS as a detection, which Judge() drops.
constexpr cl_error_t kEndScan = CL_VIRUS;

struct Layer {
    std::string_view type;
    std::string_view name;
    std::size_t size;
    std::uint32_t level;
    std::uint32_t attributes;
};

cl_error_t Inspect(ScanContext& context, int descriptor, const Layer& layer) {
    const auto& [type, name, size, level, attributes] = layer;
    context.entered = true;
    if (context.Ended()) {
        return kEndScan;
    }
    context.Unseal(level, type);
    if (level == 0) {
        context.trail.Entered(0, {}, descriptor);
        context.passedOver = type == kUnknownType && !context.profile.unknownTypes;
        return context.Ended() ? kEndScan : CL_CLEAN;
    }
    if ((attributes & LAYER_ATTRIBUTES_NORMALIZED) != 0) {
        // The same text once more, in a form that is easier to match.
        return CL_CLEAN;
    }
    // A zip member is cut at the bound without an alert.
    context.cutMember = context.cutMember || size >= static_cast<std::size_t>(kMaxFileSize);
    context.trail.Entered(level, name, descriptor);
    if (!name.empty() && context.announce && context.onMember) {
        context.stopped = !context.onMember(context.trail.Path());
    }
    return context.stopped ? kEndScan : CL_CLEAN;
}

cl_error_t OnInspection(int descriptor, const char* type, const char** /*ancestors*/,
                        std::size_t /*parentSize*/, const char* name, std::size_t size,
                        const char* /*bytes*/, std::uint32_t level, std::uint32_t attributes,
                        void* opaque) {
    auto& context = *static_cast<ScanContext*>(opaque);
    try {
        return Inspect(context, descriptor, {TextOf(type), TextOf(name), size, level, attributes});
    } catch (...) {
        context.broken = true;
        return kEndScan;
    }
}

cl_error_t OnListed(const char* containerType, unsigned long /*containerSize*/, const char* name,
                    unsigned long size, int /*encrypted*/, unsigned int position, void* opaque) {
    auto& context = *static_cast<ScanContext*>(opaque);
    try {
        context.sealedLevel.reset();
        context.trail.Listed(TextOf(name));
        // A zip member that is damaged, or packed in a way that the library does not know, is
        // passed over in silence.
        if (IsZipType(TextOf(containerType)) && size > kNeverMatched) {
            context.trail.Expect(position);
        }
    } catch (...) {
        context.broken = true;
    }
    return context.Ended() ? kEndScan : CL_CLEAN;
}

void OnFound(int descriptor, const char* virusName, void* opaque) {
    auto& context = *static_cast<ScanContext*>(opaque);
    if (context.Ended()) {
        return;
    }
    try {
        LayerTrail trail = context.trail;
        trail.BackTo(descriptor);
        context.hits.push_back({std::string(TextOf(virusName)), trail.Path()});
    } catch (...) {
        context.broken = true;
    }
}

off_t OnRead(void* opaque, void* buffer, std::size_t count, off_t offset) {
    auto& context = *static_cast<ScanContext*>(opaque);
    while (!context.stopped) {
        const auto got = pread(context.file.descriptor, buffer, count, offset);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        // The end of the file before its known size: it was cut short under the scan.
        context.readFailed = context.readFailed || got < 0 || (got == 0 && count > 0);
        return got;
    }
    errno = ECANCELED;
    return -1;
}

cl_error_t Run(const cl_engine* engine, cl_fmap_t* map, std::uint32_t extraGeneral,
               ScanContext& context) {
    cl_scan_options options = LibraryOptions(context.profile);
    options.general |= extraGeneral;
    const char* virusName = nullptr;
    unsigned long scanned = 0;
    const auto result = cl_scanmap_callback(map, context.file.baseName.c_str(), &virusName,
                                            &scanned, engine, &options, &context);
    if (result == CL_VIRUS && context.hits.empty() && virusName != nullptr && !context.Ended()) {
        context.hits.push_back({virusName, {}});
    }
    return result;
}

bool IsReported(const ScanContext& context, const Hit& hit) {
    return !MeansNotWholeScanned(hit.name) && (context.profile.unwanted || !IsUnwanted(hit.name));
}

// The library calls many a file clean that it did not look at, or not to the end. Why this one is
// not to be called so; empty when it was scanned whole.
std::string WhyUnread(const ScanContext& context, cl_error_t result) {
    const auto limited = std::find_if(context.hits.begin(), context.hits.end(), [](const Hit& hit) {
        return MeansNotWholeScanned(hit.name);
    });
    if (limited != context.hits.end()) {
        const bool isEncrypted = limited->name.starts_with("Heuristics.Encrypted.");
        return isEncrypted ? "encrypted" : "beyond the limits of a scan";
    }
    if (context.readFailed) {
        return "it could not be read to its end";
    }
    if (context.broken) {
        return "no memory";
    }
    if (context.cutMember) {
        return "a member is too large";
    }
    if (context.sealed || context.sealedLevel || !context.trail.AllEntered()) {
        return "an archive could not be read whole";
    }
    if (result != CL_CLEAN && result != CL_VIRUS) {
        return cl_strerror(result);
    }
    // Without room to unpack it is not even looked at. The smallest files never are: nothing known
    // is as small as that.
    if (!context.entered && context.file.size > kNeverMatched) {
        return "no room to unpack";
    }
    return context.libraryFailed ? "the scan met an error" : "";
}

ScanOutcome Judge(ScanContext& context, cl_error_t result) {
    if (context.passedOver) {
        return {Verdict::PassedOver, {}, {}};
    }
    const auto hit = std::find_if(context.hits.begin(), context.hits.end(),
                                  [&](const Hit& each) { return IsReported(context, each); });
    if (hit != context.hits.end()) {
        return {Verdict::Infected, std::move(hit->name), std::move(hit->member)};
    }
    if (context.stopped) {
        return {Verdict::Stopped, {}, {}};
    }
    std::string reason = WhyUnread(context, result);
    return {.verdict = reason.empty() ? Verdict::Clean : Verdict::Unreadable,
            .reason = std::move(reason)};
}

template <typename MapMaker>
ScanOutcome ScanMapped(const cl_engine* engine, const ScanProfile& profile, const ScanInput& file,
                       const OnMember& onMember, MapMaker makeMap) {
    ScanContext context{file, profile, onMember};
    {
        const MapOwner map(makeMap(context));
        if (map == nullptr) {
            return {Verdict::Unreadable, {}, {}};
        }
        const auto result = Run(engine, map.get(), 0, context);
        const bool onlyUnwanted = result == CL_VIRUS && !context.Ended() && !profile.unwanted &&
                                  !context.hits.empty() &&
                                  std::all_of(context.hits.begin(), context.hits.end(),
                                              [](const Hit& hit) { return IsUnwanted(hit.name); });
        if (!onlyUnwanted) {
            return Judge(context, result);
        }
    }
    // The unwanted program that nobody asked about may have hidden what was found after it.
    context.announce = false;
    context.trail = {};
    const MapOwner map(makeMap(context));
    if (map == nullptr) {
        return {Verdict::Unreadable, {}, {}};
    }
    return Judge(context, Run(engine, map.get(), CL_SCAN_GENERAL_ALLMATCHES, context));
}

}  // namespace

void InstallScanCallbacks(cl_engine* engine) {
    cl_engine_set_clcb_file_inspection(engine, OnInspection);
    cl_engine_set_clcb_meta(engine, OnListed);
    cl_engine_set_clcb_virus_found(engine, OnFound);
}

ScanOutcome ScanBytes(const cl_engine* engine, const ScanProfile& profile, const ScanInput& file,
                      std::span<const std::byte> bytes, const OnMember& onMember) {
    return ScanMapped(engine, profile, file, onMember, [bytes](ScanContext&) {
        return cl_fmap_open_memory(bytes.data(), bytes.size());
    });
}

ScanOutcome ScanDescriptor(const cl_engine* engine, const ScanProfile& profile,
                           const ScanInput& file, const OnMember& onMember) {
    return ScanMapped(engine, profile, file, onMember, [&file](ScanContext& context) {
        // Without aging: pages that it let go of come back as "changed" and are then not scanned.
        constexpr int kKeepPages = 0;
        return cl_fmap_open_handle(&context, 0, file.size, OnRead, kKeepPages);
    });
}

void SilenceLibrary() {
    cl_set_clcb_msg([](cl_msg severity, const char*, const char*, void* opaque) {
        if (severity == CL_MSG_ERROR && opaque != nullptr) {
            static_cast<ScanContext*>(opaque)->libraryFailed = true;
        }
    });
}

}  // namespace scanning
