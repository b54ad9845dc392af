#include "reports/files/save_copy.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "tests/support/failing_calls.h"
#include "tests/support/scratch.h"

// A report saved elsewhere: whole, or not at all and with the reason.

namespace {

constexpr uid_t kSomebody = 1234;

class SavedCopy : public testing::Test {
protected:
    ~SavedCopy() override { FailNothing(); }

    static void ExpectSaved(const reports::SaveOutcome& outcome) {
        EXPECT_EQ(outcome.kind, reports::SaveOutcome::kSaved) << outcome.error;
    }
    static void ExpectFailed(const reports::SaveOutcome& outcome, int error,
                             reports::SaveOutcome::Kind kind = reports::SaveOutcome::kFailed) {
        EXPECT_EQ(outcome.kind, kind);
        EXPECT_EQ(outcome.error, error);
    }
    // The errno value of a save by an ordinary user, 0 when it saved; 200 and more for anything
    // else.
    static int AsOrdinaryUser(const std::string& path, const std::string& bytes) {
        return InChild([&] {
            if (::getuid() == 0 && (::setgid(kSomebody) != 0 || ::setuid(kSomebody) != 0)) {
                return 255;
            }
            const reports::SaveOutcome outcome = reports::SaveCopy(path, bytes);
            return outcome.kind == reports::SaveOutcome::kSaved    ? 0
                   : outcome.kind == reports::SaveOutcome::kFailed ? outcome.error
                                                                   : 200 + outcome.kind;
        });
    }
    static struct stat StatusOf(const std::string& path) {
        struct stat status {};
        EXPECT_EQ(::lstat(path.c_str(), &status), 0);
        return status;
    }

    ScratchFolder m_folder;
    std::string m_file = m_folder / "copy.txt";
};

TEST_F(SavedCopy, IsMadeAsTheUserMakesFiles) {
    const mode_t before = ::umask(027);
    ExpectSaved(reports::SaveCopy(m_file, std::string("a\0b\n", 4)));
    ::umask(before);
    EXPECT_EQ(ReadFile(m_file), std::string("a\0b\n", 4));
    EXPECT_EQ(ModeOf(m_file), 0640U);
}

TEST_F(SavedCopy, ReplacesAFileInItsPlace) {
    const std::string other = m_folder / "other name";
    WriteFile(m_file, "old and longer than the new one");
    ASSERT_EQ(::chmod(m_file.c_str(), 0604), 0);
    ASSERT_EQ(::link(m_file.c_str(), other.c_str()), 0);
    if (::getuid() == 0) {
        ASSERT_EQ(::chown(m_file.c_str(), kSomebody, kSomebody), 0);
    }
    const struct stat before = StatusOf(m_file);
    ExpectSaved(reports::SaveCopy(m_file, "new"));
    EXPECT_EQ(ReadFile(other), "new") << "its other name shows the same file";
    const struct stat after = StatusOf(m_file);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_uid, before.st_uid);
    EXPECT_EQ(after.st_mode, before.st_mode);
    const std::string longer(100'000, 'x');
    ExpectSaved(reports::SaveCopy(m_file, longer));
    EXPECT_EQ(ReadFile(other), longer);
    ExpectSaved(reports::SaveCopy(m_file, ""));
    EXPECT_EQ(ReadFile(other), "");
}

TEST_F(SavedCopy, FollowsALinkToAFileAndMakesNoneThroughALink) {
    WriteFile(m_folder / "target", "old");
    ASSERT_EQ(::symlink("target", m_file.c_str()), 0);
    ExpectSaved(reports::SaveCopy(m_file, "new"));
    EXPECT_TRUE(S_ISLNK(StatusOf(m_file).st_mode));
    EXPECT_EQ(ReadFile(m_folder / "target"), "new");
    ASSERT_EQ(::unlink((m_folder / "target").c_str()), 0);
    ExpectFailed(reports::SaveCopy(m_file, "new"), ENOENT);
    EXPECT_FALSE(Exists(m_folder / "target"));
    EXPECT_TRUE(Exists(m_file)) << "the link is not ours to remove";
}

TEST_F(SavedCopy, RefusesWhatIsNoRegularFile) {
    const std::string fifo = m_folder / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const std::string link = m_folder / "link";
    ASSERT_EQ(::symlink("/dev/null", link.c_str()), 0);
    for (const std::string& path : {fifo, link, m_folder.Path()}) {
        EXPECT_EQ(reports::SaveCopy(path, "new").kind, reports::SaveOutcome::kNotRegular) << path;
    }
    const common::FileDescriptor reader(::open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    EXPECT_EQ(reports::SaveCopy(fifo, "new").kind, reports::SaveOutcome::kNotRegular);
    char byte = 0;
    EXPECT_LE(::read(reader.Get(), &byte, 1), 0) << "nothing is sent to who reads it";
    EXPECT_TRUE(S_ISFIFO(StatusOf(fifo).st_mode));
    const std::string device = m_folder / "device";
    if (::mknod(device.c_str(), S_IFCHR | 0666, makedev(1, 3)) == 0) {
        EXPECT_EQ(reports::SaveCopy(device, "new").kind, reports::SaveOutcome::kNotRegular);
        EXPECT_TRUE(S_ISCHR(StatusOf(device).st_mode)) << "it is not replaced either";
    }
}

TEST_F(SavedCopy, SaysWhyThereIsNone) {
    ExpectFailed(reports::SaveCopy(m_folder / "missing/copy.txt", "x"), ENOENT);
    WriteFile(m_file, "x");
    ExpectFailed(reports::SaveCopy(m_file + "/below", "x"), ENOTDIR);
    ExpectFailed(reports::SaveCopy(m_folder / std::string(300, 'n'), "x"), ENAMETOOLONG);
}

TEST_F(SavedCopy, AnOrdinaryUserNeedsTheRightsOnlyToWhatIsWritten) {
    if (::getuid() != 0) {
        GTEST_SKIP() << "only the superuser can become another user";
    }
    ASSERT_EQ(::chmod(m_folder.Path().c_str(), 0755), 0);
    EXPECT_EQ(AsOrdinaryUser(m_file, "new"), EACCES) << "nothing can be made in the folder";
    EXPECT_FALSE(Exists(m_file));
    WriteFile(m_file, "old");
    ASSERT_EQ(::chmod(m_file.c_str(), 0644), 0);
    EXPECT_EQ(AsOrdinaryUser(m_file, "new"), EACCES);
    ASSERT_EQ(::chmod(m_file.c_str(), 0622), 0);
    EXPECT_EQ(AsOrdinaryUser(m_file, "new"), EACCES) << "what could not be put back";
    EXPECT_EQ(ReadFile(m_file), "old");
    ASSERT_EQ(::chmod(m_file.c_str(), 0666), 0);
    EXPECT_EQ(AsOrdinaryUser(m_file, "new"), 0);
    EXPECT_EQ(ReadFile(m_file), "new");
}

TEST_F(SavedCopy, KeepsToTheLimitOfAFilesSizeAndLives) {
    WriteFile(m_file, "old");
    for (const std::string& path : {m_file, m_folder / "fresh"}) {
        EXPECT_EQ(InChild([&] {
                      const struct rlimit small { 1000, 1000 };
                      if (::setrlimit(RLIMIT_FSIZE, &small) != 0) {
                          return 255;
                      }
                      return reports::SaveCopy(path, std::string(1001, 'x')).error;
                  }),
                  EFBIG);
    }
    EXPECT_EQ(ReadFile(m_file), "old");
    EXPECT_FALSE(Exists(m_folder / "fresh"));
}

// Whatever fails on the way, the old file is as it was and a new one is not there.
TEST_F(SavedCopy, PutsBackWhatItOverwroteWhenTheDiskFailsLate) {
    const struct {
        Call call;
        int error;
    } faults[] = {{Call::kFsync, EIO}, {Call::kClose, EDQUOT}, {Call::kFallocate, ENOSPC}};
    for (const std::string& old : {std::string("shorter"), std::string(9000, 'o')}) {
        for (const auto& fault : faults) {
            WriteFile(m_file, old);
            FailCall(fault.call, fault.error);
            ExpectFailed(reports::SaveCopy(m_file, std::string(5000, 'n')), fault.error);
            FailNothing();
            EXPECT_EQ(ReadFile(m_file), old);
            FailCall(fault.call, fault.error);
            ExpectFailed(reports::SaveCopy(m_folder / "fresh", "new"), fault.error);
            FailNothing();
            EXPECT_FALSE(Exists(m_folder / "fresh"));
        }
    }
    FailCall(Call::kFtruncate, EIO);
    ExpectFailed(reports::SaveCopy(m_file, "new"), EIO);
    EXPECT_EQ(ReadFile(m_file), std::string(9000, 'o'));
}

TEST_F(SavedCopy, SaysThatTheOldBytesAreLost) {
    WriteFile(m_file, "old");
    FailCall(Call::kFsync, EIO);
    FailCall(Call::kFtruncate, EROFS);
    ExpectFailed(reports::SaveCopy(m_file, "newer"), EIO, reports::SaveOutcome::kLostOldBytes);
    FailNothing();
    // The first closing is of a copy of the descriptor; at the second one nothing can be put back.
    FailCall(Call::kClose, EIO, 2);
    ExpectFailed(reports::SaveCopy(m_file, "new"), EIO, reports::SaveOutcome::kLostOldBytes);
}

TEST_F(SavedCopy, GoesOnWhereRoomCannotBeReservedOrFlushed) {
    WriteFile(m_file, "old");
    FailCall(Call::kFallocate, EOPNOTSUPP);
    FailCall(Call::kFsync, EINVAL);
    ExpectSaved(reports::SaveCopy(m_file, "newer"));
    EXPECT_EQ(ReadFile(m_file), "newer");
}

class SavedCopyOnAFullDisk : public SavedCopy {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "disks are only mounted in a private root";
        }
        ASSERT_EQ(::chmod(m_folder.Path().c_str(), 0755), 0);
        ASSERT_EQ(::mkdir((m_folder / "disk").c_str(), 0755), 0);
        m_disk.emplace(m_folder / "disk", "64k");
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "no right to mount a disk to fill";
        }
        ASSERT_EQ(::chmod((m_folder / "disk").c_str(), 0755), 0);
        WriteFile(m_file, m_old);
        ASSERT_EQ(::chmod(m_file.c_str(), 0666), 0);
        const common::FileDescriptor filler(
            ::open((m_folder / "disk/filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        ASSERT_FALSE(common::WriteAll(filler.Get(), std::string(100'000, 'f')));
    }

    SavedCopyOnAFullDisk() { m_file = m_folder / "disk/copy.txt"; }

    const std::string m_old = std::string(5000, 'o');
    const std::string m_new = std::string(12'000, 'n');

private:
    std::optional<TinyDisk> m_disk;
};

TEST_F(SavedCopyOnAFullDisk, LosesNothing) {
    ExpectFailed(reports::SaveCopy(m_file, m_new), ENOSPC);
    EXPECT_EQ(ReadFile(m_file), m_old);
    EXPECT_EQ(AsOrdinaryUser(m_file, m_new), ENOSPC) << "in a folder that is not theirs";
    EXPECT_EQ(ReadFile(m_file), m_old);
    EXPECT_EQ(StatusOf(m_file).st_blocks, 16) << "nor keeps room that it does not fill";
}

TEST_F(SavedCopyOnAFullDisk, LosesNothingWhereRoomCannotBeReserved) {
    FailCall(Call::kFallocate, EOPNOTSUPP);
    ExpectFailed(reports::SaveCopy(m_file, m_new), ENOSPC);
    EXPECT_EQ(ReadFile(m_file), m_old);
}

TEST_F(SavedCopyOnAFullDisk, LeavesNoPartOfANewFile) {
    const std::string fresh = m_folder / "disk/fresh";
    ExpectFailed(reports::SaveCopy(fresh, m_new), ENOSPC);
    EXPECT_FALSE(Exists(fresh));
    FailCall(Call::kFallocate, EOPNOTSUPP);
    ExpectFailed(reports::SaveCopy(fresh, m_new), ENOSPC);
    EXPECT_FALSE(Exists(fresh));
}

TEST_F(SavedCopyOnAFullDisk, SavesWhatFitsIntoTheOldFilesRoom) {
    const std::string fits(8000, 'n');
    ExpectSaved(reports::SaveCopy(m_file, fits));
    EXPECT_EQ(ReadFile(m_file), fits);
}

}  // namespace
