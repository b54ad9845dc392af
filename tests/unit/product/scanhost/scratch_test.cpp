#include "product/scanhost/scratch.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <vector>

#include "product/scanhost/confinement.h"
#include "product/scanwire/switches.h"
#include "tests/support/scratch.h"

namespace scanhost {
namespace {

std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename());
    }
    return names;
}

TEST(ScratchSize, IsAShareOfHalfTheMemoryWithinBounds) {
    EXPECT_EQ(ScratchSizeMiB(64000, 2), 1024U);
    EXPECT_EQ(ScratchSizeMiB(2800, 2), 700U);
    EXPECT_EQ(ScratchSizeMiB(2800, 1), 1024U);
    EXPECT_EQ(ScratchSizeMiB(1000, 2), 512U);
    EXPECT_EQ(ScratchSizeMiB(0, 0), 512U);
}

TEST(ScratchSize, KnowsTheMemoryOfThisMachine) {
    const auto available = AvailableMemoryMiB();
    EXPECT_GT(available, 0U);
    EXPECT_LT(available, 1U << 24U);
}

TEST(MemoryScratch, IsEmptyBoundedAndTheOnlyFileSystem) {
    const int result = InChild([] {
        if (EnterMemoryScratch(600, geteuid(), getegid()) != 0) {
            return 200;
        }
        struct statvfs room {};
        struct stat status {};
        return statvfs(".", &room) != 0                                       ? 1
               : room.f_blocks * room.f_frsize != std::uint64_t{600} << 20U   ? 2
               : stat(".", &status) != 0 || (status.st_mode & 07777U) != 0700 ? 3
               : status.st_uid != geteuid() || status.st_gid != getegid()     ? 4
               : !NamesIn("/").empty()                                        ? 5
               : !NamesIn("..").empty()                                       ? 6
               : (room.f_flag & (ST_NOEXEC | ST_NOSUID | ST_NODEV)) !=
                       (ST_NOEXEC | ST_NOSUID | ST_NODEV)
                   ? 7
               : mkdir("folder", 0700) != 0 ? 8
                                            : 0;
    });
    if (result == 200) {
        GTEST_SKIP() << "this machine allows no memory file system of one's own";
    }
    EXPECT_EQ(result, 0);
    EXPECT_EQ(ReadFile("/proc/self/mounts").find(" /folder"), std::string::npos);
}

TEST(MemoryScratch, IsFullAtItsSize) {
    const int result = InChild([] {
        if (EnterMemoryScratch(1, geteuid(), getegid()) != 0) {
            return 200;
        }
        const std::string half(std::size_t{512} << 10U, 'x');
        const int fd = open("file", O_WRONLY | O_CREAT, 0600);
        int halves = 0;
        while (write(fd, half.data(), half.size()) == static_cast<ssize_t>(half.size())) {
            ++halves;
        }
        return halves == 2 && errno == ENOSPC ? 0 : 1;
    });
    if (result == 200) {
        GTEST_SKIP() << "this machine allows no memory file system of one's own";
    }
    EXPECT_EQ(result, 0);
}

/// Without a memory file system of the worker's own.
class FoldersTest : public testing::Test {
protected:
    std::unique_ptr<Confinement> Prepared() {
        std::string why;
        auto made = Confinement::Prepare(
            {.switches = scanwire::kNoOwnScratch, .workers = 2, .scratchBase = m_base.Path()}, why);
        EXPECT_NE(made, nullptr) << why;
        return made;
    }
    ScratchFolder m_base;
};

TEST_F(FoldersTest, EachWorkerHasOneForItselfThatTheHostClears) {
    const auto confinement = Prepared();
    const auto above = NamesIn(m_base.Path());
    ASSERT_EQ(above.size(), 1U);
    EXPECT_TRUE(above.front().starts_with("corvane-scan-"));
    const std::string folder = m_base / above.front();
    EXPECT_EQ(ModeOf(folder), 0700U);
    const auto unpack = [&](unsigned int worker) {
        const pid_t host = getpid();
        return InChild([&] {
            return confinement->Enter(worker, host).empty() && mkdir("inner", 0700) == 0 &&
                           open("inner/file", O_WRONLY | O_CREAT, 0600) >= 0
                       ? 0
                       : 1;
        });
    };
    EXPECT_EQ(unpack(0), 0);
    EXPECT_EQ(unpack(1), 0);
    const auto both = NamesIn(folder);
    ASSERT_EQ(both.size(), 2U);
    const std::string& first = both[both[0].starts_with("worker-0-") ? 0 : 1];
    const std::string& second = both[both[0].starts_with("worker-0-") ? 1 : 0];
    EXPECT_TRUE(first.starts_with("worker-0-")) << first;
    EXPECT_TRUE(second.starts_with("worker-1-")) << second;
    EXPECT_TRUE(Exists(folder + '/' + first + "/inner/file"));
    EXPECT_EQ(ModeOf(folder + '/' + first), 0700U);
    EXPECT_EQ(unpack(0), 0) << "a successor whose predecessor's folder could not be removed";
    EXPECT_EQ(NamesIn(folder).size(), 3U);
    confinement->Clear(0);
    EXPECT_EQ(NamesIn(folder), (std::vector<std::string>{second}));
    EXPECT_EQ(unpack(0), 0) << "its successor";
}

TEST_F(FoldersTest, AreGoneWithTheHost) {
    Prepared();
    EXPECT_TRUE(NamesIn(m_base.Path()).empty());
}

TEST_F(FoldersTest, OfAKilledHostAreSweptByTheNext) {
    ASSERT_EQ(InChild([this] {
                  const auto* const leaked = Prepared().release();
                  const pid_t host = getpid();
                  return InChild([&] { return leaked->Enter(0, host).empty() ? 0 : 1; });
              }),
              0);
    const auto left = NamesIn(m_base.Path());
    ASSERT_EQ(left.size(), 1U);
    const auto next = Prepared();
    const auto now = NamesIn(m_base.Path());
    ASSERT_EQ(now.size(), 1U);
    EXPECT_NE(now, left);
}

TEST_F(FoldersTest, OfALivingHostAreLeftAlone) {
    const auto first = Prepared();
    const auto second = Prepared();
    EXPECT_EQ(NamesIn(m_base.Path()).size(), 2U);
}

}  // namespace
}  // namespace scanhost
