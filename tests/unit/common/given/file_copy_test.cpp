#include "common/given/file_copy.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

#include "tests/support/scratch.h"

namespace {

std::string SomeBytes(std::size_t count) {
    std::string bytes(count, '\0');
    for (std::size_t at = 0; at < count; ++at) {
        bytes[at] = static_cast<char>(at * 7 + at / 256);
    }
    return bytes;
}

using Copier = int (*)(const char*, const char*);

class Copying : public testing::TestWithParam<Copier> {
protected:
    int Copy(const std::string& source, const std::string& destination) {
        return GetParam()(source.c_str(), destination.c_str());
    }
    ScratchFolder m_scratch;
};

TEST_P(Copying, CopiesEveryByte) {
    for (const std::size_t size : {0U, 1U, 1023U, 1024U, 1025U, 5000U}) {
        WriteFile(m_scratch / "source", SomeBytes(size));
        EXPECT_EQ(Copy(m_scratch / "source", m_scratch / "copy"), 1);
        EXPECT_EQ(ReadFile(m_scratch / "copy"), SomeBytes(size));
    }
}

TEST_P(Copying, EmptiesALongerDestinationFirst) {
    WriteFile(m_scratch / "source", "short");
    WriteFile(m_scratch / "copy", std::string(5000, 'x'));
    EXPECT_EQ(Copy(m_scratch / "source", m_scratch / "copy"), 1);
    EXPECT_EQ(ReadFile(m_scratch / "copy"), "short");
}

TEST_P(Copying, AMissingSourceMakesNoDestination) {
    EXPECT_EQ(Copy(m_scratch / "missing", m_scratch / "copy"), 0);
    EXPECT_FALSE(Exists(m_scratch / "copy"));
}

TEST_P(Copying, AMissingFolderFails) {
    WriteFile(m_scratch / "source", "text");
    EXPECT_EQ(Copy(m_scratch / "source", m_scratch / "missing/copy"), 0);
}

TEST_P(Copying, AReadErrorEndsTheCopyAsTheEndDoes) {
    ASSERT_EQ(::mkdir((m_scratch / "folder").c_str(), 0700), 0);
    EXPECT_EQ(Copy(m_scratch / "folder", m_scratch / "copy"), 1);
    EXPECT_EQ(ReadFile(m_scratch / "copy"), "");
    EXPECT_TRUE(Exists(m_scratch / "copy"));
}

TEST_P(Copying, AFileOntoItselfKeepsItsBytes) {
    WriteFile(m_scratch / "source", "precious");
    ASSERT_EQ(::link((m_scratch / "source").c_str(), (m_scratch / "other").c_str()), 0);
    EXPECT_EQ(Copy(m_scratch / "source", m_scratch / "source"), 0);
    EXPECT_EQ(Copy(m_scratch / "source", m_scratch / "other"), 0);
    EXPECT_EQ(ReadFile(m_scratch / "source"), "precious");
}

TEST_P(Copying, NullPathsFail) {
    const std::string path = m_scratch / "source";
    WriteFile(path, "text");
    EXPECT_EQ(GetParam()(nullptr, path.c_str()), 0);
    EXPECT_EQ(GetParam()(path.c_str(), nullptr), 0);
    EXPECT_EQ(ReadFile(path), "text");
}

INSTANTIATE_TEST_SUITE_P(Both, Copying, testing::Values(&CopyFile, &ZQCopyFile),
                         [](const auto& instance) {
                             return instance.index == 0 ? "CopyFile" : "ZQCopyFile";
                         });

TEST(CopyFile, SetsTheMode) {
    const ScratchFolder scratch;
    WriteFile(scratch / "source", "text");
    ASSERT_EQ(CopyFile((scratch / "source").c_str(), (scratch / "copy").c_str()), 1);
    EXPECT_EQ(ModeOf(scratch / "copy"), 0755U);
}

TEST(CopyFile, SetsTheModeWhateverItWasAndWhateverTheUmask) {
    const ScratchFolder scratch;
    WriteFile(scratch / "source", "text");
    ASSERT_EQ(::chmod((scratch / "source").c_str(), 0444), 0);
    const mode_t before = ::umask(077);
    EXPECT_EQ(CopyFile((scratch / "source").c_str(), (scratch / "made").c_str()), 1);
    WriteFile(scratch / "there", "longer text");
    ASSERT_EQ(::chmod((scratch / "there").c_str(), 0600), 0);
    EXPECT_EQ(CopyFile((scratch / "source").c_str(), (scratch / "there").c_str()), 1);
    ::umask(before);
    EXPECT_EQ(ModeOf(scratch / "made"), 0755U);
    EXPECT_EQ(ModeOf(scratch / "there"), 0755U);
    EXPECT_EQ(ModeOf(scratch / "source"), 0444U);
}

TEST(ZQCopyFile, LeavesTheMode) {
    const ScratchFolder scratch;
    WriteFile(scratch / "source", "text");
    ASSERT_EQ(ZQCopyFile((scratch / "source").c_str(), (scratch / "copy").c_str()), 1);
    EXPECT_EQ(ModeOf(scratch / "copy"), 0600U);
    ASSERT_EQ(::chmod((scratch / "copy").c_str(), 0640), 0);
    ASSERT_EQ(ZQCopyFile((scratch / "source").c_str(), (scratch / "copy").c_str()), 1);
    EXPECT_EQ(ModeOf(scratch / "copy"), 0640U);
}

}  // namespace
