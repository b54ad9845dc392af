#include "common/given/host.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <sys/personality.h>

#include "tests/support/scratch.h"

namespace {

TEST(GetOSDetail, NamesTheKernelAndThreeCharactersOfItsRelease) {
    char text[kOsDetailSize];
    std::memset(text, 'x', sizeof text);
    ASSERT_EQ(GetOSDetail(text), 1);
    const std::string release = ReadFile("/proc/sys/kernel/osrelease");
    ASSERT_GE(release.size(), 3U);
    EXPECT_EQ(std::string(text), std::string("Linux-") + release[0] + release[1] + release[2]);
}

TEST(GetOSDetail, CutsALongerRelease) {
    const int status = InChild([] {
        // Under this personality the kernel calls itself 2.6 with a long tail.
        if (::personality(UNAME26) < 0) {
            return 77;
        }
        char text[kOsDetailSize];
        return GetOSDetail(text) == 1 && std::strcmp(text, "Linux-2.6") == 0 ? 0 : 1;
    });
    if (status == 77) {
        GTEST_SKIP() << "the kernel does not change its personality";
    }
    EXPECT_EQ(status, 0);
}

TEST(GetOSDetail, RefusesANullBuffer) {
    EXPECT_EQ(GetOSDetail(nullptr), 0);
}

}  // namespace
