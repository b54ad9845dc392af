#pragma once

#include <cstddef>
#include <cstdint>

// The library that tells other programs what has changed, "scansts.so".

/// What changed, in tagSTATUSCHANGE::what.
enum StatusChange : std::uint32_t {
    kStatusUpdateChanged = 10,  ///< the virus definitions or the update options
};

/// A change, 64 bytes.
struct tagSTATUSCHANGE {
    std::uint32_t what;  ///< StatusChange
    std::uint8_t reserved[60];
};

static_assert(sizeof(tagSTATUSCHANGE) == 64);
static_assert(offsetof(tagSTATUSCHANGE, what) == 0);
static_assert(offsetof(tagSTATUSCHANGE, reserved) == 4);

/// Tells whoever listens. The result is the library's own and is not examined. Any thread; never
/// waits.
using PFNSTSCOMMUNICATECHANGE = int (*)(tagSTATUSCHANGE* change);

inline constexpr char kStatusLibrary[] = "scansts.so";
inline constexpr char kStatusCommunicateChange[] = "StsCommunicateChange";
