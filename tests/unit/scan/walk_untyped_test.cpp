#include <atomic>
#include <cstddef>
#include <cstdint>
#include <dirent.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "scan/run/directory_walker.h"
#include "scan/run/file_count.h"
#include "tests/unit/scan/hostile_tree.h"

// Walks of a file system that lists names without their types, as some do.

namespace {

int typesTaken = 0;

}  // namespace

// The linker sends the program's calls of getdents64 to the first, which hands them on (--wrap).
ssize_t UntypedEntries(int directory, void* buffer, std::size_t size) asm("__wrap_getdents64");
ssize_t RealEntries(int directory, void* buffer, std::size_t size) asm("__real_getdents64");
ssize_t UntypedEntries(int directory, void* buffer, std::size_t size) {
    const ssize_t filled = RealEntries(directory, buffer, size);
    for (ssize_t position = 0; position < filled;) {
        auto* entry = reinterpret_cast<dirent64*>(static_cast<char*>(buffer) + position);
        entry->d_type = DT_UNKNOWN;
        ++typesTaken;
        position += entry->d_reclen;
    }
    return filled;
}

namespace {

using ::testing::UnorderedElementsAre;

class Collector : public WalkVisitor {
public:
    bool GoOn(const char* /*directory*/) override { return true; }
    void OnFile(const char* path) override { m_files.emplace_back(path); }
    std::vector<std::string> m_files;
};

TEST(UntypedWalk, LooksAtEachEntryItself) {
    const ScratchFolder scratch;
    const std::string top = scratch / "top";
    MakeFolder(top);
    MakeFolder(top + "/below");
    WriteFile(top + "/a", "x");
    WriteFile(top + "/below/b", "x");
    MakeFifo(top + "/fifo");
    MakeSocket(top + "/socket");
    MakeLink("a", top + "/link");
    MakeLink("/", top + "/rootlink");
    Collector collector;
    EXPECT_EQ(DirectoryWalker(collector).Walk(top.c_str()), kWalkDone);
    EXPECT_THAT(collector.m_files, UnorderedElementsAre(top + "/a", top + "/below/b"));
    EXPECT_GT(typesTaken, 7) << "the entries kept their types";

    const std::atomic<bool> stop{false};
    std::atomic<std::uint64_t> total{0};
    EXPECT_EQ(CountFiles(top.c_str(), stop, total), kWalkDone);
    EXPECT_EQ(total, 2U);
}

}  // namespace
