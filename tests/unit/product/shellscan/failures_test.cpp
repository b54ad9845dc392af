#include <array>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/shellscan/run_scan.h"

// What keeps a scan from running, and how it is said.

namespace fs = std::filesystem;

namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

TEST_F(ShellScanProgram, WithoutAnEngineItCannotRun) {
    fs::remove(m_application / "scanapi.so");
    const Result result = Run({Tree()});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "");
    const std::string engine = m_application / "scanapi.so";
    EXPECT_EQ(result.errors, "corvane-scan: the scan engine " + engine +
                                 " cannot be used: " + engine +
                                 ": cannot open shared object file: No such file or directory\n");
}

TEST_F(ShellScanProgram, AnEngineThatLacksAnEntryPointIsSaid) {
    for (const char* symbol : {"ZqInitScan", "ZqScanFileEx", "ZqResetFPTFlags"}) {
        UseEngine(std::string("without_") + symbol);
        const Result result = Run({Tree()});
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.errors, "corvane-scan: the scan engine " + (m_application / "scanapi.so") +
                                     " cannot be used: it has no entry point " + symbol + "\n");
    }
}

TEST_F(ShellScanProgram, AnEngineThatDoesNotStartIsSaid) {
    for (const char* script : {"init 0\n", "setcallback 0\n", "throw ZqInitScan\n"}) {
        m_engine.SetScript(script);
        const Result result = Run({Tree()});
        EXPECT_EQ(result.status, 3) << script;
        EXPECT_EQ(result.errors,
                  "corvane-scan: the scan engine did not start: it may have no virus definitions; "
                  "/zqcommon.log says more\n");
        EXPECT_EQ(result.output, "");
    }
}

TEST_F(ShellScanProgram, WithoutDefinitionsNothingIsCalledClean) {
    WriteFile(Tree("/a"), "x");
    WriteFile(Tree("/b"), "x");
    m_engine.SetScript("say 1005 0 0 no%20database%20was%20loaded *\n");
    const Result result = Run({Tree()});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors, "corvane-scan: there are no virus definitions that can be used\n");
    EXPECT_EQ(Opened().size(), 1U);
    EXPECT_THAT(result.output, HasSubstr("Scan Interrupted.\n"));
}

TEST_F(ShellScanProgram, AFullDiskBehindTheOutputEndsTheScan) {
    for (const char* name : {"/a", "/b", "/c"}) {
        WriteFile(Tree(name), "x");
    }
    m_engine.SetScript("say 1001 0 0 V *\nafter 1001 2002 3003\n");
    const common::FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    for (const char* format : {"--format=text", "--format=json"}) {
        const Result result =
            Run({.arguments = {"--action=delete", format, Tree()}, .output = full.Get()});
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.errors,
                  "corvane-scan: the report could not be written: No space left on device\n");
    }
    // It was known before the first file.
    EXPECT_THAT(m_engine.Calls("callback"), IsEmpty());
    for (const char* option : {"--help", "--version"}) {
        const Result result = Run({.arguments = {option}, .output = full.Get()});
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.errors, "corvane-scan: the output could not be written\n");
    }
    // Who wants no report needs no room for it.
    EXPECT_EQ(Run({.arguments = {"--quiet", Tree()}, .output = full.Get()}).status, 1);
}

TEST_F(ShellScanProgram, APipeThatNobodyReadsEndsTheScan) {
    WriteFile(Tree("/a"), "x");
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ::close(ends[0]);
    const common::FileDescriptor output(ends[1]);
    const Result result = Run({.arguments = {Tree()}, .output = output.Get()});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors, "corvane-scan: the report could not be written: Broken pipe\n");
}

TEST_F(ShellScanProgram, WithoutAStandardOutputNothingElseIsOverwritten) {
    WriteFile(Tree("/bad"), "x");
    m_engine.SetScript("say 1001 0 0 V *\nafter 1001 2002 3003\n");
    const Result result = Run({.arguments = {"--action=delete", Tree()}, .output = -1});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors,
              "corvane-scan: the report could not be written: Bad file descriptor\n");
}

TEST_F(ShellScanProgram, AListThatCannotBeReadIsSaid) {
    const Result result = Run({"--files-from", Tree(), Tree()});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors, "corvane-scan: the list of files \"" + Tree() +
                                 "\" cannot be read: Is a directory\n");
    EXPECT_THAT(m_engine.Calls(), IsEmpty());
}

TEST_F(ShellScanProgram, AnEngineThatThrowsEndsNoScan) {
    WriteFile(Tree("/a"), "x");
    m_engine.SetScript("throw ZqScanFileEx\nthrow ZqSetOptions\nthrow ZqDeinitScan\n");
    const Result result = Run({Tree()});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("Total Files Scanned   = 1\n"));
}

}  // namespace
