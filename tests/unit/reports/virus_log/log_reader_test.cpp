#include <cerrno>
#include <sys/stat.h>

#include "tests/unit/reports/virus_log/log_reader_fixture.h"

namespace {

// A record whose variable parts are given as the bytes in the file.
std::string RecordOf(std::uint32_t component, const std::string& virus, const std::string& action,
                     const std::string& user, const std::string& path, const std::string& domain) {
    return U32(static_cast<std::uint32_t>(path.size())) +
           U32(static_cast<std::uint32_t>(domain.size())) + U32(component) + Padded(virus, 50) +
           Padded(action, 100) + std::string("\1\0\2\0\3\0\4\0\5\0\6\0\7\0\x08\0", 16) +
           Padded(user, 32) + path + domain;
}

TEST_F(LogReader, AnEmptyLogHasItsHeadOnly) {
    PutRemains();
    ASSERT_EQ(Read(0, "", ""), virus_log::ReadLogResult::kOk);
    EXPECT_EQ(m_contents.majorVersion, 5);
    EXPECT_EQ(m_contents.minorVersion, 12);
    EXPECT_EQ(m_contents.computerName, "host");
    ExpectRead("", 0, 0);
}

TEST_F(LogReader, EveryFieldIsDecoded) {
    ASSERT_EQ(Read(1, RecordBytes("/home/a.com", "Eicar-Test"), U32(88)),
              virus_log::ReadLogResult::kOk);
    ASSERT_EQ(m_contents.entries.size(), 1U);
    const virus_log::VirusLogEntry& entry = m_contents.entries[0];
    EXPECT_EQ(entry.component, 8000U);
    EXPECT_EQ(entry.virusName, "Eicar-Test");
    EXPECT_EQ(entry.action, "File is skipped");
    EXPECT_EQ(entry.time.year, 2026);
    EXPECT_EQ(entry.time.month, 11);
    EXPECT_EQ(entry.time.dayOfWeek, 6);
    EXPECT_EQ(entry.time.day, 21);
    EXPECT_EQ(entry.time.hour, 10);
    EXPECT_EQ(entry.time.minute, 20);
    EXPECT_EQ(entry.time.second, 30);
    EXPECT_EQ(entry.time.milliseconds, 40);
    EXPECT_EQ(entry.userName, "user");
    EXPECT_EQ(entry.filePath, "/home/a.com");
    EXPECT_EQ(entry.domainName, "dom");
    ExpectRead("/home/a.com ", 0, 0);
}

TEST_F(LogReader, FieldsMayBeFullOrEmpty) {
    const std::string records =
        RecordOf(0xFFFFFFFF, std::string(50, 'v'), Wide(std::string(50, 'a')),
                 Wide(std::string(16, 'u')), Wide("/p"), "") +
        RecordOf(0, "", "", "", "", "");
    const std::string head = U32(0) + U32(2) + U32(88 + 214 + 210) + U32(0xFFFFFFFF) +
                             U32(0x80000000) + std::string(32, 'z') + Wide(std::string(18, 'c'));
    ASSERT_EQ(Read(head + records + U32(88) + U32(302)), virus_log::ReadLogResult::kOk);
    EXPECT_EQ(m_contents.majorVersion, -1);
    EXPECT_EQ(m_contents.minorVersion, -2'147'483'647 - 1);
    EXPECT_EQ(m_contents.computerName, std::string(18, 'c'));
    ASSERT_EQ(m_contents.entries.size(), 2U);
    EXPECT_EQ(m_contents.entries[0].component, 0xFFFFFFFF);
    EXPECT_EQ(m_contents.entries[0].virusName, std::string(50, 'v'));
    EXPECT_EQ(m_contents.entries[0].action, std::string(50, 'a'));
    EXPECT_EQ(m_contents.entries[0].userName, std::string(16, 'u'));
    EXPECT_EQ(m_contents.entries[0].domainName, "");
    EXPECT_EQ(m_contents.entries[1].component, 0U);
    EXPECT_EQ(m_contents.entries[1].virusName, "");
    EXPECT_EQ(m_contents.entries[1].action, "");
    EXPECT_EQ(m_contents.entries[1].userName, "");
    ExpectRead("/p  ", 0, 0);
}

TEST_F(LogReader, WhatFollowsATerminatorInAFieldIsNoText) {
    ASSERT_EQ(Read(1,
                   RecordOf(1, std::string("v\0x", 3), Wide(std::string_view("a\0x", 3)),
                            Wide(std::string_view("u\0x", 3)), Wide("/p"), Wide("d")),
                   U32(88)),
              virus_log::ReadLogResult::kOk);
    EXPECT_EQ(m_contents.entries[0].virusName, "v");
    EXPECT_EQ(m_contents.entries[0].action, "a");
    EXPECT_EQ(m_contents.entries[0].userName, "u");
}

TEST_F(LogReader, TextsComeBackAsTheirBytes) {
    const std::string path("/\0\xE4\0\x3D\xD8\x00\xDE\xFF\xDC\x00\xD8\0\0x\0", 16);
    ASSERT_EQ(Read(1,
                   RecordOf(1, "v\xFF", std::string("\xE4\0", 2), std::string("\x80\xDC", 2), path,
                            std::string("\xAC\x20", 2)),
                   U32(88)),
              virus_log::ReadLogResult::kOk);
    EXPECT_EQ(m_contents.entries[0].filePath,
              std::string("/\xC3\xA4\xF0\x9F\x98\x80\xFF\xED\xA0\x80\0x", 13));
    EXPECT_EQ(m_contents.entries[0].virusName, "v\xFF");
    EXPECT_EQ(m_contents.entries[0].action, "\xC3\xA4");
    EXPECT_EQ(m_contents.entries[0].userName, "\x80");
    EXPECT_EQ(m_contents.entries[0].domainName, "\xE2\x82\xAC");
}

TEST_F(LogReader, RecordsComeOldestFirst) {
    ASSERT_EQ(
        Read(3, Record('a') + RecordBytes("/longer") + Record('c'), U32(88) + U32(308) + U32(538)),
        virus_log::ReadLogResult::kOk);
    ExpectRead("/a /longer /c ", 0, 0);
}

TEST_F(LogReader, WhatCannotBeOpenedIsTold) {
    PutRemains();
    errno = 0;
    EXPECT_EQ(virus_log::ReadVirusLogCopy(m_path.c_str(), m_contents),
              virus_log::ReadLogResult::kCannotOpen);
    EXPECT_EQ(errno, ENOENT);
    ExpectNothingRead();

    ASSERT_EQ(::mkfifo(m_path.c_str(), 0666), 0);
    errno = 0;
    EXPECT_EQ(virus_log::ReadVirusLogCopy(m_path.c_str(), m_contents),
              virus_log::ReadLogResult::kCannotOpen);
    EXPECT_EQ(errno, EPERM);
    ASSERT_EQ(::unlink(m_path.c_str()), 0);

    ASSERT_EQ(::mkdir(m_path.c_str(), 0777), 0);
    errno = 0;
    EXPECT_EQ(virus_log::ReadVirusLogCopy(m_path.c_str(), m_contents),
              virus_log::ReadLogResult::kCannotOpen);
    EXPECT_EQ(errno, EPERM);
    ASSERT_EQ(::rmdir(m_path.c_str()), 0);

    WriteFile(m_folder / "real", HeadBytes(0, 88));
    ASSERT_EQ(::symlink("real", m_path.c_str()), 0);
    errno = 0;
    EXPECT_EQ(virus_log::ReadVirusLogCopy(m_path.c_str(), m_contents),
              virus_log::ReadLogResult::kCannotOpen);
    EXPECT_EQ(errno, ELOOP);

    errno = 0;
    EXPECT_EQ(virus_log::ReadVirusLogCopy(nullptr, m_contents),
              virus_log::ReadLogResult::kCannotOpen);
    EXPECT_EQ(errno, EINVAL);
    ExpectNothingRead();
}

TEST_F(LogReader, WithoutAHeadItIsNoLog) {
    for (const std::size_t size : {0U, 1U, 12U, 87U}) {
        PutRemains();
        EXPECT_EQ(Read(HeadBytes(0, 88).substr(0, size)), virus_log::ReadLogResult::kNotALog)
            << size;
        ExpectNothingRead();
    }
}

TEST_F(LogReader, ATableOutsideTheFileMakesItNoLog) {
    for (const std::uint32_t tableOffset : {0U, 12U, 87U, 313U, 0x80000000U, 0xFFFFFFFFU}) {
        PutRemains();
        EXPECT_EQ(Read(HeadBytes(1, tableOffset) + Record('a') + U32(88)),
                  virus_log::ReadLogResult::kNotALog)
            << tableOffset;
        ExpectNothingRead();
    }
}

TEST_F(LogReader, TheTableMayBeMissing) {
    ASSERT_EQ(Read(2, Record('a') + Record('b'), ""), virus_log::ReadLogResult::kOk);
    ExpectRead("/a /b ", 0, 0);
    ASSERT_EQ(Read(2, Record('a') + Record('b'), "bit"), virus_log::ReadLogResult::kOk);
    ExpectRead("/a /b ", 0, 0);
}

}  // namespace
