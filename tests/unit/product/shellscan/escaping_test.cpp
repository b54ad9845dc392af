#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/unit/product/shellscan/run_scan.h"

// Names that others have chosen, on the way to a terminal.

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// A line break, a byte that is no UTF-8, a change of the writing direction, an escape sequence, a
// quote and a backslash.
constexpr char kName[] = "/a\nb\xff\xe2\x80\xae\033[2J\"\\";
constexpr char kShown[] = "/a\\u{000a}b\\xff\\u{202e}\\u{001b}[2J\"\\\\";

class Hostile : public ShellScanProgram {
protected:
    void SetUp() override {
        ShellScanProgram::SetUp();
        if (!IsSkipped()) {
            WriteFile(Tree(kName), "x");
            m_engine.SetScript("say 1001 0 0 V%1b%0a *\nsay 1005 0 0 why%1b *\n");
        }
    }
};

TEST_F(Hostile, TheReportShowsThemEscaped) {
    const Result result = Run({Tree(), Tree(kName)});
    EXPECT_EQ(result.status, 1);
    const std::string shown = Tree() + kShown;
    EXPECT_THAT(result.output, HasSubstr("\n\nScanning: " + shown +
                                         "\nInfected: V\\u{001b}\\u{000a}\n[Access denied]\n---"));
    EXPECT_THAT(result.output, HasSubstr("\nScanning: " + shown + "\n\nScanning: "));
    EXPECT_THAT(result.errors, HasSubstr("corvane-scan: not read: " + shown + ": why\\u{001b}\n"));
    EXPECT_THAT(result.output + result.errors, Not(HasSubstr("\033")));
    EXPECT_THAT(result.output + result.errors, Not(HasSubstr("\xff")));
}

TEST_F(Hostile, JsonIsWellFormedAndTellsTheBytes) {
    const Result result = Run({"--format=json", Tree()});
    const std::size_t second = result.output.find('\n') + 1;
    const std::string line =
        result.output.substr(second, result.output.find('\n', second) - second);
    const auto object = nlohmann::json::parse(line);
    EXPECT_EQ(object["path"], Tree() + kShown);
    EXPECT_EQ(object["virus"], "V\\u{001b}\\u{000a}");
}

TEST_F(Hostile, SoDoMessages) {
    const std::string bad = std::string("--bo\033gus");
    EXPECT_EQ(Run({bad}).errors,
              "corvane-scan: unknown option: \"--bo\\u{001b}gus\"\n"
              "Try \"corvane-scan --help\".\n");
    EXPECT_EQ(Run({"--files-from", "/none\n"}).errors,
              "corvane-scan: the list of files \"/none\\u{000a}\" cannot be read: No such file or "
              "directory\n");
    EXPECT_EQ(Run({"/none\033"}).errors,
              "corvane-scan: not read: /none\\u{001b}: No such file or directory\n");
}

}  // namespace
