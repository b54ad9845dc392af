#include <gtest/gtest.h>

#include "tests/unit/scan/run/shell_scan.h"

// Why an engine does not load. It is written to the log in the root folder, too, so this runs in
// the sandbox.

namespace {

using EngineProblem = ShellScan;

TEST_F(EngineProblem, IsKnownUntilOneLoads) {
    EXPECT_FALSE(StartEngine("", "without_ZqScanFileEx"));
    EXPECT_EQ(m_library.Problem(), "it has no entry point ZqScanFileEx");
    EXPECT_FALSE(m_library.Load("/nowhere/scanapi.so"));
    EXPECT_EQ(m_library.Problem(),
              "/nowhere/scanapi.so: cannot open shared object file: No such file or directory");
    EXPECT_TRUE(StartEngine("", "without_ZqFilesAhead"));
    EXPECT_EQ(m_library.Problem(), "");
}

}  // namespace
