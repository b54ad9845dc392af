#include "scan/run/read_ahead.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "tests/unit/scan/run/hostile_tree.h"

namespace {

constexpr int kFiles = 200;

class ReadAheadTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (int file = 0; file < kFiles; ++file) {
            WriteFile(Name(file), std::string(5000, 'x'));
        }
        SetReadAhead(true);
    }
    void TearDown() override { SetReadAhead(true); }

    [[nodiscard]] std::string Name(int file) const {
        return m_scratch / ("file" + std::to_string(file));
    }

    /// Puts the files out of memory; false where the system does not do that.
    [[nodiscard]] bool MakeCold() const {
        for (int file = 0; file < kFiles; ++file) {
            const common::FileDescriptor open(::open(Name(file).c_str(), O_RDONLY | O_CLOEXEC));
            ::fsync(open.Get());
            ::posix_fadvise(open.Get(), 0, 0, POSIX_FADV_DONTNEED);
        }
        return CountCold() == kFiles;
    }
    [[nodiscard]] int CountCold() const {
        int cold = 0;
        for (int file = 0; file < kFiles; ++file) {
            const common::FileDescriptor open(::open(Name(file).c_str(), O_RDONLY | O_CLOEXEC));
            // Looked at without reading: even a read that does not wait brings the file in.
            void* page = ::mmap(nullptr, 1, PROT_READ, MAP_SHARED, open.Get(), 0);
            unsigned char isInMemory = 0;
            (void)::mincore(page, 1, &isInMemory);
            ::munmap(page, 1);
            cold += (isInMemory & 1U) != 0 ? 0 : 1;
        }
        return cold;
    }

    /// Tells of the files, some at a time.
    void TellOfAll(ReadAhead& readAhead) const {
        for (int file = 0; file < kFiles; file += 20) {
            std::vector<std::string> names;
            for (int i = file; i < file + 20; ++i) {
                names.push_back("file" + std::to_string(i));
            }
            readAhead.Ahead(m_scratch.Path(), names);
        }
    }

    ScratchFolder m_scratch;
};

TEST_F(ReadAheadTest, ReadsColdFiles) {
    // A look at a cold file starts to read it. Where the thread has to wait for a processor just
    // then, the disk is done before the look is, and the files pass for being in memory.
    for (int attempt = 0; attempt < 10; ++attempt) {
        if (!MakeCold()) {
            GTEST_SKIP() << "this file system does not let its files go from memory";
        }
        ReadAhead readAhead;
        TellOfAll(readAhead);
        if (readAhead.FilesReadAhead() > 100U) {
            EXPECT_TRUE(WaitUntil([this] { return CountCold() < kFiles - 20; }));
            return;
        }
    }
    FAIL() << "nothing was read ahead";
}

TEST_F(ReadAheadTest, StaysAwayFromFilesInMemory) {
    ReadAhead readAhead;
    TellOfAll(readAhead);
    EXPECT_EQ(readAhead.FilesReadAhead(), 0U);
}

TEST_F(ReadAheadTest, CanBeTurnedOff) {
    (void)MakeCold();
    SetReadAhead(false);
    ReadAhead readAhead;
    TellOfAll(readAhead);
    EXPECT_EQ(readAhead.FilesReadAhead(), 0U);
}

}  // namespace
