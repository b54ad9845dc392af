// The option files: bytes, modes, defaults, and what a damaged file gives.

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "app/start_up.h"
#include "common/option_file.h"
#include "common/run_state.h"
#include "common/scan_options_file.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"
#include "update/files/update_options.h"

namespace {

// The mode of the last directory that was made: what is set on it afterwards hides it.
mode_t lastModeMade = 0;

}  // namespace

// Stands before the C library's own.
extern "C" int mkdir(const char* path, mode_t mode) noexcept {
    lastModeMade = mode;
    return mkdirat(AT_FDCWD, path, mode);
}

namespace {

namespace fs = std::filesystem;

class OptionFiles : public ::testing::Test {
protected:
    OptionFiles() {
        std::string pattern = fs::temp_directory_path() / "corvane-files-XXXXXX";
        m_folder = mkdtemp(pattern.data());
        common::CopyToField(g_szAppPath, m_folder.string() + "/");
    }
    ~OptionFiles() override { fs::remove_all(m_folder); }

    void Put(const std::string& name, const std::string& bytes, mode_t mode = 0600) const {
        std::ofstream(m_folder / name, std::ios::binary) << bytes;
        chmod((m_folder / name).c_str(), mode);
    }
    [[nodiscard]] std::string Get(const std::string& name) const {
        std::ifstream file(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    [[nodiscard]] int Mode(const std::string& name) const {
        struct stat status {};
        return stat((m_folder / name).c_str(), &status) == 0
                   ? static_cast<int>(status.st_mode & 07777)
                   : -1;
    }

    fs::path m_folder;
};

TEST_F(OptionFiles, NoRecordToLoadInto) {
    if (std::getenv("CORVANE_SANDBOX") == nullptr) {
        GTEST_SKIP() << "writes into the machine's own log: run it in tests/support/sandbox";
    }
    fs::remove("/zqcommon.log");
    EXPECT_FALSE(common::LoadScanOptionsFile(nullptr));
    std::ifstream log("/zqcommon.log", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(log), {}),
              "LoadScnOptions: NULL parameter pscnopts\n");
    EXPECT_FALSE(fs::exists(m_folder / "zqscn.opt"));
    fs::remove("/zqcommon.log");
}

TEST_F(OptionFiles, MissingSettingsAreMadeWithTheDefaults) {
    tagSCNOPTS options{9, 0xFF};
    EXPECT_TRUE(common::LoadScanOptionsFile(&options));
    EXPECT_EQ(options.action, 1);
    EXPECT_EQ(options.flags, 11);
    EXPECT_EQ(Get("zqscn.opt"), std::string("\x01\x00\x0B", 3));
    EXPECT_EQ(Mode("zqscn.opt"), 0666);
}

TEST_F(OptionFiles, SettingsAreLoadedAndShared) {
    Put("zqscn.opt", std::string("\x04\x00\x05", 3));
    tagSCNOPTS options{};
    EXPECT_TRUE(common::LoadScanOptionsFile(&options));
    EXPECT_EQ(options.action, 4);
    EXPECT_EQ(options.flags, 5);
    EXPECT_EQ(Mode("zqscn.opt"), 0666);
}

TEST_F(OptionFiles, OneByteIsTheAction) {
    Put("zqscn.opt", "\x03");
    tagSCNOPTS options{};
    EXPECT_TRUE(common::LoadScanOptionsFile(&options));
    EXPECT_EQ(options.action, 3);
    EXPECT_EQ(options.flags, 11);
    EXPECT_EQ(Get("zqscn.opt"), "\x03");
}

TEST_F(OptionFiles, TwoBytesKeepTheDefaultFlags) {
    Put("zqscn.opt", "\x02\x01");
    tagSCNOPTS options{};
    EXPECT_TRUE(common::LoadScanOptionsFile(&options));
    EXPECT_EQ(options.action, 0x0102);
    EXPECT_EQ(options.flags, 11);
}

TEST_F(OptionFiles, NoValueIsRejected) {
    Put("zqscn.opt", std::string("\x07\x00\xF0more", 7));
    tagSCNOPTS options{};
    EXPECT_TRUE(common::LoadScanOptionsFile(&options));
    EXPECT_EQ(options.action, 7);
    EXPECT_EQ(options.flags, 0xF0);
}

TEST_F(OptionFiles, LinkInTheSettingsPlaceIsNotFollowedWhereOthersMayWrite) {
    chmod(m_folder.c_str(), 0777);
    Put("secret", std::string("\x02\x00\x01", 3));
    fs::create_symlink("secret", m_folder / "zqscn.opt");
    tagSCNOPTS options{};
    EXPECT_TRUE(common::LoadScanOptionsFile(&options));
    EXPECT_EQ(options.action, 1);
    EXPECT_EQ(options.flags, 11);
    EXPECT_EQ(Mode("secret"), 0600);
    EXPECT_EQ(common::WriteScanOptionsFile({4, 4}), common::FileOutcome::kNotOpened);
    EXPECT_EQ(Get("secret"), std::string("\x02\x00\x01", 3));
    EXPECT_EQ(Mode("secret"), 0600);
}

TEST_F(OptionFiles, LinkInTheUpdateOptionsPlaceIsNotFollowedWhereOthersMayWrite) {
    chmod(m_folder.c_str(), 0777);
    Put("secret", std::string("\x02\0\0\0", 4));
    fs::create_symlink("secret", m_folder / "zqupdate.opt");
    EXPECT_EQ(update::LoadUpdateOptionsAtStart().flags, 9U);
    EXPECT_EQ(Mode("secret"), 0600);
}

TEST_F(OptionFiles, TheAdministratorsLinkIsFollowed) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root, to own the folder";
    }
    chmod(m_folder.c_str(), 0755);
    fs::create_directory(m_folder / "etc");
    Put("etc/reportOnly", std::string("\x03\x00\x0F", 3));
    fs::create_symlink("etc/reportOnly", m_folder / "zqscn.opt");
    tagSCNOPTS options{};
    EXPECT_TRUE(common::LoadScanOptionsFile(&options));
    EXPECT_EQ(options.action, 3) << "Report only, and not the defaults, which delete";
    EXPECT_EQ(options.flags, 15);
    EXPECT_EQ(Mode("etc/reportOnly"), 0666);
    EXPECT_EQ(common::WriteScanOptionsFile({4, 1}), common::FileOutcome::kDone);
    EXPECT_EQ(Get("etc/reportOnly"), std::string("\x04\x00\x01", 3));
    EXPECT_EQ(common::ReadScanOptionsFile(options), common::FileOutcome::kDone);
    EXPECT_EQ(options.action, 4);
    EXPECT_TRUE(fs::is_symlink(m_folder / "zqscn.opt"));

    Put("etc/update", std::string("\x02\0\0\0", 4));
    fs::create_symlink("etc/update", m_folder / "zqupdate.opt");
    EXPECT_EQ(update::LoadUpdateOptionsAtStart().flags, 2U);
}

TEST_F(OptionFiles, ALinkThatLeadsNowhereGivesTheDefaults) {
    fs::create_symlink("nowhere", m_folder / "zqscn.opt");
    tagSCNOPTS options{};
    EXPECT_TRUE(common::LoadScanOptionsFile(&options));
    EXPECT_EQ(options.action, 1);
    EXPECT_EQ(options.flags, 11);
    EXPECT_FALSE(fs::exists(m_folder / "nowhere"));
}

TEST_F(OptionFiles, AFifoIsRefusedAndNotWaitedFor) {
    for (const mode_t mode : {0755U, 0777U}) {
        chmod(m_folder.c_str(), mode);
        for (const char* name : {"zqscn.opt", "zqupdate.opt"}) {
            ASSERT_EQ(mkfifo((m_folder / name).c_str(), 0600), 0);
        }
        tagSCNOPTS options{};
        EXPECT_TRUE(common::LoadScanOptionsFile(&options));
        EXPECT_EQ(options.action, 1);
        EXPECT_EQ(common::ReadScanOptionsFile(options), common::FileOutcome::kNotOpened);
        EXPECT_EQ(common::WriteScanOptionsFile(options), common::FileOutcome::kNotOpened);
        EXPECT_EQ(update::LoadUpdateOptionsAtStart().flags, 9U);
        for (const char* name : {"zqscn.opt", "zqupdate.opt"}) {
            EXPECT_EQ(Mode(name), 0600);
            fs::remove(m_folder / name);
        }
    }
}

// Does `work` as a user who owns what is in the folder, where root could open everything.
int AsOwner(const fs::path& folder, const std::function<int()>& work) {
    constexpr uid_t kOwner = 12345;
    if (geteuid() == 0) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            EXPECT_EQ(lchown(entry.path().c_str(), kOwner, kOwner), 0);
        }
        EXPECT_EQ(lchown(folder.c_str(), kOwner, kOwner), 0);
    }
    return InChild([&] {
        return geteuid() == 0 && (setgid(kOwner) != 0 || setuid(kOwner) != 0) ? 99 : work();
    });
}

TEST_F(OptionFiles, TheModeIsSetThoughTheFileCouldNotBeOpened) {
    Put("zqscn.opt", std::string("\x03\x00\x01", 3), 0400);
    Put("zqupdate.opt", std::string("\x02\0\0\0", 4), 0);
    EXPECT_EQ(AsOwner(m_folder,
                      [] {
                          tagSCNOPTS options{};
                          return common::LoadScanOptionsFile(&options) && options.action == 1 &&
                                         update::LoadUpdateOptionsAtStart().flags == 9
                                     ? 0
                                     : 1;
                      }),
              0);
    EXPECT_EQ(Mode("zqscn.opt"), 0666);
    EXPECT_EQ(Mode("zqupdate.opt"), 0666);
    EXPECT_EQ(Get("zqscn.opt"), std::string("\x03\x00\x01", 3)) << "loaded the next time";
}

TEST_F(OptionFiles, ReadingSetsTheModeThoughTheFileCouldNotBeOpenedAndWritingDoesNot) {
    Put("zqscn.opt", std::string("\x03\x00\x01", 3), 0400);
    EXPECT_EQ(AsOwner(m_folder,
                      [] {
                          return common::WriteScanOptionsFile({4, 4}) ==
                                         common::FileOutcome::kNotOpened
                                     ? 0
                                     : 1;
                      }),
              0);
    EXPECT_EQ(Mode("zqscn.opt"), 0400);
    EXPECT_EQ(AsOwner(m_folder,
                      [] {
                          tagSCNOPTS options{};
                          return common::ReadScanOptionsFile(options) ==
                                         common::FileOutcome::kNotOpened
                                     ? 0
                                     : 1;
                      }),
              0);
    EXPECT_EQ(Mode("zqscn.opt"), 0666);
}

TEST_F(OptionFiles, ReadingStartsFromZero) {
    Put("zqscn.opt", "\x03");
    tagSCNOPTS options{9, 0xFF};
    EXPECT_EQ(common::ReadScanOptionsFile(options), common::FileOutcome::kDone);
    EXPECT_EQ(options.action, 3);
    EXPECT_EQ(options.flags, 0);
    EXPECT_EQ(Mode("zqscn.opt"), 0666);
}

TEST_F(OptionFiles, ReadingAndWritingNeverMakeTheFile) {
    tagSCNOPTS options{9, 0xFF};
    EXPECT_EQ(common::ReadScanOptionsFile(options), common::FileOutcome::kNotOpened);
    EXPECT_EQ(common::WriteScanOptionsFile(options), common::FileOutcome::kNotOpened);
    EXPECT_FALSE(fs::exists(m_folder / "zqscn.opt"));
}

TEST_F(OptionFiles, WritingChangesThreeBytes) {
    Put("zqscn.opt", "abcdef");
    EXPECT_EQ(common::WriteScanOptionsFile({3, 13}), common::FileOutcome::kDone);
    EXPECT_EQ(Get("zqscn.opt"), std::string("\x03\x00\x0D"
                                            "def",
                                            6));
    EXPECT_EQ(Mode("zqscn.opt"), 0666);
}

TEST_F(OptionFiles, MissingUpdateOptionsAreMadeWithTheStartUpDefault) {
    const tagUpdtOpts options = update::LoadUpdateOptionsAtStart();
    EXPECT_EQ(options.flags, 9U);
    EXPECT_EQ(options.reserved, 1U);
    EXPECT_EQ(Get("zqupdate.opt"), std::string("\x09\0\0\0\x01\0\0\0", 8) + std::string(512, '\0'));
    EXPECT_EQ(Mode("zqupdate.opt"), 0666);
}

TEST_F(OptionFiles, ShortUpdateOptionsAreFilledWithZeros) {
    Put("zqupdate.opt", std::string("\x04\0\0\0\x01\0\0\0/mirror", 15));
    const tagUpdtOpts options = update::LoadUpdateOptionsAtStart();
    EXPECT_EQ(options.flags, 4U);
    EXPECT_EQ(common::FieldText(options.path), "/mirror");
    EXPECT_EQ(common::FieldText(options.backupFolder), "");
    EXPECT_EQ(Mode("zqupdate.opt"), 0666);
    EXPECT_EQ(Get("zqupdate.opt").size(), 15U);
}

TEST_F(OptionFiles, SharedFileIsMadePrivate) {
    const std::string path = m_folder / "made";
    const mode_t before = umask(0);
    const common::FileDescriptor file = common::CreateOptionFile(path.c_str());
    umask(before);
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ(Mode("made"), 0600);
    EXPECT_FALSE(common::CreateOptionFile(path.c_str()).IsOpen());
    EXPECT_NE(fcntl(file.Get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(OptionFiles, ALinkThatLeadsNowhereIsNoFileAndBecomesNone) {
    fs::create_symlink("nowhere", m_folder / "link");
    const std::string path = m_folder / "link";
    EXPECT_FALSE(common::OpenOptionFile(path.c_str()).IsOpen());
    EXPECT_FALSE(common::CreateOptionFile(path.c_str()).IsOpen());
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_FALSE(fs::exists(m_folder / "nowhere"));
}

TEST_F(OptionFiles, ApplicationDirectoryEndsInOneSlash) {
    EXPECT_TRUE(RecordApplicationDirectory("/opt/program"));
    EXPECT_STREQ(g_szAppPath, "/opt/program/");
    EXPECT_TRUE(RecordApplicationDirectory("/opt/other/"));
    EXPECT_STREQ(g_szAppPath, "/opt/other/");
    EXPECT_TRUE(RecordApplicationDirectory("/"));
    EXPECT_STREQ(g_szAppPath, "/");
}

TEST_F(OptionFiles, ApplicationDirectoryThatCannotBeRecorded) {
    ASSERT_TRUE(RecordApplicationDirectory("/before"));
    EXPECT_FALSE(RecordApplicationDirectory(""));
    EXPECT_FALSE(RecordApplicationDirectory("/\xc3\xa4"));
    EXPECT_FALSE(RecordApplicationDirectory("/" + std::string(254, 'a')));
    EXPECT_STREQ(g_szAppPath, "/before/");
    EXPECT_TRUE(RecordApplicationDirectory("/" + std::string(253, 'a')));
    EXPECT_EQ(std::string(g_szAppPath), "/" + std::string(253, 'a') + "/");
}

TEST_F(OptionFiles, DirectoriesAreMadeWithOneModeAndGivenAnother) {
    const mode_t before = umask(0);
    EXPECT_TRUE(MakeReportsDirectory());
    EXPECT_EQ(lastModeMade, 0777U);
    EXPECT_EQ(Mode("reports"), 0666);
    const std::string path = m_folder / "scratch";
    EXPECT_TRUE(MakeTemporaryDirectory(path.c_str()));
    EXPECT_EQ(lastModeMade, 01411U) << "777 in decimal";
    EXPECT_EQ(Mode("scratch"), 0666);
    umask(before);
}

TEST_F(OptionFiles, TemporaryDirectoryIsMade) {
    const std::string path = m_folder / "scratch";
    EXPECT_TRUE(MakeTemporaryDirectory(path.c_str()));
    EXPECT_TRUE(fs::is_directory(path));
    EXPECT_EQ(Mode("scratch"), 0666);
    chmod(path.c_str(), 0700);
    EXPECT_TRUE(MakeTemporaryDirectory(path.c_str()));
    EXPECT_EQ(Mode("scratch"), 0700);
    EXPECT_FALSE(MakeTemporaryDirectory((m_folder / "missing" / "scratch").c_str()));
}

TEST_F(OptionFiles, ScanLogNameKeepsItsDoubledSlash) {
    OpenScanLog();
    EXPECT_STREQ(g_szLogFile, "/tmp//zqscanfile");
    common::CopyToField(g_szLogFile, "");
}

}  // namespace
