#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <string>

#include "product/shellscan/options.h"
#include "tests/support/scratch.h"

// The manual and the completions know every option.

namespace {

std::set<std::string> OptionsIn(const std::string& text) {
    std::set<std::string> names;
    const std::regex option("--[a-z][a-z-]*");
    for (std::sregex_iterator each(text.begin(), text.end(), option), end; each != end; ++each) {
        names.insert(each->str());
    }
    return names;
}

// In a manual page a hyphen that is one is written "\-".
std::string Manual() {
    return std::regex_replace(ReadFile(SCAN_MANUAL), std::regex("\\\\-"), "-");
}

std::set<std::string> ForPeople() {
    return OptionsIn(shellscan::kUsage);
}

TEST(ScanManual, DescribesEveryOption) {
    std::set<std::string> all = ForPeople();
    all.insert({"--report-descriptor", "--result-descriptor", "--report-note"});
    EXPECT_EQ(all.size(), 16U);
    std::set<std::string> described = OptionsIn(Manual());
    EXPECT_THAT(described, testing::IsSupersetOf(all));
}

TEST(ScanManual, CompletionsKnowEveryOption) {
    for (const char* name : {"corvane-scan.bash", "_corvane-scan"}) {
        EXPECT_EQ(OptionsIn(ReadFile(std::string(SCAN_COMPLETIONS) + name)), ForPeople()) << name;
    }
}

}  // namespace
