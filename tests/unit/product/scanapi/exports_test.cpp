#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <string>

#include "tests/support/command_output.h"

namespace {

TEST(ExportsTest, TheLibraryShowsItsTenNamesAndNothingElse) {
    std::istringstream lines(OutputOf("nm -D --defined-only " SCANAPI_LIBRARY));
    std::set<std::string> names;
    std::string address;
    std::string kind;
    std::string name;
    while (lines >> address >> kind >> name) {
        EXPECT_EQ(kind, "T") << name;
        names.insert(name);
    }
    EXPECT_EQ(names,
              (std::set<std::string>{"ZqInitScan", "ZqDeinitScan", "ZqGetAPIVersion",
                                     "ZqSetCallBack", "ZqSetOptions", "ZqOpenFile", "ZqCloseFile",
                                     "ZqScanFileEx", "ZqResetFPTFlags", "ZqFilesAhead"}));
}

}  // namespace
