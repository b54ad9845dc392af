#include <fcntl.h>
#include <gmock/gmock.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/product/shellscan/run_scan.h"

// What a service that starts a scan gets of it.

namespace {

using common::FileDescriptor;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

class ForAService : public ShellScanProgram {
protected:
    void SetUp() override {
        ShellScanProgram::SetUp();
        if (!IsSkipped()) {
            WriteFile(Tree("/bad\xff\n"), "x");
            m_engine.SetScript("say 1001 0 0 V *\nafter 1001 2002 3003\n");
        }
    }

    [[nodiscard]] FileDescriptor NewFile(int flags = O_RDWR) const {
        return FileDescriptor(::open(m_report.c_str(), flags | O_CREAT | O_CLOEXEC, 0600));
    }

    // Runs it with the file as its descriptor 7.
    [[nodiscard]] Result RunWith(const FileDescriptor& file,
                                 std::vector<std::string> arguments) const {
        arguments.push_back(Tree());
        return Run({.arguments = std::move(arguments), .descriptors = {{file.Get(), 7}}});
    }

    const std::string m_report = m_scratch / "report";
};

TEST_F(ForAService, TheReportIsThatOfAScheduledScan) {
    const Result result = RunWith(NewFile(), {"--report-descriptor=7", "--quiet", "--action=delete",
                                              "--report-note", "This scan was due at 07:00."});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output + result.errors, "");
    const std::string report = ReadFile(m_report);
    // The settings by the ids of their texts, where there is no catalogue.
    EXPECT_THAT(report, StartsWith(std::string(71, '-') + "\n\nschddmn_msg_rptformscan\n"));
    EXPECT_THAT(report, HasSubstr("schddmn_msg_scannersetting\n\n"
                                  "- schddmn_msg_scanpacked: schddmn_str_on\n"
                                  "- schddmn_str_scanarchive: schddmn_str_on\n"
                                  "- schddmn_str_scanadware: schddmn_str_on\n"
                                  "- schddmn_str_dumpscan: schddmn_str_off\n\n"
                                  "schddmn_str_actiononvirus\n- schscan_msg_delete\n\n"));
    EXPECT_THAT(report,
                HasSubstr("---\nThis scan was due at 07:00.\n\nScanning: " + Tree() +
                          "\n\nScanning: " + Tree("/bad\xff\n") + "\nInfected: V\n[Deleted]\n---"));
    EXPECT_THAT(report, HasSubstr("Scan Complete.\n\n"));
    EXPECT_THAT(report, HasSubstr("schddmn_str_totalfilescanned   = 1\n"
                                  "schddmn_str_totalvirusfound     = 1\n"
                                  "schddmn_str_totalfilesrepaired  = 0\n"
                                  "schddmn_str_totalfilesdeleted   = 1\n"
                                  "schddmn_str_totalfilesskipped   = 0\n"
                                  "schddmn_str_totalioerror      = 0\n"));
    EXPECT_THAT(report, EndsWith("** schddmn_str_reportend **\r\n"));
    EXPECT_EQ(ModeOf(m_report), 0644U);
}

TEST_F(ForAService, TheResultIsOneLine) {
    const Result result =
        RunWith(NewFile(), {"--result-descriptor", "7", "--quiet", "--action=delete", "/none"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(ReadFile(m_report),
                MatchesRegex("scanned=1 infected=1 unread=1 deleted=1 repaired=0 stopped=0 "
                             "seconds=[0-9]+\n"));
}

TEST_F(ForAService, AStopIsInTheResult) {
    m_engine.SetScript("hold " + (m_scratch / "gate") + " *\n");
    const FileDescriptor file = NewFile();
    ScanProcess scan(Program(), {.arguments = {"--result-descriptor=7", Tree()},
                                 .descriptors = {{file.Get(), 7}}});
    ASSERT_TRUE(WaitUntil([this] { return !m_engine.Calls("ZqScanFileEx ").empty(); }));
    scan.Signal(SIGTERM);
    EXPECT_EQ(scan.Status(), 2);
    EXPECT_THAT(ReadFile(m_report), HasSubstr("scanned=1 infected=0 unread=0 deleted=0 repaired=0 "
                                              "stopped=1 "));
}

TEST_F(ForAService, ADescriptorThatIsNotFitIsRefused) {
    const auto problem = [this](const FileDescriptor& file, const std::string& option) {
        const Result result = RunWith(file, {option});
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.output, "");
        return result.errors;
    };
    EXPECT_EQ(problem(NewFile(), "--report-descriptor=9"),
              "corvane-scan: the descriptor 9 of the report is not open\n");
    EXPECT_EQ(problem(NewFile(O_RDONLY), "--report-descriptor=7"),
              "corvane-scan: the descriptor 7 of the report is not open for writing\n");
    EXPECT_EQ(
        problem(FileDescriptor(::open("/dev/null", O_WRONLY | O_CLOEXEC)), "--report-descriptor=7"),
        "corvane-scan: the descriptor 7 of the report is no empty file\n");
    EXPECT_EQ(problem(NewFile(), "--result-descriptor=9"),
              "corvane-scan: the descriptor 9 of the result is not open\n");
    EXPECT_EQ(problem(NewFile(O_RDONLY), "--result-descriptor=7"),
              "corvane-scan: the descriptor 7 of the result is not open for writing\n");
    WriteFile(m_report, "mine");
    EXPECT_EQ(problem(NewFile(), "--report-descriptor=7"),
              "corvane-scan: the descriptor 7 of the report is no empty file\n");
    EXPECT_EQ(ReadFile(m_report), "mine");
    EXPECT_TRUE(m_engine.Calls().empty());
}

TEST_F(ForAService, AResultThatCannotBeWrittenIsAFailure) {
    const Result result = RunWith(FileDescriptor(::open("/dev/full", O_WRONLY | O_CLOEXEC)),
                                  {"--result-descriptor=7", "--quiet"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors,
              "corvane-scan: the result could not be written: No space left on device\n");
}

}  // namespace
