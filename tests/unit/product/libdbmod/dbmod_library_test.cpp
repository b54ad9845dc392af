#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "abi/libdbmod.h"
#include "product/libdbmod/settings_database.h"
#include "tests/unit/product/libdbmod/database_support.h"

// The built library, loaded by path as the program does, over the database in the product
// directory.

namespace dbmod {
namespace {

namespace fs = std::filesystem;

constexpr char kProduct[] = "/usr/lib/Corvane/Corvane";
constexpr char kDatabase[] = "/usr/lib/Corvane/Corvane/settings.db";

struct CloseLibrary {
    void operator()(void* library) const { dlclose(library); }
};

class DbmodLibraryTest : public testing::Test {
protected:
    void SetUp() override {
        if (std::getenv("CORVANE_SANDBOX") == nullptr) {
            GTEST_SKIP() << "the product directory is touched in the sandbox only";
        }
        fs::create_directories(kProduct);
        fs::remove(kDatabase);
        fs::remove(std::string(kDatabase) + "-journal");
        ASSERT_TRUE(CreateDatabase(kDatabase).IsOk());
        LoadLibrary();
    }

    void LoadLibrary() {
        m_library.reset();
        m_library.reset(dlopen(DBMOD_LIBRARY, RTLD_NOW | RTLD_LOCAL));
        ASSERT_TRUE(m_library) << dlerror();
        m_getSetting = reinterpret_cast<PFNAVGETCLIENTSETTINGDATA>(
            dlsym(m_library.get(), "AvGetClientSettingData"));
        m_verify =
            reinterpret_cast<PFNAVVERFIYPASSWORD>(dlsym(m_library.get(), "AvVerfiyPassword"));
        ASSERT_TRUE(m_getSetting != nullptr);
        ASSERT_TRUE(m_verify != nullptr);
    }

    static void SetCheapPassword() {
        ASSERT_TRUE(WritePasswordState(kDatabase, {kCheapHash, 1'700'000'000}).IsOk());
    }

    int GetSetting() {
        std::memset(&m_data, 0xAA, sizeof m_data);
        std::memset(&m_result, 0xAA, sizeof m_result);
        return m_getSetting(14, 1, &m_data, &m_result);
    }

    int Verify(const char* password) {
        std::memset(&m_record, 0xAA, sizeof m_record);
        std::memset(&m_result, 0xAA, sizeof m_result);
        return m_verify(password, &m_record, &m_result);
    }

    /// What must hold whenever the database gives no answer.
    void ExpectNoAnswer() {
        EXPECT_EQ(GetSetting(), 0);
        EXPECT_EQ(m_data.passwordSet, 1U) << "whoever overlooks the failure stays locked out";
        EXPECT_EQ(m_result.code, kDbUnreadable);
        EXPECT_EQ(Verify(kCheapPassword), 0);
        EXPECT_EQ(m_result.code, kDbUnreadable);
        EXPECT_EQ(m_record.isSet, 0U);
    }

    std::unique_ptr<void, CloseLibrary> m_library;
    PFNAVGETCLIENTSETTINGDATA m_getSetting = nullptr;
    PFNAVVERFIYPASSWORD m_verify = nullptr;
    tagCLIENTSETTINGDATA m_data{};
    tagPASSWORDRECORD m_record{};
    tagDBRESULT m_result{};
};

TEST_F(DbmodLibraryTest, ExportsTheTwoEntryPointsAndNothingElse) {
    std::set<std::string> names;
    const std::string command = std::string("nm -D --defined-only '") + DBMOD_LIBRARY + "'";
    FILE* nm = popen(command.c_str(), "re");
    ASSERT_NE(nm, nullptr);
    std::array<char, 512> line{};
    while (std::fgets(line.data(), line.size(), nm) != nullptr) {
        const std::string text = line.data();
        names.insert(text.substr(text.rfind(' ') + 1, text.find('\n') - text.rfind(' ') - 1));
    }
    EXPECT_EQ(pclose(nm), 0);
    EXPECT_EQ(names, (std::set<std::string>{"AvGetClientSettingData", "AvVerfiyPassword"}));
}

TEST_F(DbmodLibraryTest, WithoutAPasswordTheFieldAtByte28Is0) {
    ASSERT_NE(GetSetting(), 0);
    std::array<unsigned char, 256> wanted{};
    wanted[1] = 0x01;  // size 256
    wanted[4] = 14;
    wanted[8] = 1;
    EXPECT_EQ(std::memcmp(&m_data, wanted.data(), wanted.size()), 0);
    const std::array<unsigned char, 16> wantedResult = {16};
    EXPECT_EQ(std::memcmp(&m_result, wantedResult.data(), wantedResult.size()), 0);
}

TEST_F(DbmodLibraryTest, WithAPasswordTheFieldAtByte28Is1) {
    SetCheapPassword();
    ASSERT_NE(GetSetting(), 0);
    std::array<unsigned char, 256> wanted{};
    wanted[1] = 0x01;
    wanted[4] = 14;
    wanted[8] = 1;
    wanted[28] = 1;
    EXPECT_EQ(std::memcmp(&m_data, wanted.data(), wanted.size()), 0);
}

TEST_F(DbmodLibraryTest, TheRightPasswordIsAnswered1000) {
    SetCheapPassword();
    ASSERT_NE(Verify("correct horse"), 0);
    std::array<unsigned char, 16> wanted = {16, 0, 0, 0, 0xE8, 0x03};
    EXPECT_EQ(std::memcmp(&m_result, wanted.data(), wanted.size()), 0);
    // 1,700,000,000 is 0x6553F100.
    std::array<unsigned char, 64> record = {64, 0, 0, 0, 1, 0, 0, 0, 0x00, 0xF1, 0x53, 0x65};
    EXPECT_EQ(std::memcmp(&m_record, record.data(), record.size()), 0);
}

TEST_F(DbmodLibraryTest, AWrongPasswordIsAnswered1001) {
    SetCheapPassword();
    for (const std::string& password :
         {std::string("Correct horse"), std::string("correct horse "), std::string("correct"),
          std::string(), std::string(kCheapHash), std::string(511, 'x'), std::string(512, 'x'),
          std::string(5'000'000, 'x'), std::string("no password is set")}) {
        ASSERT_NE(Verify(password.c_str()), 0) << password.size();
        EXPECT_EQ(m_result.code, 1001U) << password.size();
        EXPECT_EQ(m_record.isSet, 1U);
    }
}

TEST_F(DbmodLibraryTest, WhileNoPasswordIsSetEveryOneIsRefused) {
    for (const char* password : {"", "x", "no password is set"}) {
        ASSERT_NE(Verify(password), 0);
        EXPECT_EQ(m_result.code, 1001U);
        EXPECT_EQ(m_record.isSet, 0U);
    }
}

TEST_F(DbmodLibraryTest, OtherSettingsAreNotHeld) {
    for (const auto& [category, value] :
         {std::pair{14U, 0U}, {14U, 2U}, {13U, 1U}, {0U, 0U}, {~0U, ~0U}}) {
        EXPECT_EQ(m_getSetting(category, value, &m_data, &m_result), 0);
        EXPECT_EQ(m_result.code, kDbBadArgument);
        EXPECT_EQ(m_data.passwordSet, 1U);
    }
}

TEST_F(DbmodLibraryTest, NullArgumentsFailAtOnce) {
    EXPECT_EQ(m_getSetting(14, 1, nullptr, &m_result), 0);
    EXPECT_EQ(m_getSetting(14, 1, &m_data, nullptr), 0);
    EXPECT_EQ(m_verify(nullptr, &m_record, &m_result), 0);
    EXPECT_EQ(m_verify("x", nullptr, &m_result), 0);
    EXPECT_EQ(m_verify("x", &m_record, nullptr), 0);
}

TEST_F(DbmodLibraryTest, AMissingDatabaseGivesNoAnswer) {
    fs::remove(kDatabase);
    ExpectNoAnswer();
    EXPECT_EQ(m_result.systemError, static_cast<std::uint32_t>(ENOENT));
    EXPECT_FALSE(fs::exists(kDatabase)) << "reading makes nothing";
}

TEST_F(DbmodLibraryTest, ALockedDatabaseGivesNoAnswerAndSoon) {
    const DatabaseLock lock(kDatabase);
    const auto start = std::chrono::steady_clock::now();
    ExpectNoAnswer();
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(DbmodLibraryTest, ADamagedDatabaseGivesNoAnswer) {
    SetCheapPassword();
    const std::string sound = ReadFile(kDatabase);
    for (std::size_t length = 0; length < sound.size(); length += 97) {
        WriteFile(kDatabase, std::string_view(sound).substr(0, length));
        ExpectNoAnswer();
    }
    WriteFile(kDatabase, sound);
    RunSql(kDatabase, "UPDATE settings_password SET secret = 'no password is set'");
    ExpectNoAnswer();
}

TEST_F(DbmodLibraryTest, ALinkGivesNoAnswer) {
    fs::rename(kDatabase, std::string(kProduct) + "/elsewhere.db");
    fs::create_symlink("elsewhere.db", kDatabase);
    ExpectNoAnswer();
    fs::remove(std::string(kProduct) + "/elsewhere.db");
}

TEST_F(DbmodLibraryTest, AForbiddenDatabaseGivesNoAnswer) {
    ASSERT_EQ(chmod(kDatabase, 0), 0);
    if (geteuid() != 0) {
        ExpectNoAnswer();
        return;
    }
    EXPECT_EQ(RunAsNobody([&] {
                  return GetSetting() == 0 && m_data.passwordSet == 1 &&
                                 m_result.code == kDbUnreadable && m_result.systemError == EACCES
                             ? 0
                             : 1;
              }),
              0);
}

TEST_F(DbmodLibraryTest, AnOrdinaryUserIsAnswered) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    SetCheapPassword();
    EXPECT_EQ(RunAsNobody([&] {
                  return GetSetting() == 1 && m_data.passwordSet == 1 &&
                                 Verify(kCheapPassword) == 1 && m_result.code == 1000
                             ? 0
                             : 1;
              }),
              0);
}

TEST_F(DbmodLibraryTest, TheInstalledFreshDatabaseHasNoPassword) {
    fs::copy_file(FRESH_DATABASE, kDatabase, fs::copy_options::overwrite_existing);
    ASSERT_NE(GetSetting(), 0);
    EXPECT_EQ(m_data.passwordSet, 0U);
    struct stat info {};
    ASSERT_EQ(stat(FRESH_DATABASE, &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644U);
}

TEST_F(DbmodLibraryTest, ThreadsMayAskAtTheSameTime) {
    SetCheapPassword();
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, isRight = i % 2 == 0] {
            for (int round = 0; round < 25; ++round) {
                tagPASSWORDRECORD record{};
                tagDBRESULT result{};
                const int answered = m_verify(isRight ? kCheapPassword : "wrong", &record, &result);
                wrong += answered == 0 || result.code != (isRight ? 1000U : 1001U) ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(DbmodLibraryTest, MayBeLoadedAndUnloadedManyTimes) {
    SetCheapPassword();
    for (int i = 0; i < 20; ++i) {
        LoadLibrary();
        ASSERT_NE(GetSetting(), 0);
        EXPECT_EQ(m_data.passwordSet, 1U);
    }
}

}  // namespace
}  // namespace dbmod
