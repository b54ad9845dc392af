#include "common/version_texts.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "common/times.h"

namespace common {

VersionTexts TextsOf(const tagZQVERINFO& version) {
    std::array<char, 32> number{};
    (void)std::snprintf(number.data(), number.size(), "  %u.%02u", unsigned{version.major},
                        unsigned{version.minor});
    std::tm date{};
    SystemTimeToTm(&version.databaseDate, &date);
    return {number.data(), FormatTime("  %d %B %Y", date), FormatTime(" [%T]", date)};
}

}  // namespace common
