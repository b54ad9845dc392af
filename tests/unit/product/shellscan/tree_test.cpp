#include <gmock/gmock.h>
#include <string>
#include <vector>

#include "tests/unit/product/shellscan/run_scan.h"

// Which files are scanned: large trees, lists of paths, what is left out.

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(ShellScanProgram, TenThousandFilesAreEachScannedOnce) {
    constexpr int kFiles = 10'000;
    for (int i = 0; i < kFiles; ++i) {
        if (i % 100 == 0) {
            std::filesystem::create_directory(Tree("/d" + std::to_string(i / 100)));
        }
        WriteFile(Tree("/d" + std::to_string(i / 100) + "/" + std::to_string(i)), "x");
    }
    m_engine.SetScript("say 1001 0 0 V */77*\nsay 1005 0 0 - */88*\n");
    const Result result = Run({"--format=json", Tree()});
    EXPECT_EQ(result.status, 1);
    // 77, 770 to 779 and 7700 to 7799, and the same with 88; a folder's own name is not a file's.
    EXPECT_THAT(result.output, HasSubstr("\"scanned\":10000,\"infected\":111,"));
    EXPECT_THAT(result.output, HasSubstr("\"unread\":111,"));
    std::vector<std::string> opened = Opened();
    std::sort(opened.begin(), opened.end());
    EXPECT_EQ(opened.size(), static_cast<std::size_t>(kFiles));
    EXPECT_EQ(std::unique(opened.begin(), opened.end()), opened.end());
}

TEST_F(ShellScanProgram, ReadsPathsFromStandardInput) {
    WriteFile(Tree("/one"), "x");
    WriteFile(Tree("/two\nlines"), "x");
    const Result result = Run({.arguments = {"--files-from", "-", Tree("/one")},
                               .input = Tree("/two\nlines") + std::string("\0\0", 2) + "one" +
                                        std::string("\0", 1) + "two\nlines",
                               .folder = Tree()});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(Opened(), ElementsAre(Tree("/one"), Tree("/two%0Alines"), Tree("/one"),
                                      Tree("/two%0Alines")));
}

TEST_F(ShellScanProgram, ReadsPathsFromAFile) {
    WriteFile(Tree("/one"), "x");
    WriteFile(m_scratch / "list", Tree("/one") + std::string("\0", 1));
    EXPECT_EQ(Run({"--files-from", m_scratch / "list"}).status, 0);
    EXPECT_THAT(Opened(), ElementsAre(Tree("/one")));
}

TEST_F(ShellScanProgram, AnEmptyListScansNothing) {
    const Result result = Run(ScanStart{.arguments = {"--files-from=-"}});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("Total Files Scanned   = 0\n"));
    EXPECT_THAT(Opened(), IsEmpty());
}

TEST_F(ShellScanProgram, AListOfGarbageIsSaidEntryByEntry) {
    WriteFile(Tree("/one"), "x");
    std::string garbage;
    unsigned int state = 1;
    for (int i = 0; i < 20'000; ++i) {
        state = state * 1103515245U + 12345U;
        const auto byte = static_cast<char>(state >> 16);
        garbage += byte == '/' || byte == '.' ? 'g' : byte;
    }
    const std::string end("\0", 1);
    const Result result =
        Run({.arguments = {"--files-from=-"},
             .input = garbage + end + std::string(100'000, 'l') + end + Tree("/one") + end});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(Opened(), ElementsAre(Tree("/one")));
    EXPECT_THAT(result.errors, HasSubstr("lll: File name too long\n"));
    // One line for each entry, whatever is in it.
    std::size_t entries = 0;
    for (std::size_t at = 0; at < garbage.size();) {
        const std::size_t next = std::min(garbage.find('\0', at), garbage.size());
        entries += next > at ? 1 : 0;
        at = next + 1;
    }
    EXPECT_EQ(
        static_cast<std::size_t>(std::count(result.errors.begin(), result.errors.end(), '\n')),
        entries + 1);
}

TEST_F(ShellScanProgram, LeavesOutWhatIsExcluded) {
    std::filesystem::create_directory(Tree("/cache"));
    std::filesystem::create_directory(Tree("/d"));
    for (const char* name : {"/cache/a", "/d/b.iso", "/d/c", "/e.iso", "/d/.hidden.iso"}) {
        WriteFile(Tree(name), "x");
    }
    ASSERT_EQ(Run({"--exclude", "*.iso", "--exclude", "*/cache", Tree(), Tree("/e.iso")}).status,
              0);
    EXPECT_THAT(Opened(), ElementsAre(Tree("/d/c")));
}

}  // namespace
