#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "tests/unit/update/files/product_fixture.h"
#include "update/files/admin_links.h"

namespace {

// What the 42 bytes before the folder texts are when nothing but kind and count is set.
std::string Front(const char* kind, const char* count) {
    return Hex(kind) + std::string(24, '\0') + Hex(count) + std::string(14, '\0');
}

class AdminWrite : public ProductFixture {
protected:
    int Write(std::vector<std::string> addresses) {
        std::vector<char*> list;
        list.reserve(addresses.size());
        for (std::string& address : addresses) {
            list.push_back(address.data());
        }
        return WriteUpdateInfo(m_path.c_str(), &m_record, static_cast<unsigned short>(list.size()),
                               list.data(), m_error);
    }

    void SetFolder(int index, std::string_view bytes) {
        std::memcpy(m_record.folders[index], Padded(bytes, 256).data(), 256);
    }

    // The folder text as it was written.
    [[nodiscard]] std::string Folder(int index) const {
        return Swapped(ReadFile(m_path)).substr(index == 0 ? 42 : 298, 256);
    }

    [[nodiscard]] std::string RecordBytes() const {
        return {reinterpret_cast<const char*>(&m_record), sizeof m_record};
    }

    std::string m_path = m_scratch / "admnlink.dat";
    tagADMNURLRECORD m_record{};
    unsigned int m_error = 99;
};

TEST_F(AdminWrite, ScramblesTheRecordAndTheAddresses) {
    m_record.kind = 1;
    m_record.created = {2026, 11, 6, 21, 13, 14, 15, 678};
    m_record.value18 = 20;
    m_record.value20 = 0x1234;
    m_record.value22 = 56;
    m_record.value24 = 0x5678;
    m_record.addressCount = 2;
    for (int index = 0; index < 14; ++index) {
        m_record.reserved[index] = static_cast<std::uint8_t>(0xA0 + index);
    }
    SetFolder(0, "/a");
    ASSERT_EQ(Write({"http://a", "b"}), 1);

    const std::string bytes = ReadFile(m_path);
    ASSERT_EQ(bytes.size(), 554U + 2 * 256U);
    EXPECT_EQ(ToHex(bytes.substr(0, 42)),
              "1000ae70b0006000"
              "5100d000e000f000"
              "6a20"
              "4100432183008765"
              "2000"
              "0a1a2a3a4a5a6a7a8a9aaabacada");
    // "/a/update/0512"
    EXPECT_EQ(ToHex(bytes.substr(42, 16)),
              "f216f257074616475"
              "6f2035313230000");
    EXPECT_EQ(bytes.substr(58, 496), std::string(496, '\0'));
    // "http://a/update/0512" and "b/update/0512"
    EXPECT_EQ(ToHex(bytes.substr(554, 22)),
              "8647470"
              "7a3f2f216f25707461647"
              "56f2035313230000");
    EXPECT_EQ(bytes.substr(576, 234), std::string(234, '\0'));
    EXPECT_EQ(ToHex(bytes.substr(810, 14)), "26f2570746164756f20353132300");
    EXPECT_EQ(bytes.substr(824), std::string(242, '\0'));
    EXPECT_EQ(m_error, 0U);
}

TEST_F(AdminWrite, LeavesTheCallersRecordScrambled) {
    m_record.kind = 1;
    SetFolder(0, "/a");
    ASSERT_EQ(Write({}), 1);
    EXPECT_EQ(RecordBytes(), ReadFile(m_path));
    EXPECT_EQ(m_record.kind, 0x10);
}

TEST_F(AdminWrite, WritesTheRecordsCountAndNotItsOwn) {
    m_record.addressCount = 5;
    ASSERT_EQ(Write({"one"}), 1);
    EXPECT_EQ(Swapped(ReadFile(m_path)),
              Front("0000", "0500") + std::string(512, '\0') + Padded("one/update/0512", 256));
}

TEST_F(AdminWrite, CreatesTheFileForItsOwnerOnly) {
    const mode_t before = ::umask(0);
    EXPECT_EQ(Write({}), 1);
    ::umask(before);
    EXPECT_EQ(ModeOf(m_path), 0600U);
    EXPECT_EQ(ReadFile(m_path), std::string(554, '\0'));
}

TEST_F(AdminWrite, KeepsTheModeOfAFile) {
    WriteFile(m_path, "");
    ASSERT_EQ(::chmod(m_path.c_str(), 0644), 0);
    EXPECT_EQ(Write({}), 1);
    EXPECT_EQ(ModeOf(m_path), 0644U);
}

TEST_F(AdminWrite, LeavesOlderAddressesBehindANewShorterList) {
    WriteFile(m_path, std::string(554, 'r') + AdminEntry("old1") + AdminEntry("old2") +
                          AdminEntry("old3") + AdminEntry("old4") + AdminEntry("old5"));
    m_record.addressCount = 2;
    ASSERT_EQ(Write({"one", "two"}), 1);
    EXPECT_EQ(ReadFile(m_path).size(), 554U + 5 * 256U);
    EXPECT_EQ(ReadFile(m_path), Swapped(Front("0000", "0200") + std::string(512, '\0')) +
                                    AdminEntry("one/update/0512") + AdminEntry("two/update/0512") +
                                    AdminEntry("old3") + AdminEntry("old4") + AdminEntry("old5"));

    unsigned short count = 0;
    char** list = nullptr;
    ASSERT_EQ(ReadUpdateInfo(m_path.c_str(), &m_record, &count, &list, m_error), 1);
    ASSERT_EQ(count, 2);
    EXPECT_STREQ(list[0], "one/update/0512");
    EXPECT_STREQ(list[1], "two/update/0512");
    FreeMemory(list, count);
}

TEST_F(AdminWrite, NamesTheReleaseWithTwoSignedNumbers) {
    struct Row {
        const char* version;
        const char* folder;
    };
    for (const Row& row :
         {Row{"0500 0c00", "/update/0512"}, Row{"0000 0000", "/update/0000"},
          Row{"6300 6400", "/update/99100"}, Row{"ea07 0b00", "/update/202611"},
          Row{"ffff fbff", "/update/-1-5"}, Row{"ff7f 0080", "/update/32767-32768"}}) {
        SetVersion(row.version);
        m_record = {};
        SetFolder(1, "x");
        ASSERT_EQ(Write({"y"}), 1);
        EXPECT_EQ(Folder(0), std::string(256, '\0'));
        EXPECT_EQ(Folder(1), Padded(std::string("x") + row.folder, 256));
        EXPECT_EQ(Swapped(ReadFile(m_path)).substr(554),
                  Padded(std::string("y") + row.folder, 256));
    }
}

TEST_F(AdminWrite, ExtendsAFolderOnlyOnce) {
    SetFolder(0, "/pub/update/0512");
    SetFolder(1, "/pub/update/0512/more");
    ASSERT_EQ(Write({}), 1);
    EXPECT_EQ(Folder(0), Padded("/pub/update/0512", 256));
    EXPECT_EQ(Folder(1), Padded("/pub/update/0512/more", 256));

    // Another release is another folder; so is a part of one.
    m_record = {};
    SetFolder(0, "/pub/update/0511");
    SetFolder(1, "/pub/update/051");
    ASSERT_EQ(Write({}), 1);
    EXPECT_EQ(Folder(0), Padded("/pub/update/0511/update/0512", 256));
    EXPECT_EQ(Folder(1), Padded("/pub/update/051/update/0512", 256));
}

TEST_F(AdminWrite, TakesNoFolderFromBehindTheTerminator) {
    SetFolder(0, std::string("a\0zzzzzzzzzzzzz/update/0512", 27));
    SetFolder(1, std::string("\0/update/0512", 13));
    ASSERT_EQ(Write({}), 1);
    // Written over what was behind it, and what is further behind stays.
    EXPECT_EQ(Folder(0), Padded(std::string("a/update/0512\0z/update/0512", 27), 256));
    EXPECT_EQ(Folder(1), Padded(std::string("\0/update/0512", 13), 256));
}

TEST_F(AdminWrite, KeepsFoldersWithin255Bytes) {
    SetFolder(0, std::string(243, 'f'));
    SetFolder(1, std::string(244, 's'));
    ASSERT_EQ(Write({}), 1);
    EXPECT_EQ(Folder(0), Padded(std::string(243, 'f') + "/update/0512", 256));
    EXPECT_EQ(Folder(1), Padded(std::string(244, 's') + "/update/051", 256));

    m_record = {};
    SetFolder(0, std::string(255, 'f'));
    // Not terminated, as no file of the product has it.
    SetFolder(1, std::string(256, 's'));
    ASSERT_EQ(Write({}), 1);
    EXPECT_EQ(Folder(0), Padded(std::string(255, 'f'), 256));
    EXPECT_EQ(Folder(1), Padded(std::string(255, 's'), 256));
}

TEST_F(AdminWrite, DoesNotReadAnUnterminatedFolderIntoTheNext) {
    SetFolder(0, std::string(256, 'f'));
    SetFolder(1, "/update/0512");
    ASSERT_EQ(Write({}), 1);
    EXPECT_EQ(Folder(0), Padded(std::string(255, 'f'), 256));
    EXPECT_EQ(Folder(1), Padded("/update/0512", 256));
}

TEST_F(AdminWrite, CutsAddressesTo255Bytes) {
    m_record.addressCount = 5;
    ASSERT_EQ(Write({std::string(243, 'a'), std::string(244, 'b'), std::string(255, 'c'),
                     std::string(300, 'd'), ""}),
              1);
    EXPECT_EQ(Swapped(ReadFile(m_path)).substr(554),
              Padded(std::string(243, 'a') + "/update/0512", 256) +
                  Padded(std::string(244, 'b') + "/update/051", 256) +
                  Padded(std::string(255, 'c'), 256) + Padded(std::string(255, 'd'), 256) +
                  Padded("/update/0512", 256));
}

// Unlike a folder text: whoever writes a list that was read gets the folder twice.
TEST_F(AdminWrite, ExtendsEveryAddress) {
    ASSERT_EQ(Write({"a/update/0512"}), 1);
    EXPECT_EQ(Swapped(ReadFile(m_path)).substr(554), Padded("a/update/0512/update/0512", 256));
}

TEST_F(AdminWrite, FailsForNullPointersAndLeavesTheError) {
    std::string address = "one";
    char* list[] = {address.data(), nullptr};
    EXPECT_EQ(WriteUpdateInfo(nullptr, &m_record, 1, list, m_error), 0);
    EXPECT_EQ(WriteUpdateInfo(m_path.c_str(), nullptr, 1, list, m_error), 0);
    EXPECT_EQ(WriteUpdateInfo(m_path.c_str(), &m_record, 1, nullptr, m_error), 0);
    EXPECT_EQ(WriteUpdateInfo(m_path.c_str(), &m_record, 2, list, m_error), 0);
    EXPECT_EQ(m_error, 99U);
    EXPECT_FALSE(Exists(m_path));
    EXPECT_EQ(WriteUpdateInfo(m_path.c_str(), &m_record, 0, nullptr, m_error), 1);
}

TEST_F(AdminWrite, FailsWithoutAVersionAndLeavesEverything) {
    std::filesystem::remove(kVersionFile);
    WriteFile(m_path, "old");
    SetFolder(0, "/pub");
    const std::string before = RecordBytes();
    EXPECT_EQ(Write({"one"}), 0);
    EXPECT_EQ(ReadFile(m_path), "old");
    EXPECT_EQ(RecordBytes(), before);
    EXPECT_EQ(m_error, 99U);
}

TEST_F(AdminWrite, FailsWhenTheFileCannotBeOpened) {
    m_path = m_scratch / "missing/admnlink.dat";
    m_record.kind = 1;
    SetFolder(0, "/pub");
    EXPECT_EQ(Write({"one"}), 0);
    EXPECT_EQ(m_error, 0U);
    // Extended, but not scrambled.
    EXPECT_EQ(m_record.kind, 1);
    EXPECT_STREQ(m_record.folders[0], "/pub/update/0512");
    m_path = m_scratch.Path();
    EXPECT_EQ(Write({"one"}), 0);
}

TEST_F(AdminWrite, DoesNotWaitForAFifo) {
    ASSERT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    m_record.kind = 1;
    EXPECT_EQ(Write({"one"}), 0);
    // Not scrambled.
    EXPECT_EQ(m_record.kind, 1);
}

TEST_F(AdminWrite, WritesWhatMayOnlyBeWrittenFromScratch) {
    WriteFile(m_path, std::string(5'000, 'o'));
    ASSERT_EQ(::chmod(m_path.c_str(), 0200), 0);
    if (::geteuid() == 0) {
        ASSERT_EQ(::chown(m_path.c_str(), 65'534, 65'534), 0);
        ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0755), 0);
    }
    EXPECT_EQ(InChild([this] {
                  // Root may read everything.
                  if (::geteuid() == 0 && ::seteuid(65'534) != 0) {
                      return 9;
                  }
                  return Write({"one"});
              }),
              1);
    EXPECT_EQ(ModeOf(m_path), 0666U);
    EXPECT_EQ(ReadFile(m_path), std::string(554, '\0') + AdminEntry("one/update/0512"));
}

TEST_F(AdminWrite, FailsWhenItsModeCannotBeSet) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root has files that somebody else may write";
    }
    WriteFile(m_path, "old");
    ASSERT_EQ(::chmod(m_path.c_str(), 0222), 0);
    ASSERT_EQ(::chmod(m_scratch.Path().c_str(), 0755), 0);
    EXPECT_EQ(InChild([this] { return ::seteuid(65'534) != 0 ? 9 : Write({"one"}); }), 0);
    // It was emptied on opening.
    EXPECT_EQ(ReadFile(m_path), "");
    EXPECT_EQ(ModeOf(m_path), 0222U);
}

TEST_F(AdminWrite, FailsOnAShortWrite) {
    // Of the address only two bytes find room; of the record only its first half.
    for (const rlim_t size : {556U, 277U}) {
        std::filesystem::remove(m_path);
        EXPECT_EQ(InChild([this, size] {
                      const struct rlimit limit { size, size };
                      (void)std::signal(SIGXFSZ, SIG_IGN);
                      return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 ? Write({"one"}) : 9;
                  }),
                  0);
        EXPECT_EQ(std::filesystem::file_size(m_path), size);
    }
}

TEST_F(AdminWrite, FailsOnAFullDisk) {
    if (!HasPrivateRoot()) {
        GTEST_SKIP() << "disks are only mounted in a private root";
    }
    const std::string folder = m_scratch / "disk";
    ASSERT_EQ(::mkdir(folder.c_str(), 0777), 0);
    const TinyDisk disk(folder, "4k");
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "no right to mount a disk to fill";
    }
    m_path = folder + "/admnlink.dat";
    // 4,096 bytes have room for the record and 13 addresses, the last of 14 is cut in the middle.
    m_record.kind = 1;
    EXPECT_EQ(Write(std::vector<std::string>(13, "one")), 1);
    std::filesystem::remove(m_path);
    m_record = {};
    m_record.kind = 1;
    EXPECT_EQ(Write(std::vector<std::string>(14, "one")), 0);
    EXPECT_EQ(std::filesystem::file_size(m_path), 4096U);
    EXPECT_EQ(m_error, 0U);
    EXPECT_EQ(m_record.kind, 0x10);
    WriteFile(folder + "/filler", "");

    // Not even the record.
    std::filesystem::remove(m_path);
    WriteFile(folder + "/filler", std::string(4096, 'f'));
    m_record = {};
    EXPECT_EQ(Write({}), 0);
}

}  // namespace
