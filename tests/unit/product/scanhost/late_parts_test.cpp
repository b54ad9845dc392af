#include "product/scanhost/late_parts.h"

#include <ctime>
#include <gtest/gtest.h>
#include <iconv.h>

#include "product/scanhost/confinement.h"
#include "tests/support/scratch.h"

namespace scanhost {
namespace {

bool Converts(const char* to, const char* from) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): how the library says that it could not
    return iconv_open(to, from) != reinterpret_cast<iconv_t>(-1);
}

/// What `look` gives in a worker whose host did `before`.
int InWorkerAfter(void (*before)(), int (*look)()) {
    return InChild([&] {
        before();
        std::string why;
        const auto confinement = Confinement::Prepare({}, why);
        const pid_t host = getpid();
        return InChild([&] { return confinement->Enter(0, host).empty() ? look() : 200; });
    });
}

TEST(LateParts, TablesOfCharacterSetsAreThereInAWorker) {
    if (!InChild([] { return Converts("UTF-8", "SHIFT_JIS") ? 1 : 0; })) {
        GTEST_SKIP() << "this machine has no tables of character sets";
    }
    const auto look = [] {
        return !Converts("UTF-8", "SHIFT_JIS")         ? 1
               : !Converts("UTF-8//TRANSLIT", "CP949") ? 2
               : !Converts("UTF-16BE", "WINDOWS-1252") ? 3
               : !Converts("UCS-4", "KOI8-R")          ? 4
               : !Converts("UTF-8", "UTF-16LE")        ? 5
                                                       : 0;
    };
    EXPECT_EQ(InWorkerAfter(&OpenLateParts, look), 0);
    EXPECT_EQ(InWorkerAfter([] {}, look), 1) << "they are not late at all";
}

TEST(LateParts, TheTimeZoneIsThereInAWorker) {
    const auto look = [] {
        const std::time_t winter = 0;
        tm local{};
        localtime_r(&winter, &local);
        return local.tm_gmtoff == -5L * 3600 ? 0 : 1;
    };
    const auto inNewYork = [] {
        setenv("TZ", "America/New_York", 1);
        OpenLateParts();
    };
    if (!Exists("/usr/share/zoneinfo/America/New_York")) {
        GTEST_SKIP() << "this machine has no time zones";
    }
    EXPECT_EQ(InWorkerAfter(inNewYork, look), 0);
    EXPECT_EQ(InWorkerAfter([] { setenv("TZ", "America/New_York", 1); }, look), 1);
}

}  // namespace
}  // namespace scanhost
