#include "product/scanapi/engine_settings.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "common/log.h"
#include "tests/support/scratch.h"

namespace {

using scanapi::EngineSettings;

class EngineSettingsTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
        }
        if (geteuid() != 0) {
            GTEST_SKIP() << "the settings are believed of root only";
        }
        std::filesystem::remove(common::kCommonLog);
    }
    EngineSettings Read(const std::string& text) {
        WriteFile(m_path, text);
        return scanapi::ReadEngineSettings(m_folder.Path());
    }
    static void ExpectDefaults(const EngineSettings& settings) {
        EXPECT_TRUE(settings.vault.isOn);
        EXPECT_EQ(settings.vault.days, 30U);
        EXPECT_EQ(settings.vault.bytes, 1073741824U);
        EXPECT_TRUE(settings.cache.isOn);
        EXPECT_EQ(settings.cache.bytes, 67108864U);
        EXPECT_EQ(settings.scanning.workers, scanapi::UsableCores());
        EXPECT_EQ(settings.scanning.memoryMiB, 2048U);
        EXPECT_FALSE(settings.clamd.isOn);
        EXPECT_EQ(settings.clamd.socket, "");
        EXPECT_EQ(settings.clamd.address, "");
        EXPECT_EQ(settings.clamd.config, "/etc/clamav/clamd.conf");
    }
    void ExpectLogged(const std::string& what) {
        EXPECT_EQ(ReadFile(common::kCommonLog),
                  what.empty() ? "" : "scanapi: (" + m_path + ") " + what + "\n");
        std::filesystem::remove(common::kCommonLog);
    }
    ScratchFolder m_folder;
    std::string m_path = m_folder / "scanapi.conf";
};

TEST_F(EngineSettingsTest, WithoutAFileTheDefaultsHold) {
    ExpectDefaults(scanapi::ReadEngineSettings(m_folder.Path()));
    ExpectLogged("");
}

TEST_F(EngineSettingsTest, EachKeyIsRead) {
    const EngineSettings settings = Read("[Vault]\nVault=off\nDays=90\nMiB=4096\n");
    EXPECT_FALSE(settings.vault.isOn);
    EXPECT_EQ(settings.vault.days, 90U);
    EXPECT_EQ(settings.vault.bytes, 4294967296U);
    ExpectLogged("");
    EXPECT_TRUE(Read("[vault]\n vault = ON \n").vault.isOn);
    EXPECT_FALSE(Read("; off\n# off\n[VAULT]\nVAULT=Off\n").vault.isOn);
    EXPECT_EQ(Read("[Vault]\nDays=7\nMiB=1\n").vault.days, 7U);
    EXPECT_EQ(Read("[Vault]\nDays=3650\nMiB=1\n").vault.bytes, 1048576U);
    EXPECT_EQ(Read("[Vault]\nMiB=1048576\n").vault.bytes, 1099511627776U);
    ExpectLogged("");
}

TEST_F(EngineSettingsTest, EachKeyOfTheCacheIsRead) {
    const EngineSettings settings = Read("[Cache]\nCache=off\nMiB=1024\n");
    EXPECT_FALSE(settings.cache.isOn);
    EXPECT_EQ(settings.cache.bytes, 1073741824U);
    EXPECT_TRUE(settings.vault.isOn);
    EXPECT_EQ(Read("[Cache]\nMiB=1\n").cache.bytes, 1048576U);
    ExpectLogged("");
    for (const char* size : {"0", "1025", "-1", "much"}) {
        ExpectDefaults(Read(std::string("[Cache]\nMiB=") + size + "\n"));
        ExpectLogged("[Cache] MiB is not a number from 1 to 1024; the default is used");
    }
    ExpectDefaults(Read("[Cache]\nCache=1\n"));
    ExpectLogged("[Cache] Cache is not on or off; the default is used");
}

TEST_F(EngineSettingsTest, HowFilesAreScannedIsRead) {
    const EngineSettings settings = Read("[Scanning]\nWorkers=5\nMemoryMiB=600\n");
    EXPECT_EQ(settings.scanning.workers, 5U);
    EXPECT_EQ(settings.scanning.memoryMiB, 600U);
    EXPECT_EQ(Read("[Scanning]\nWorkers=64\nMemoryMiB=1048576\n").scanning.workers, 64U);
    EXPECT_EQ(Read("[Scanning]\nWorkers=1\nMemoryMiB=512\n").scanning.memoryMiB, 512U);
    ExpectLogged("");
    for (const char* workers : {"0", "65", "two"}) {
        ExpectDefaults(Read(std::string("[Scanning]\nWorkers=") + workers + "\n"));
        ExpectLogged("[Scanning] Workers is not a number from 1 to 64; the default is used");
    }
    for (const char* memory : {"0", "511", "1048577"}) {
        ExpectDefaults(Read(std::string("[Scanning]\nMemoryMiB=") + memory + "\n"));
        ExpectLogged(
            "[Scanning] MemoryMiB is not a number from 512 to 1048576; the default is used");
    }
}

TEST_F(EngineSettingsTest, WhoScansIsRead) {
    const EngineSettings settings = Read(
        "[Scanning]\nBackend=Clamd\nClamdSocket=/run/s\nClamdConfig=/etc/c\n"
        "ClamdAddress=192.0.2.7:3310\n");
    EXPECT_TRUE(settings.clamd.isOn);
    EXPECT_EQ(settings.clamd.socket, "/run/s");
    EXPECT_EQ(settings.clamd.config, "/etc/c");
    EXPECT_EQ(settings.clamd.address, "192.0.2.7:3310");
    EXPECT_FALSE(Read("[Scanning]\nBackend=own\n").clamd.isOn);
    ExpectLogged("");
    ExpectDefaults(Read("[Scanning]\nBackend=on\n"));
    ExpectLogged("[Scanning] Backend is not clamd or own; the default is used");
    for (const std::string key : {"ClamdSocket", "ClamdConfig"}) {
        ExpectDefaults(Read("[Scanning]\n" + key + "=run/s\n"));
        ExpectLogged("[Scanning] " + key + " is not an absolute path; the default is used");
    }
}

TEST_F(EngineSettingsTest, TheCoresAreThoseThatThisProcessMayUse) {
    cpu_set_t before;
    ASSERT_EQ(sched_getaffinity(0, sizeof before, &before), 0);
    EXPECT_EQ(scanapi::UsableCores(), static_cast<std::uint32_t>(CPU_COUNT(&before)));
    cpu_set_t one;
    CPU_ZERO(&one);
    for (std::size_t core = 0; core < CPU_SETSIZE && CPU_COUNT(&one) == 0; ++core) {
        if (CPU_ISSET(core, &before)) {
            CPU_SET(core, &one);
        }
    }
    ASSERT_EQ(sched_setaffinity(0, sizeof one, &one), 0);
    EXPECT_EQ(scanapi::UsableCores(), 1U);
    ASSERT_EQ(sched_setaffinity(0, sizeof before, &before), 0);
}

TEST_F(EngineSettingsTest, WhatIsNotKnownIsPassedOver) {
    ExpectDefaults(
        Read("[Workers]\nWorkers=4\n[Vault]\nOther=off\nnonsense\n[Other]\nVault=off\n"));
    ExpectLogged("");
    ExpectDefaults(Read("[Vault]\nVault=\n"));
    ExpectLogged("");
}

TEST_F(EngineSettingsTest, ABadValueIsLoggedAndTheDefaultTaken) {
    ExpectDefaults(Read("[Vault]\nVault=perhaps\n"));
    ExpectLogged("[Vault] Vault is not on or off; the default is used");
    for (const char* days : {"6", "3651", "-30", "30 days", "thirty", "99999999999999999999"}) {
        ExpectDefaults(Read(std::string("[Vault]\nDays=") + days + "\n"));
        ExpectLogged("[Vault] Days is not a number from 7 to 3650; the default is used");
    }
    for (const char* size : {"0", "1048577", "1.5"}) {
        ExpectDefaults(Read(std::string("[Vault]\nMiB=") + size + "\n"));
        ExpectLogged("[Vault] MiB is not a number from 1 to 1048576; the default is used");
    }
}

TEST_F(EngineSettingsTest, ABadValueTakesNoOtherWithIt) {
    const EngineSettings settings = Read("[Vault]\nVault=off\nDays=x\nMiB=2\n");
    EXPECT_FALSE(settings.vault.isOn);
    EXPECT_EQ(settings.vault.days, 30U);
    EXPECT_EQ(settings.vault.bytes, 2097152U);
}

TEST_F(EngineSettingsTest, NobodyButRootIsBelieved) {
    const char* const why = "is not believed: it is not root's, or others may write to it";
    WriteFile(m_path, "[Vault]\nVault=off\n");
    for (const mode_t mode : {0664U, 0646U}) {
        ASSERT_EQ(chmod(m_path.c_str(), mode), 0);
        ExpectDefaults(scanapi::ReadEngineSettings(m_folder.Path()));
        ExpectLogged(why);
    }
    ASSERT_EQ(chmod(m_path.c_str(), 0644), 0);
    EXPECT_FALSE(scanapi::ReadEngineSettings(m_folder.Path()).vault.isOn);
    ASSERT_EQ(chown(m_path.c_str(), 65534, 0), 0);
    ExpectDefaults(scanapi::ReadEngineSettings(m_folder.Path()));
    ExpectLogged(why);
}

TEST_F(EngineSettingsTest, ALinkIsNotFollowed) {
    WriteFile(m_folder / "other", "[Vault]\nVault=off\n");
    std::filesystem::create_symlink("other", m_path);
    ExpectDefaults(scanapi::ReadEngineSettings(m_folder.Path()));
    ExpectLogged("is not read: Too many levels of symbolic links");
}

}  // namespace
