// What a confined worker says of a file is what an unconfined one says.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <regex>
#include <sys/mman.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "product/scanhost/confinement.h"
#include "product/scanhost/late_parts.h"
#include "product/scanhost/refused_calls.h"
#include "product/scanwire/switches.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanhost/sample_scan.h"
#include "tests/unit/product/scanning/packed_samples.h"

namespace scanhost {
namespace {

constexpr std::uint32_t kMemoryMiB = 2048;

// The library gives members without a name one of its own, and each time another.
std::string WithoutMadeUpNames(const std::string& lines) {
    static const std::regex made("clamav-[0-9a-f]{32}\\.tmp");
    return std::regex_replace(lines, made, "(made up)");
}

class ConfinedScanTest : public testing::Test {
protected:
    void SetUp() override {
        m_samples = PackagedSamples();
        if (m_samples.empty()) {
            GTEST_SKIP() << "clamav-testfiles is not installed";
        }
        m_samples.push_back({"eicar", archives::Eicar()});
        m_samples.push_back({"text", "nothing but text, and more of it than five bytes"});
        m_samples.push_back({"page",
                             "<html><head><meta charset=\"shift_jis\"></head><body>"
                             "<script>var a = 1;</script>text</body></html>"});
        m_samples.push_back({"mail",
                             "From: a@b.c\nSubject: =?koi8-r?B?8NLJ18XU?=\nMIME-Version: "
                             "1.0\nContent-Type: text/plain; charset=windows-1251\n\ntext\n"});
        m_samples.push_back(
            {"zip", archives::Zip({{"a.txt", "text of a member"}, {"e.com", archives::Eicar()}})});
        m_samples.push_back({"clean.zip", archives::Zip({{"a.txt", "text of a member"},
                                                         {"b.txt", "text of another"}})});
        OpenLateParts();
        ASSERT_NE(m_engine.Get(), nullptr);
    }

    /// A line each sample: of its bytes, of it by descriptor, and what was refused.
    std::string Lines(std::uint32_t switches) {
        std::string why;
        const auto confinement = Confinement::Prepare(
            {.switches = switches, .memoryLimitMiB = kMemoryMiB, .scratchBase = m_base.Path()},
            why);
        EXPECT_NE(confinement, nullptr) << why;
        std::vector<common::FileDescriptor> files;
        for (const Sample& sample : m_samples) {
            WriteFile(m_base / "file", sample.bytes);
            files.emplace_back(open((m_base / "file").c_str(), O_RDONLY | O_CLOEXEC));
            unlink((m_base / "file").c_str());
        }
        const common::FileDescriptor told(memfd_create("told", MFD_CLOEXEC));
        const pid_t host = getpid();
        EXPECT_EQ(InChild([&] { return Work(*confinement, host, files, told.Get()); }), 0);
        std::string lines(std::size_t{1} << 20U, '\0');
        lseek(told.Get(), 0, SEEK_SET);
        lines.resize(static_cast<std::size_t>(
            common::ReadFull(told.Get(), std::as_writable_bytes(std::span(lines)))));
        return WithoutMadeUpNames(lines);
    }

    int Work(const Confinement& confinement, pid_t host,
             const std::vector<common::FileDescriptor>& files, int told) {
        if (const auto failed = confinement.Enter(0, host); !failed.empty()) {
            common::WriteAll(told, failed);
            return 1;
        }
        for (std::size_t i = 0; i < files.size(); ++i) {
            ForgetRefusals();
            common::WriteAll(told, m_samples[i].name + ": " +
                                       Described(m_engine.Scan(m_samples[i].bytes)) + ", " +
                                       Described(m_engine.ScanOpen(files[i].Get())) + '.' +
                                       FirstRefusal() + '\n');
        }
        return 0;
    }

    ScratchFolder m_base;
    ScratchFolder m_databases;
    SampleEngine m_engine{m_databases.Path()};
    std::vector<Sample> m_samples;
};

TEST_F(ConfinedScanTest, VerdictsAreTheSameAndNothingIsRefused) {
    const auto confined = Lines(0);
    EXPECT_EQ(confined, Lines(scanwire::kAllSwitches));
    // The samples are found, each as bytes and by descriptor, and the rest is clean.
    EXPECT_NE(confined.find("clam.zip: infected ClamAV-Test-File.UNOFFICIAL in clam.exe, infected "
                            "ClamAV-Test-File.UNOFFICIAL in clam.exe.\n"),
              std::string::npos);
    EXPECT_NE(confined.find("eicar: infected Eicar-Test-Signature.UNOFFICIAL in , infected "
                            "Eicar-Test-Signature.UNOFFICIAL in .\n"),
              std::string::npos);
    for (const char* name : {"text", "page", "mail", "clean.zip"}) {
        EXPECT_NE(confined.find(std::string("\n") + name + ": clean, clean.\n"), std::string::npos)
            << name;
    }
    EXPECT_EQ(confined.find("unreadable"), std::string::npos) << confined;
    EXPECT_EQ(std::count(confined.begin(), confined.end(), '\n'),
              static_cast<std::ptrdiff_t>(m_samples.size()));
}

TEST_F(ConfinedScanTest, VerdictsAreTheSameInAFolder) {
    EXPECT_EQ(Lines(scanwire::kNoOwnScratch), Lines(scanwire::kAllSwitches));
}

// Whoever reads it, and by whatever it names its members.
TEST_F(ConfinedScanTest, EveryKindOfContainerIsReadAsElsewhere) {
    m_samples.clear();
    for (const auto& [kind, packer] : Packers()) {
        m_samples.push_back({kind, MakeSample(kind, true)});
    }
    const auto confined = Lines(0);
    EXPECT_EQ(confined, Lines(scanwire::kAllSwitches));
    for (const char* kind : {"deb, zstd", "rpm, xz", "RAR 5, stored", "7z, bzip2", "zip, PPMd"}) {
        EXPECT_NE(confined.find(std::string(kind) + ": infected Eicar-Test-Signature.UNOFFICIAL"),
                  std::string::npos)
            << kind;
    }
}

}  // namespace
}  // namespace scanhost
