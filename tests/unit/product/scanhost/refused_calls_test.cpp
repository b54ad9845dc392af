#include "product/scanhost/refused_calls.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanhost/refusing_calls.h"
#include "tests/unit/product/scanhost/sample_scan.h"

namespace scanhost {
namespace {

constexpr char kNoRoom[] = "no room to unpack";
constexpr char kNoMemory[] = "out of memory";
constexpr char kTooMany[] = "too many open files";
constexpr char kRefused[] = "a file was refused to the scan";
constexpr char kBroken[] = "a file could not be read or written";

class RefusedCallsTest : public testing::Test {
protected:
    void SetUp() override { ForgetRefusals(); }
    /// What `call` leaves noted, refused with `error`.
    template <typename Call>
    std::string After(Asked what, int error, Call call) {
        ForgetRefusals();
        RefuseNth(what, 1, error);
        call();
        EXPECT_EQ(RefuseNothing(), 0) << "nothing was asked for";
        return FirstRefusal();
    }
    ScratchFolder m_folder;
};

TEST_F(RefusedCallsTest, MemoryIsNotedOfEveryAllocator) {
    if (!NotesRefusedMemory()) {
        GTEST_SKIP() << "a sanitizer has the allocator to itself";
    }
    void* volatile held = nullptr;
    EXPECT_EQ(After(Asked::kMemory, ENOMEM, [&] { held = malloc(8); }), kNoMemory);
    EXPECT_EQ(After(Asked::kMemory, ENOMEM, [&] { held = calloc(2, 4); }), kNoMemory);
    EXPECT_EQ(After(Asked::kMemory, ENOMEM, [&] { held = realloc(nullptr, 8); }), kNoMemory);
    EXPECT_EQ(After(Asked::kMemory, ENOMEM, [&] { held = reallocarray(nullptr, 2, 4); }),
              kNoMemory);
    EXPECT_EQ(After(Asked::kMemory, ENOMEM, [&] { held = aligned_alloc(16, 16); }), kNoMemory);
    EXPECT_EQ(After(Asked::kMemory, ENOMEM, [&] { held = strdup("text"); }), kNoMemory);
    EXPECT_EQ(After(Asked::kMemory, ENOMEM,
                    [&] {
                        void* memory = nullptr;
                        EXPECT_EQ(posix_memalign(&memory, 64, 64), ENOMEM);
                    }),
              kNoMemory);
    EXPECT_EQ(After(Asked::kMapping, ENOMEM,
                    [] {
                        EXPECT_EQ(mmap(nullptr, 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0),
                                  MAP_FAILED);
                    }),
              kNoMemory);
    EXPECT_EQ(held, nullptr);
}

TEST_F(RefusedCallsTest, MemoryThatIsThereIsWhatItAlwaysIs) {
    auto* text = static_cast<char*>(malloc(5));
    strcpy(text, "text");
    text = static_cast<char*>(realloc(text, 100000));
    EXPECT_STREQ(text, "text");
    text = static_cast<char*>(reallocarray(text, 10, 10));
    free(text);
    void* aligned = nullptr;
    ASSERT_EQ(posix_memalign(&aligned, 4096, 10), 0);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(aligned) % 4096, 0U);
    free(aligned);
    const auto* const zeros = static_cast<char*>(calloc(100, 10));
    EXPECT_TRUE(std::all_of(zeros, zeros + 1000, [](char byte) { return byte == 0; }));
    free(const_cast<char*>(zeros));
    EXPECT_EQ(FirstRefusal(), "");
}

TEST_F(RefusedCallsTest, FilesAreNoted) {
    const std::string path = m_folder / "file";
    const auto make = [&] { EXPECT_EQ(open(path.c_str(), O_WRONLY | O_CREAT, 0600), -1); };
    const auto look = [&] { EXPECT_EQ(open("/dev/null", O_RDONLY), -1); };
    EXPECT_EQ(After(Asked::kOpen, ENOSPC, make), kNoRoom);
    EXPECT_EQ(After(Asked::kOpen, EDQUOT, make), kNoRoom);
    EXPECT_EQ(After(Asked::kOpen, ENOENT, make), kNoRoom);
    EXPECT_EQ(After(Asked::kOpen, EEXIST, make), "");
    EXPECT_EQ(After(Asked::kOpen, ENOENT, look), "");
    EXPECT_EQ(After(Asked::kOpen, EMFILE, look), kTooMany);
    EXPECT_EQ(After(Asked::kOpen, ENFILE, look), kTooMany);
    EXPECT_EQ(After(Asked::kOpen, EACCES, look), kRefused);
    EXPECT_EQ(After(Asked::kOpen, EPERM, look), kRefused);
    EXPECT_EQ(After(Asked::kOpen, EIO, look), kBroken);
    EXPECT_EQ(After(Asked::kOpen, EMFILE, [] { EXPECT_EQ(open64("/dev/null", 0), -1); }), kTooMany);
    EXPECT_EQ(After(Asked::kOpen, EMFILE, [] { EXPECT_EQ(openat(AT_FDCWD, ".", 0), -1); }),
              kTooMany);
    EXPECT_EQ(After(Asked::kOpen, EMFILE, [] { EXPECT_EQ(openat64(AT_FDCWD, ".", 0), -1); }),
              kTooMany);
    EXPECT_EQ(After(Asked::kFolder, ENOSPC, [&] { EXPECT_EQ(mkdir(path.c_str(), 0700), -1); }),
              kNoRoom);
}

TEST_F(RefusedCallsTest, WritesAndReadsAreNoted) {
    const int fd = open((m_folder / "file").c_str(), O_RDWR | O_CREAT, 0600);
    char text[] = "text";
    const iovec piece{text, 4};
    EXPECT_EQ(After(Asked::kWrite, ENOSPC, [&] { EXPECT_EQ(write(fd, text, 4), -1); }), kNoRoom);
    EXPECT_EQ(After(Asked::kWrite, EFBIG, [&] { EXPECT_EQ(pwrite(fd, text, 4, 0), -1); }), kNoRoom);
    EXPECT_EQ(After(Asked::kWrite, EIO, [&] { EXPECT_EQ(pwrite64(fd, text, 4, 0), -1); }), kBroken);
    EXPECT_EQ(After(Asked::kWrite, ENOSPC, [&] { EXPECT_EQ(writev(fd, &piece, 1), -1); }), kNoRoom);
    EXPECT_EQ(After(Asked::kWrite, 0, [&] { EXPECT_EQ(write(fd, text, 4), 2); }), kNoRoom);
    EXPECT_EQ(After(Asked::kWrite, EINTR, [&] { EXPECT_EQ(write(fd, text, 4), -1); }), "");
    EXPECT_EQ(After(Asked::kRead, EIO, [&] { EXPECT_EQ(read(fd, text, 4), -1); }), kBroken);
    EXPECT_EQ(After(Asked::kRead, EIO, [&] { EXPECT_EQ(pread(fd, text, 4, 0), -1); }), kBroken);
    EXPECT_EQ(After(Asked::kRead, EIO, [&] { EXPECT_EQ(pread64(fd, text, 4, 0), -1); }), kBroken);
    EXPECT_EQ(After(Asked::kRead, EAGAIN, [&] { EXPECT_EQ(read(fd, text, 4), -1); }), "");
    close(fd);
}

TEST_F(RefusedCallsTest, StreamsAndFoldersAreNoted) {
    EXPECT_EQ(fopen((m_folder / "none").c_str(), "r"), nullptr);
    EXPECT_EQ(FirstRefusal(), "");
    EXPECT_EQ(fopen((m_folder / "none/file").c_str(), "w"), nullptr);
    EXPECT_EQ(FirstRefusal(), kNoRoom);
    ForgetRefusals();
    FILE* const full = fopen("/dev/full", "w");
    ASSERT_NE(full, nullptr);
    EXPECT_EQ(FirstRefusal(), "");
    fputs("text", full);
    EXPECT_NE(fflush(full), 0);
    EXPECT_EQ(FirstRefusal(), kNoRoom);
    ForgetRefusals();
    fputs("text", full);
    EXPECT_NE(fclose(full), 0);
    EXPECT_EQ(FirstRefusal(), kNoRoom);
    ForgetRefusals();
    EXPECT_EQ(opendir((m_folder / "none").c_str()), nullptr);
    EXPECT_NE(FirstRefusal(), "");
}

TEST_F(RefusedCallsTest, TheFirstCountsUntilItIsForgotten) {
    const auto refuse = [](int error) {
        RefuseNth(Asked::kOpen, 1, error);
        EXPECT_EQ(open("/dev/null", O_RDONLY), -1);
    };
    refuse(EMFILE);
    refuse(ENOSPC);
    EXPECT_EQ(FirstRefusal(), kTooMany);
    ForgetRefusals();
    EXPECT_EQ(FirstRefusal(), "");
    refuse(ENOSPC);
    EXPECT_EQ(FirstRefusal(), kNoRoom);
    RefuseNothing();
}

/// Scans with one refusal each.
class RefusedScanTest : public testing::Test {
protected:
    enum Result { kNeverAsked = 100, kCleanAndNoted, kCleanUnread, kFound, kUnreadable };

    void SetUp() override {
        m_samples = PackagedSamples();
        if (m_samples.empty()) {
            GTEST_SKIP() << "clamav-testfiles is not installed";
        }
        ASSERT_NE(m_engine.Get(), nullptr);
        m_samples.push_back({"eicar.zip", archives::Zip({{"a.txt", "text of a member"},
                                                         {"e.com", archives::Eicar()}})});
        m_samples.push_back({"eicar.gz", archives::Gzip(archives::Eicar())});
        m_samples.push_back({"eicar.tar", archives::Tar({{"e.com", archives::Eicar()}})});
    }

    int Scanned(const Sample& sample, Asked what, int nth, int error) {
        return InChild([&]() -> int {
            if (chdir(m_scratch.Path().c_str()) != 0) {
                return 1;
            }
            alarm(60);
            ForgetRefusals();
            RefuseNth(what, nth, error);
            const auto outcome = m_engine.Scan(sample.bytes);
            const bool isRefused = RefuseNothing() == 0;
            using scanning::Verdict;
            return !isRefused                               ? kNeverAsked
                   : outcome.verdict == Verdict::Infected   ? kFound
                   : outcome.verdict == Verdict::Unreadable ? kUnreadable
                   : FirstRefusal().empty()                 ? kCleanUnread
                                                            : kCleanAndNoted;
        });
    }

    /// Every request of a kind refused in turn, in every sample. How many would have been called
    /// clean, had nobody noted the refusal.
    int RefuseEach(Asked what, int error) {
        const bool all = std::getenv("CORVANE_EVERY_POINT") != nullptr;
        int saved = 0;
        for (const Sample& sample : m_samples) {
            const int count = CountOf(sample, what);
            const int step = all ? 1 : std::max(1, count / kPoints);
            for (int nth = 1; nth <= count; nth += step) {
                const int result = Scanned(sample, what, nth, error);
                EXPECT_NE(result, kCleanUnread) << sample.name << " refused " << nth;
                EXPECT_NE(result, 1) << sample.name;
                saved += result == kCleanAndNoted ? 1 : 0;
            }
        }
        return saved;
    }

    ScratchFolder m_databases;
    ScratchFolder m_scratch;
    SampleEngine m_engine{m_databases.Path()};
    std::vector<Sample> m_samples;

private:
    static constexpr int kPoints = 6;

    // How often a scan asks.
    int CountOf(const Sample& sample, Asked what) {
        constexpr int kNever = std::numeric_limits<int>::max();
        EXPECT_EQ(chdir(m_scratch.Path().c_str()), 0);
        RefuseNth(what, kNever, EIO);
        (void)m_engine.Scan(sample.bytes);
        return kNever - RefuseNothing();
    }
};

TEST_F(RefusedScanTest, OfAnOpenIsNeverClean) {
    EXPECT_GT(RefuseEach(Asked::kOpen, EMFILE), 0);
}

TEST_F(RefusedScanTest, OfAFolderIsNeverClean) {
    EXPECT_GT(RefuseEach(Asked::kFolder, ENOSPC), 0);
}

TEST_F(RefusedScanTest, OfAWriteIsNeverClean) {
    RefuseEach(Asked::kWrite, ENOSPC);
}

TEST_F(RefusedScanTest, OfTheRestOfAWriteIsNeverClean) {
    RefuseEach(Asked::kWrite, 0);
}

TEST_F(RefusedScanTest, OfAReadIsNeverClean) {
    RefuseEach(Asked::kRead, EIO);
}

TEST_F(RefusedScanTest, OfAMappingIsNeverClean) {
    if (!NotesRefusedMemory()) {
        GTEST_SKIP() << "a sanitizer has the memory to itself";
    }
    RefuseEach(Asked::kMapping, ENOMEM);
}

TEST_F(RefusedScanTest, OfMemoryIsNeverClean) {
    if (!NotesRefusedMemory()) {
        GTEST_SKIP() << "a sanitizer has the allocator to itself";
    }
    RefuseEach(Asked::kMemory, ENOMEM);
}

}  // namespace
}  // namespace scanhost
