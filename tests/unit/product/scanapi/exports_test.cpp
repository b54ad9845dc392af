#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace {

struct PipeCloser {
    void operator()(std::FILE* pipe) const { pclose(pipe); }
};

std::string OutputOf(const std::string& command) {
    const std::unique_ptr<std::FILE, PipeCloser> pipe(popen(command.c_str(), "r"));
    std::string output;
    std::array<char, 4096> buffer{};
    while (pipe != nullptr && std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) {
        output += buffer.data();
    }
    return output;
}

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
