#pragma once

#include <cstddef>
#include <cstdint>

#include "abi/system_time.h"

/// The head of the administrator's link file "admnlink.dat", as it is before scrambling.
struct tagADMNURLRECORD {
    std::uint16_t kind;     ///< kAdminRecordKind
    tagSYSTEMTIME created;  ///< local; day of week 0 = Sunday
    // Nothing here looks at these four; files of the product hold the values named below, 0 in the
    // others.
    std::uint16_t value18;
    std::uint16_t value20;
    std::uint16_t value22;
    std::uint16_t value24;
    std::uint16_t addressCount;
    std::uint8_t reserved[14];
    char folders[2][256];  ///< the first and the second folder text, each terminated
};

static_assert(sizeof(tagADMNURLRECORD) == 554);
static_assert(offsetof(tagADMNURLRECORD, kind) == 0);
static_assert(offsetof(tagADMNURLRECORD, created) == 2);
static_assert(offsetof(tagADMNURLRECORD, value18) == 18);
static_assert(offsetof(tagADMNURLRECORD, value20) == 20);
static_assert(offsetof(tagADMNURLRECORD, value22) == 22);
static_assert(offsetof(tagADMNURLRECORD, value24) == 24);
static_assert(offsetof(tagADMNURLRECORD, addressCount) == 26);
static_assert(offsetof(tagADMNURLRECORD, reserved) == 28);
static_assert(offsetof(tagADMNURLRECORD, folders) == 42);
static_assert(offsetof(tagADMNURLRECORD, folders[1]) == 298);

namespace update {

inline constexpr std::uint16_t kAdminRecordKind = 1;
inline constexpr std::uint16_t kAdminRecordValue18 = 20;
inline constexpr std::uint16_t kAdminRecordValue22 = 56;

}  // namespace update
