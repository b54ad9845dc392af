#include "common/version_record.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/scratch.h"

namespace {

using namespace std::string_view_literals;

constexpr char kPath[] = "/usr/lib/Corvane/Corvane/scanver.cnf";

// 5.12 of Saturday, 21 November 2026, 13:14:15.678.
constexpr std::string_view kRecord =
    "\x05\x00\x0C\x00\xEA\x07\x0B\x00\x06\x00"
    "\x15\x00\x0D\x00\x0E\x00\x0F\x00\xA6\x02"sv;

class VersionRecord : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "the product directory is only made inside the sandbox";
        }
        std::filesystem::remove_all("/usr/lib/Corvane");
        std::filesystem::create_directories("/usr/lib/Corvane/Corvane");
        m_info.major = 77;
    }
    void TearDown() override {
        if (InSandbox()) {
            std::filesystem::remove_all("/usr/lib/Corvane");
        }
    }

    tagZQVERINFO m_info{};
};

TEST_F(VersionRecord, IsTheFirstTwentyBytes) {
    WriteFile(kPath, std::string(kRecord) + "and what else there is");
    ASSERT_EQ(GetVDBInfo(&m_info), 1);
    EXPECT_EQ(m_info.major, 5);
    EXPECT_EQ(m_info.minor, 12);
    EXPECT_EQ(m_info.databaseDate.year, 2026);
    EXPECT_EQ(m_info.databaseDate.month, 11);
    EXPECT_EQ(m_info.databaseDate.dayOfWeek, 6);
    EXPECT_EQ(m_info.databaseDate.day, 21);
    EXPECT_EQ(m_info.databaseDate.hour, 13);
    EXPECT_EQ(m_info.databaseDate.minute, 14);
    EXPECT_EQ(m_info.databaseDate.second, 15);
    EXPECT_EQ(m_info.databaseDate.milliseconds, 678);
}

TEST_F(VersionRecord, FailsWhenShort) {
    for (const std::size_t size : {0U, 4U, 19U}) {
        WriteFile(kPath, kRecord.substr(0, size));
        EXPECT_EQ(GetVDBInfo(&m_info), 0) << size;
        EXPECT_EQ(m_info.major, 77) << size;
    }
    WriteFile(kPath, kRecord);
    EXPECT_EQ(GetVDBInfo(&m_info), 1);
}

TEST_F(VersionRecord, FailsWithoutItsFile) {
    EXPECT_EQ(GetVDBInfo(&m_info), 0);
    std::filesystem::create_directory(kPath);
    EXPECT_EQ(GetVDBInfo(&m_info), 0);
    EXPECT_EQ(m_info.major, 77);
}

TEST_F(VersionRecord, FailsWithoutTheProductDirectory) {
    std::filesystem::remove_all("/usr/lib/Corvane");
    EXPECT_EQ(GetVDBInfo(&m_info), 0);
    EXPECT_EQ(m_info.major, 77);
}

TEST_F(VersionRecord, FailsForANullPointer) {
    WriteFile(kPath, kRecord);
    EXPECT_EQ(GetVDBInfo(nullptr), 0);
}

TEST_F(VersionRecord, FailsWhenItMayNotBeRead) {
    WriteFile(kPath, kRecord);
    const auto readAsNobody = [this] {
        return InChild([this] {
            // Root may read everything.
            if (::geteuid() == 0 && ::seteuid(65'534) != 0) {
                return 9;
            }
            return GetVDBInfo(&m_info);
        });
    };
    ASSERT_EQ(::chmod(kPath, 0644), 0);
    EXPECT_EQ(readAsNobody(), 1);
    ASSERT_EQ(::chmod(kPath, 0), 0);
    EXPECT_EQ(readAsNobody(), 0);
}

TEST_F(VersionRecord, DoesNotWaitForAFifo) {
    ASSERT_EQ(::mkfifo(kPath, 0644), 0);
    EXPECT_EQ(GetVDBInfo(&m_info), 0);
}

// 6.01 of the same moment.
TEST_F(VersionRecord, IsThatOfTheDefinitionsInUseThroughTheLink) {
    const std::string folder = "/usr/lib/Corvane/Corvane/defs/";
    std::filesystem::create_directories(folder + "package");
    std::filesystem::create_directories(folder + "set-7");
    WriteFile(folder + "package/scanver.cnf", kRecord);
    std::string record(kRecord);
    record[0] = 6;
    record[2] = 1;
    WriteFile(folder + "set-7/scanver.cnf", record);
    std::filesystem::create_symlink("package", folder + "current");
    std::filesystem::create_symlink("defs/current/scanver.cnf", kPath);
    EXPECT_EQ(GetVDBInfo(&m_info), 1);
    EXPECT_EQ(m_info.major, 5);
    std::filesystem::remove(folder + "current");
    std::filesystem::create_symlink("set-7", folder + "current");
    EXPECT_EQ(GetVDBInfo(&m_info), 1);
    EXPECT_EQ(m_info.major, 6);
    EXPECT_EQ(m_info.minor, 1);
    WriteFile(folder + "set-7/scanver.cnf", record.substr(0, 19));
    EXPECT_EQ(GetVDBInfo(&m_info), 0) << "one byte short";
    std::filesystem::remove(folder + "set-7/scanver.cnf");
    EXPECT_EQ(GetVDBInfo(&m_info), 0) << "the set has no record";
}

}  // namespace
