// The archives, installers and packed programs of Debian's "clamav-testfiles". Each holds the same
// harmless program, known by its digest.

#include <dlfcn.h>
#include <filesystem>

#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

namespace fs = std::filesystem;

constexpr char kSamples[] = "/usr/share/clamav-testfiles";

class SamplesTest : public EngineTest {
protected:
    // libclamav makes tables for its mail reader once and never frees them; they are no leak as
    // long as it stays in memory.
    static void SetUpTestSuite() {
        EXPECT_NE(dlopen(SCANAPI_LIBRARY, RTLD_NOW | RTLD_NODELETE), nullptr);
    }
    void SetUp() override {
        EngineTest::SetUp();
        if (!IsSkipped() && !fs::is_directory(kSamples)) {
            GTEST_SKIP() << "clamav-testfiles is not installed";
        }
    }
    void StartWithDigest() {
        m_engine.Write("defs/sample.hdb",
                       "aa15bcf478d165efd2065190eb473bcb:544:ClamAV-Test-File\n");
        StartWith(Options());
    }
    std::string VirusIn(const std::string& path) {
        m_messages.clear();
        EXPECT_EQ(Scan(path), 1);
        const Message* found = Find(1001);
        return found == nullptr ? "" : found->virus;
    }
};

TEST_F(SamplesTest, InEveryKindOfContainerItIsFound) {
    StartWithDigest();
    int count = 0;
    for (const auto& entry : fs::directory_iterator(kSamples)) {
        EXPECT_EQ(VirusIn(entry.path()), "ClamAV-Test-File.UNOFFICIAL") << entry;
        EXPECT_TRUE(Find(1001)->file.starts_with(entry.path().string()));
        EXPECT_TRUE(Files(1002).empty()) << entry;
        ++count;
    }
    EXPECT_GE(count, 40);
}

TEST_F(SamplesTest, PackedProgramsAreUnpackedOnlyWhenAskedFor) {
    StartWithDigest();
    auto options = Options();
    for (const char* name : {"clam-upx.exe", "clam-fsg.exe", "clam-mew.exe"}) {
        const auto path = std::string(kSamples) + '/' + name;
        options.scanPacked = 0;
        m_library.setOptions(&options);
        EXPECT_EQ(VirusIn(path), "") << name;
        options.scanPacked = 1;
        m_library.setOptions(&options);
        EXPECT_EQ(VirusIn(path), "ClamAV-Test-File.UNOFFICIAL") << name;
    }
    // What is not packed is known all the same.
    options.scanPacked = 0;
    m_library.setOptions(&options);
    EXPECT_EQ(VirusIn(std::string(kSamples) + "/clam.exe"), "ClamAV-Test-File.UNOFFICIAL");
}

}  // namespace
