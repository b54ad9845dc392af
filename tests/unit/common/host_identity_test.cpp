#include "common/host_identity.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <iterator>
#include <pwd.h>
#include <sched.h>
#include <string>
#include <string_view>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "tests/support/scratch.h"

namespace {

constexpr int kNoNamespace = 77;
constexpr unsigned short kUntouched = 0x2323;

using Units = std::array<unsigned short, 300>;

Units Fresh() {
    Units units;
    units.fill(kUntouched);
    return units;
}

// What was written, up to the terminator; the names of the machine that runs the test are ASCII.
std::string Text(const Units& units) {
    const auto* end = std::find(units.begin(), units.end(), 0);
    EXPECT_NE(end, units.end());
    std::string text;
    std::transform(units.begin(), end, std::back_inserter(text),
                   [](unsigned short unit) { return static_cast<char>(unit); });
    return text;
}

utsname System() {
    utsname system{};
    EXPECT_EQ(::syscall(SYS_uname, &system), 0);
    return system;
}

std::string DomainOfSystem() {
    return static_cast<const char*>(System().domainname);
}

// Runs `work` in a child whose machine is called `node` in `domain`; kNoNamespace when this machine
// does not allow it.
int OnMachine(std::string_view node, std::string_view domain, const std::function<int()>& work) {
    return InChild([&] {
        const int flags = CLONE_NEWUTS | (::geteuid() == 0 ? 0 : CLONE_NEWUSER);
        if (::unshare(flags) != 0 || ::sethostname(node.data(), node.size()) != 0 ||
            ::setdomainname(domain.data(), domain.size()) != 0) {
            return kNoNamespace;
        }
        return work();
    });
}

TEST(GetDomainName, IsTheSystems) {
    const std::string expected = DomainOfSystem();
    Units out = Fresh();
    unsigned int length = 260;
    ASSERT_EQ(GetDomainName(out.data(), &length), 1);
    EXPECT_EQ(Text(out), expected);
    EXPECT_EQ(length, expected.size());
    EXPECT_EQ(out[expected.size() + 1], kUntouched);
}

TEST(GetDomainName, NeedsRoomForTheNameOnly) {
    const std::string expected = DomainOfSystem();
    if (expected.empty()) {
        GTEST_SKIP() << "this machine's domain name is empty";
    }
    Units out = Fresh();
    auto length = static_cast<unsigned int>(expected.size());
    EXPECT_EQ(GetDomainName(out.data(), &length), 1);
    EXPECT_EQ(length, expected.size());

    out = Fresh();
    --length;
    EXPECT_EQ(GetDomainName(out.data(), &length), 0);
    EXPECT_EQ(length, expected.size() - 1);
    EXPECT_EQ(out[0], kUntouched);
}

TEST(GetDomainName, FailsForNullPointers) {
    Units out = Fresh();
    unsigned int length = 260;
    EXPECT_EQ(GetDomainName(nullptr, &length), 0);
    EXPECT_EQ(GetDomainName(out.data(), nullptr), 0);
    EXPECT_EQ(length, 260U);
    EXPECT_EQ(out[0], kUntouched);
}

TEST(GetDomainName, HasRoomForTheLongestName) {
    const std::string longest(64, 'd');
    const int result = OnMachine("node", longest, [&] {
        Units out = Fresh();
        unsigned int length = 64;
        if (GetDomainName(out.data(), &length) != 1 || length != 64 || Text(out) != longest) {
            return 1;
        }
        length = 63;
        return GetDomainName(out.data(), &length) == 0 && length == 63 ? 0 : 2;
    });
    if (result == kNoNamespace) {
        GTEST_SKIP() << "this machine lets nobody name a machine";
    }
    EXPECT_EQ(result, 0);
}

TEST(GetDomainName, CountsUnitsAndKeepsEveryByte) {
    // "é" is one unit of two bytes; a byte that is no UTF-8 is a lone surrogate.
    const int result = OnMachine("node", "\xC3\xA9\xFFx", [&] {
        Units out = Fresh();
        unsigned int length = 3;
        if (GetDomainName(out.data(), &length) != 1 || length != 3) {
            return 1;
        }
        return out[0] == 0xE9 && out[1] == 0xDCFF && out[2] == 'x' && out[3] == 0 ? 0 : 2;
    });
    if (result == kNoNamespace) {
        GTEST_SKIP() << "this machine lets nobody name a machine";
    }
    EXPECT_EQ(result, 0);
}

TEST(GetTheUserName, IsTheEffectiveUsers) {
    const passwd* self = ::getpwuid(::geteuid());
    ASSERT_NE(self, nullptr);
    Units out = Fresh();
    ASSERT_EQ(GetTheUserName(out.data(), 64), 1);
    EXPECT_EQ(Text(out), self->pw_name);
}

TEST(GetTheUserName, TakesTheEffectiveUserNotTheRealOne) {
    const passwd* nobody = ::getpwuid(65'534);
    if (::getuid() != 0 || nobody == nullptr) {
        GTEST_SKIP() << "only root can become somebody else";
    }
    const std::string name = nobody->pw_name;
    EXPECT_EQ(InChild([&] {
                  Units out = Fresh();
                  return ::seteuid(65'534) == 0 && GetTheUserName(out.data(), 64) == 1 &&
                                 Text(out) == name
                             ? 0
                             : 1;
              }),
              0);
}

TEST(GetTheUserName, NeedsRoomForTheNameOnly) {
    const std::string self = ::getpwuid(::geteuid())->pw_name;
    Units out = Fresh();
    EXPECT_EQ(GetTheUserName(out.data(), static_cast<unsigned int>(self.size() - 1)), 0);
    EXPECT_EQ(GetTheUserName(out.data(), 0), 0);
    EXPECT_EQ(out[0], kUntouched);
    EXPECT_EQ(GetTheUserName(out.data(), static_cast<unsigned int>(self.size())), 1);
    EXPECT_EQ(Text(out), self);
    EXPECT_EQ(out[self.size() + 1], kUntouched);
}

TEST(GetTheUserName, FailsWithoutAName) {
    EXPECT_EQ(GetTheUserName(nullptr, 64), 0);
    if (::getuid() != 0) {
        GTEST_SKIP() << "only root can become a user without a name";
    }
    EXPECT_EQ(InChild([] {
                  Units out = Fresh();
                  return ::seteuid(3'999'999'999U) == 0 && GetTheUserName(out.data(), 64) == 0 &&
                                 out[0] == kUntouched
                             ? 0
                             : 1;
              }),
              0);
}

TEST(GetTheComputerName, IsTheNodeName) {
    const std::string expected = static_cast<const char*>(System().nodename);
    Units out = Fresh();
    ASSERT_EQ(GetTheComputerName(out.data()), 1);
    EXPECT_EQ(Text(out), expected);
    EXPECT_EQ(out[expected.size() + 1], kUntouched);
    EXPECT_EQ(GetTheComputerName(nullptr), 0);
}

TEST(GetTheComputerName, FitsItsRoom) {
    const std::string longest(64, 'n');
    const int result = OnMachine(longest, "domain", [&] {
        Units out = Fresh();
        return GetTheComputerName(out.data()) == 1 && Text(out) == longest &&
                       out[common::kComputerNameSize] == kUntouched
                   ? 0
                   : 1;
    });
    if (result == kNoNamespace) {
        GTEST_SKIP() << "this machine lets nobody name a machine";
    }
    EXPECT_EQ(result, 0);
}

}  // namespace
