// Where the vault is, and that the way to it leads through nobody else's hands.

#include "product/vault/place.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <pwd.h>

#include "tests/unit/product/vault/vault_fixture.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

// The path as another user finds it.
std::string PathOf(uid_t user) {
    ScratchFolder folder;
    InChild([&] {
        if (geteuid() == 0 && user != 0 && seteuid(user) != 0) {
            return 1;
        }
        const std::string path = vault::PathOfVault();
        if (seteuid(getuid()) == 0) {
            WriteFile(folder / "path", path);
        }
        return 0;
    });
    return ReadFile(folder / "path");
}

constexpr uid_t kNobody = 65534;

TEST(PathOfVault, IsRootsWhateverTheEnvironmentSays) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root";
    }
    setenv("XDG_DATA_HOME", "/tmp/mine", 1);
    EXPECT_EQ(PathOf(0), "/var/lib/corvane/vault");
}

TEST(PathOfVault, IsInTheDataOfAnOrdinaryUser) {
    const uid_t user = geteuid() == 0 ? kNobody : geteuid();
    setenv("XDG_DATA_HOME", "/tmp/mine", 1);
    EXPECT_EQ(PathOf(user), "/tmp/mine/corvane/vault");
    setenv("XDG_DATA_HOME", "relative", 1);
    setenv("HOME", "/home/of-mine", 1);
    EXPECT_EQ(PathOf(user), "/home/of-mine/.local/share/corvane/vault");
    unsetenv("XDG_DATA_HOME");
    EXPECT_EQ(PathOf(user), "/home/of-mine/.local/share/corvane/vault");
    unsetenv("HOME");
    const passwd* const record = getpwuid(user);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(PathOf(user), std::string(record->pw_dir) + "/.local/share/corvane/vault");
}

class PrivateFolder : public testing::Test {
protected:
    common::FileDescriptor Open(const std::string& path,
                                vault::Missing missing = vault::Missing::kMake) {
        m_why.clear();
        return vault::OpenPrivateFolder(path, missing, m_why);
    }
    ScratchFolder m_folder;
    std::string m_why;
};

TEST_F(PrivateFolder, IsMadeWithAllThatIsMissingForTheUserAlone) {
    const mode_t before = umask(0);
    EXPECT_TRUE(Open(m_folder / "a/b//c/")) << m_why;
    umask(before);
    for (const char* name : {"a", "a/b", "a/b/c"}) {
        EXPECT_EQ(ModeOf(m_folder / name), 0700U) << name;
    }
    EXPECT_TRUE(Open(m_folder / "a/b/c", vault::Missing::kFail)) << m_why;
}

TEST_F(PrivateFolder, ThatIsMissingCanBeLeftSo) {
    EXPECT_FALSE(Open(m_folder / "a/b", vault::Missing::kFail));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(m_why, (m_folder / "a") + ": No such file or directory");
    fs::create_directory(m_folder / "a");
    EXPECT_FALSE(Open(m_folder / "a/b", vault::Missing::kFail));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(m_why, (m_folder / "a/b") + ": No such file or directory");
    EXPECT_FALSE(Exists(m_folder / "a/b"));
}

TEST_F(PrivateFolder, IsNotReachedThroughALink) {
    fs::create_directories(m_folder / "real/x");
    fs::create_directory_symlink("real", m_folder / "link");
    EXPECT_FALSE(Open(m_folder / "link/x"));
    EXPECT_THAT(m_why, HasSubstr("/link: "));
    EXPECT_FALSE(Open(m_folder / "link"));
}

TEST_F(PrivateFolder, IsNotReachedThroughAFolderThatOthersWriteTo) {
    fs::create_directories(m_folder / "open/x");
    fs::permissions(m_folder / "open", fs::perms(0757));
    EXPECT_FALSE(Open(m_folder / "open/x"));
    EXPECT_EQ(m_why, (m_folder / "open") + ": others may write to it");
    fs::permissions(m_folder / "open", fs::perms(01777));
    EXPECT_TRUE(Open(m_folder / "open/x")) << m_why;
    fs::permissions(m_folder / "open", fs::perms(0775));
    EXPECT_EQ(Open(m_folder / "open/x").IsOpen(), geteuid() != 0) << "the user's own group";
}

TEST_F(PrivateFolder, IsNoOtherUsers) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root to give a folder away";
    }
    fs::create_directories(m_folder / "a/x");
    ASSERT_EQ(chown((m_folder / "a").c_str(), kNobody, 0), 0);
    EXPECT_FALSE(Open(m_folder / "a/x"));
    EXPECT_EQ(m_why, (m_folder / "a") + ": it belongs to another user");
    ASSERT_EQ(chown((m_folder / "a").c_str(), 0, 0), 0);
    ASSERT_EQ(chown((m_folder / "a/x").c_str(), kNobody, 0), 0);
    EXPECT_FALSE(Open(m_folder / "a/x"));
    EXPECT_EQ(m_why, (m_folder / "a/x") + ": it belongs to another user");
}

TEST_F(PrivateFolder, HasAPlainAbsolutePath) {
    EXPECT_FALSE(Open("relative"));
    EXPECT_FALSE(Open(""));
    EXPECT_FALSE(Open("/"));
    EXPECT_FALSE(Open(m_folder / "a/../b"));
    EXPECT_EQ(m_why, (m_folder / "a/..") + ": no such path is used");
}

}  // namespace
