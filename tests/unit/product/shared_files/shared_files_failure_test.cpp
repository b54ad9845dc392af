#include <chrono>
#include <fstream>
#include <optional>
#include <sys/wait.h>
#include <thread>

#include "tests/support/traced_program.h"
#include "tests/unit/product/shared_files/shared_files_fixture.h"

// create-shared-files on a disk that is full, and killed or refused at its system calls.

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kPage = 4096;

class SharedFilesFailure : public SharedFiles {
protected:
    // What an installation in place left behind that found no room.
    void PutEmptyFiles() const {
        for (const ExpectedFile& file : kFiles) {
            Put(file.name, "", file.mode);
        }
    }

    /// Each file is as it was before, missing or empty, or it is whole.
    void ExpectNoneHalfMade(bool wereThere) const {
        for (const ExpectedFile& file : kFiles) {
            if (Exists(PathOf(file.name)) && (!wereThere || fs::file_size(PathOf(file.name)) > 0)) {
                ExpectWhole(file);
            }
            EXPECT_TRUE(!wereThere || Exists(PathOf(file.name))) << file.name;
        }
    }
};

class SharedFilesFullDisk : public SharedFilesFailure {
protected:
    void SetUp() override {
        SharedFiles::SetUp();
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "disks are only mounted in a private root";
        }
        m_disk.emplace(m_directory, "64k");
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "no right to mount a disk to fill";
        }
    }

    // Leaves room for so many pages; every file needs one.
    void LeaveRoom(int pages) {
        std::string all;
        {
            std::ofstream filler(m_filler, std::ios::binary);
            const std::string page(kPage, 'x');
            while (filler.write(page.data(), kPage).flush()) {
            }
        }
        const auto size = fs::file_size(m_filler);
        ASSERT_EQ(size % kPage, 0U);
        fs::resize_file(m_filler, size - static_cast<std::size_t>(pages) * kPage);
    }

    std::string m_filler = PathOf("filler");

private:
    std::optional<TinyDisk> m_disk;
};

TEST_F(SharedFilesFullDisk, LeavesNoneHalfMadeAndTheNextRunMakesTheRest) {
    constexpr int kWithContent = 12;
    for (const bool wereThere : {false, true}) {
        for (int pages = 0; pages <= kWithContent; ++pages) {
            SCOPED_TRACE(std::to_string(pages) + (wereThere ? " repaired" : " made"));
            for (const auto& entry : fs::directory_iterator(m_directory)) {
                fs::remove_all(entry.path());
            }
            if (wereThere) {
                PutEmptyFiles();
            }
            LeaveRoom(pages);
            const Outcome run = Run();
            EXPECT_EQ(run.status, pages < kWithContent ? 1 : 0);
            EXPECT_EQ(run.errors.find("No space left on device") != std::string::npos,
                      pages < kWithContent)
                << run.errors;
            ExpectNoneHalfMade(wereThere);
            fs::remove(m_filler);
            EXPECT_EQ(Run().status, 0);
            ExpectAllWhole();
        }
    }
}

TEST_F(SharedFilesFullDisk, KeepsWhatItCannotReplace) {
    Put("zqinet.opt", "cut off", 0666);
    LeaveRoom(0);
    EXPECT_EQ(Run().status, 1);
    EXPECT_EQ(ReadFile(PathOf("zqinet.opt")), "cut off");
}

class SharedFilesTraced : public SharedFilesFailure {
protected:
    void SetUp() override {
        SharedFiles::SetUp();
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
    }

    Outcome Trace(const std::vector<std::string>& options) const {
        return Execute(TracedCommand(options, {CREATE_SHARED_FILES, m_directory}));
    }

    // Of a run those system calls that change something: killed at another one, it leaves what it
    // leaves when it is killed at the next of these.
    std::vector<SystemCall> Calls() {
        const std::string path = m_scratch / "trace";
        EXPECT_EQ(Trace({"-o", path}).status, 0);
        const std::vector<SystemCall> all = CallsIn(path, ChangesFiles);
        EXPECT_GT(all.size(), 60U) << "five or more for each file";
        std::vector<SystemCall> chosen;
        for (const std::size_t index : Spread(all.size(), 60, "calls")) {
            chosen.push_back(all[index]);
        }
        return chosen;
    }

    // Another run from beginning to end once this one, held up, has made its first file.
    Outcome RunMeanwhile() const {
        constexpr std::chrono::seconds kLimit(10);
        const auto end = std::chrono::steady_clock::now() + kLimit;
        while (CountOfEntries() == 0 && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return Run();
    }

    void Reset(bool wereThere) const {
        fs::remove_all(m_directory);
        fs::create_directories(m_directory);
        if (wereThere) {
            PutEmptyFiles();
        }
    }
};

TEST_F(SharedFilesTraced, KilledAtAnyCallLeavesNoneHalfMadeAndTheNextRunMakesTheRest) {
    for (const bool wereThere : {false, true}) {
        Reset(wereThere);
        for (const SystemCall& call : Calls()) {
            const std::string kill = call.Injecting("signal=KILL");
            SCOPED_TRACE(kill);
            Reset(wereThere);
            EXPECT_EQ(Trace({"-o", "/dev/null", "-e", kill}).status, -1) << "nobody was killed";
            ExpectNoneHalfMade(wereThere);
            EXPECT_EQ(Run().status, 0);
            ExpectAllWhole();
        }
    }
}

TEST_F(SharedFilesTraced, AreOnTheDiskBeforeTheyHaveTheirNameAndTheNameAfterwards) {
    const std::string path = m_scratch / "trace";
    ASSERT_EQ(Trace({"-o", path, "-e", "trace=fsync,renameat2,symlinkat"}).status, 0);
    std::string order;
    std::ifstream trace(path);
    for (std::string line; std::getline(trace, line);) {
        order += line.starts_with("fsync(")       ? "f"
                 : line.starts_with("renameat2(") ? "R"
                 : line.starts_with("symlinkat(") ? "L"
                                                  : "";
    }
    std::string expected;
    for (std::size_t i = 0; i < kFiles.size(); ++i) {
        expected += "fRf";
    }
    expected += "LfLf";
    EXPECT_EQ(order, expected);
}

// What an earlier release left is there until the link is.
TEST_F(SharedFilesTraced, KilledAtAnyCallThereIsAVersionAllTheTime) {
    const auto putEarlier = [&] {
        Reset(false);
        Put("scanver.cnf", "of the release befor", 0644);
    };
    putEarlier();
    for (const SystemCall& call : Calls()) {
        const std::string kill = call.Injecting("signal=KILL");
        SCOPED_TRACE(kill);
        putEarlier();
        EXPECT_EQ(Trace({"-o", "/dev/null", "-e", kill}).status, -1);
        const std::string version = ReadFile(PathOf("scanver.cnf"));
        EXPECT_TRUE(version == "of the release befor" || version == kFiles.back().content);
        EXPECT_EQ(Run().status, 0);
        ExpectAllWhole();
    }
}

TEST_F(SharedFilesTraced, ADiskThatTakesNothingLeavesNone) {
    Put("zqinet.opt", "cut off", 0666);
    const Outcome run = Trace({"-o", "/dev/null", "-e", "inject=fsync:error=EIO"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.errors.find(PathOf("main.rpt") + ": Input/output error\n"), std::string::npos);
    EXPECT_EQ(ReadFile(PathOf("zqinet.opt")), "cut off");
    EXPECT_EQ(CountOfEntries(), 8U) << "zqinet.opt, five folders and two links";
}

TEST_F(SharedFilesTraced, AFileSystemThatCannotLookBeforeItRenamesWillDo) {
    EXPECT_EQ(Trace({"-o", "/dev/null", "-e", "inject=renameat2:error=EINVAL"}).status, 0);
    ExpectAllWhole();
}

TEST_F(SharedFilesTraced, ARunMeanwhileTakesNothingAway) {
    // Before the file is locked, while it is written, and before it has its name.
    for (const char* call : {"flock", "write", "fsync"}) {
        SCOPED_TRACE(call);
        Reset(false);
        const pid_t other = ::fork();
        if (other == 0) {
            ::_exit(RunMeanwhile().status);
        }
        const Outcome run = Trace({"-o", "/dev/null", "-e",
                                   std::string("inject=") + call + ":delay_enter=1500000:when=1"});
        int status = -1;
        ASSERT_EQ(::waitpid(other, &status, 0), other);
        EXPECT_EQ(status, 0);
        EXPECT_EQ(run.status, 0) << run.errors;
        ExpectAllWhole();
    }
}

TEST_F(SharedFilesTraced, WhatIsRenamedBeforeItsFolderFailsIsThereAllTheSame) {
    Put("zqscn.opt", "", 0666);
    const Outcome run = Trace({"-o", "/dev/null", "-e", "inject=fsync:error=EIO:when=2"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "create-shared-files: " + PathOf("zqscn.opt") + ": Input/output error\n");
    ExpectAllWhole();
}

TEST_F(SharedFilesTraced, WhatSomebodyElseMakesMeanwhileIsLeftAlone) {
    const Outcome run = Trace({"-o", "/dev/null", "-e", "inject=renameat2:error=EEXIST"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(CountOfEntries(), 7U) << "five folders, two links, and none that is half made";
}

}  // namespace
