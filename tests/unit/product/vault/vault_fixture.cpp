#include "tests/unit/product/vault/vault_fixture.h"

#include <algorithm>
#include <ctime>
#include <fcntl.h>

#include "common/times.h"
#include "product/vault/place.h"

namespace fs = std::filesystem;

void VaultTest::SetUp() {
    if (!InSandbox()) {
        GTEST_SKIP() << "writes to the vault: runs in tests/support/sandbox only";
    }
    ::setenv("XDG_DATA_HOME", (m_files / "data").c_str(), 1);
    m_vault = vault::PathOfVault() + "/";
    fs::remove_all(vault::PathOfVault());
}

std::string VaultTest::Keep(const std::string& path) {
    struct stat before {};
    EXPECT_EQ(::stat(path.c_str(), &before), 0);
    return KeepScanned(path, before);
}

std::string VaultTest::KeepScanned(const std::string& path, const struct stat& before) {
    const common::FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const auto kept =
        vault::Keep({file.Get(), before, path, "Test.Virus", "275.12"}, m_settings, m_why);
    return kept ? kept->name : "";
}

std::string VaultTest::Folder() const {
    return m_vault + std::to_string(::geteuid()) + "/";
}

std::vector<std::string> VaultTest::NamesInFolder() const {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(Folder(), ignored)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string VaultTest::PutOld(int days, std::size_t bytes) const {
    // A minute more than so many days, so that the test's own time does not matter.
    const std::time_t then = std::time(nullptr) - days * 86'400L - 60;
    std::tm utc{};
    ::gmtime_r(&then, &utc);
    std::string name = common::FormatTime("%Y%m%d-%H%M%S", utc) + "-00000000";
    // Whoever looks by the time of the folder sees a change after a tick of its clock.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    std::string why;
    (void)vault::OpenPrivateFolder(Folder(), vault::Missing::kMake, why);
    WriteFile(Folder() + name, std::string(bytes, 'x'));
    return name;
}

std::optional<vault::ItemReader> VaultTest::Open(const std::string& name) {
    return vault::ItemReader::Open(
        common::FileDescriptor(::open((Folder() + name).c_str(), O_RDONLY | O_CLOEXEC)), m_why);
}

std::string VaultTest::Contents(const vault::ItemReader& item) {
    std::string contents;
    const bool isWhole = item.Extract(
        [&](std::span<const std::byte> bytes) {
            contents.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
            return true;
        },
        m_why);
    return isWhole ? contents : "(" + m_why + ")";
}
