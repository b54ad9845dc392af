#include "product/shellscan/path_sources.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "product/shellscan/glob_filter.h"
#include "tests/support/scratch.h"

namespace {

using shellscan::AbsolutePath;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

TEST(PathSources, PathsBecomeAbsolute) {
    EXPECT_EQ(AbsolutePath("a", "/home"), "/home/a");
    EXPECT_EQ(AbsolutePath("./a//b/.", "/home"), "/home/a/b");
    EXPECT_EQ(AbsolutePath(".", "/home"), "/home");
    EXPECT_EQ(AbsolutePath("/", "/home"), "/");
    EXPECT_EQ(AbsolutePath("//etc/", "/home"), "/etc");
    EXPECT_EQ(AbsolutePath("../a", "/home"), "/home/../a");
    EXPECT_EQ(AbsolutePath(".", "/"), "/");
    EXPECT_EQ(AbsolutePath(".hidden", "/"), "/.hidden");
}

std::vector<std::string> Listed(const std::string& bytes) {
    const ScratchFolder scratch;
    WriteFile(scratch / "list", bytes);
    const common::FileDescriptor file(::open((scratch / "list").c_str(), O_RDONLY | O_CLOEXEC));
    std::vector<std::string> paths;
    EXPECT_TRUE(shellscan::ReadPathList(
        file.Get(), [&paths](std::string_view path) { paths.emplace_back(path); }));
    return paths;
}

TEST(PathSources, AListIsReadEntryByEntry) {
    EXPECT_THAT(Listed(""), IsEmpty());
    EXPECT_THAT(Listed(std::string("\0\0", 2)), IsEmpty());
    EXPECT_THAT(Listed(std::string("a\0\0b\nc\0d", 8)), ElementsAre("a", "b\nc", "d"));
    // Across the pieces in which it is read.
    const std::string first(65535, 'x');
    EXPECT_THAT(Listed(std::string(65534, '\0') + "ab" + std::string("\0c", 2)),
                ElementsAre("ab", "c"));
}

TEST(PathSources, AnEntryThatIsTooLongIsCut) {
    EXPECT_THAT(Listed(std::string(200'000, 'x') + std::string("\0b", 2)),
                ElementsAre(std::string(PATH_MAX, 'x'), "b"));
}

TEST(PathSources, APathIsLookedAt) {
    const ScratchFolder scratch;
    WriteFile(scratch / "a", "");
    WriteFile(scratch / "b", "");
    const shellscan::GlobFilter filter({"b"});
    shellscan::PathsToScan paths;
    shellscan::AddPath(scratch / "a", filter, paths);
    shellscan::AddPath(scratch / "b", filter, paths);
    shellscan::AddPath(scratch / "c", filter, paths);
    const std::string tooLong = "/" + std::string(1023, 'x');
    shellscan::AddPath(tooLong, filter, paths);
    EXPECT_THAT(paths.paths, ElementsAre(scratch / "a"));
    EXPECT_THAT(paths.unreachable,
                ElementsAre(Pair(scratch / "c", ENOENT), Pair(tooLong, ENAMETOOLONG)));
}

}  // namespace
