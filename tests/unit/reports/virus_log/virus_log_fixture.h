#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/msg.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/support/scratch.h"

// The bytes of the log's files, put together by hand.

/// `value` as 4 bytes, least significant first.
inline std::string U32(std::uint32_t value) {
    std::string bytes;
    for (unsigned int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>((value >> shift) & 0xFFU);
    }
    return bytes;
}

/// `value` as 8 bytes, least significant first.
inline std::string U64(std::uint64_t value) {
    return U32(static_cast<std::uint32_t>(value)) + U32(static_cast<std::uint32_t>(value >> 32U));
}

/// ASCII text as UTF-16.
inline std::string Wide(std::string_view text) {
    std::string bytes;
    for (const char c : text) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

/// `bytes` with zero bytes up to `size`.
inline std::string Padded(std::string bytes, std::size_t size) {
    bytes.resize(size, '\0');
    return bytes;
}

/// The head of a record file whose identity block is that of version 5.12 on machine "host".
inline std::string HeadBytes(std::uint32_t count, std::uint32_t tableOffset = 0) {
    return U32(0) + U32(count) + U32(tableOffset) + U32(5) + U32(12) + std::string(32, '\0') +
           Padded(Wide("host"), 36);
}

/// A record as it was made on 2026-11-21 10:20:30.040 by "user" in domain "dom"; its size is
/// 216 bytes and two for each letter of `path`.
inline std::string RecordBytes(std::string_view path, std::string_view virus = "Virus") {
    return U32(static_cast<std::uint32_t>(path.size() * 2)) + U32(6) + U32(8000) +
           Padded(std::string(virus), 50) + Padded(Wide("File is skipped"), 100) +
           std::string("\xEA\x07\x0B\0\x06\0\x15\0\x0A\0\x14\0\x1E\0\x28\0", 16) +
           Padded(Wide("user"), 32) + Wide(path) + Wide("dom");
}

/// The record of a file with a name of one letter: 220 bytes.
inline std::string Record(char name) {
    return RecordBytes(std::string("/") + name);
}

/// "VirMain.dat".
inline std::string MainBytes(std::uint32_t isResetting, std::string_view fileName) {
    return U32(isResetting) + Padded(std::string(fileName), 100);
}

/// Whether the message queue of a mutex exists.
inline bool IsMutexHeld(key_t key) {
    return ::msgget(key, 0) >= 0 || errno != ENOENT;
}

/// Holds a mutex as a process does that does not give it back.
class HeldMutex {
public:
    explicit HeldMutex(key_t key) : m_queue(::msgget(key, IPC_CREAT | IPC_EXCL | 0600)) {}
    ~HeldMutex() { Release(); }
    HeldMutex(const HeldMutex&) = delete;
    HeldMutex& operator=(const HeldMutex&) = delete;
    [[nodiscard]] bool IsHeld() const { return m_queue >= 0; }
    void Release() {
        if (m_queue >= 0) {
            ::msgctl(m_queue, IPC_RMID, nullptr);
            m_queue = -1;
        }
    }

private:
    int m_queue;
};

/// A program directory with an empty "reports/", and version 5.12 in the product directory. Needs
/// the sandbox: its message queues and its product directory are the test's own.
class VirusLogTest : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "message queues and the product directory are only private in "
                            "tests/support/sandbox";
        }
        ASSERT_FALSE(IsMutexHeld(10011));
        ASSERT_FALSE(IsMutexHeld(10022));
        ASSERT_TRUE(common::CopyToField(g_szAppPath, m_app.Path()));
        ASSERT_EQ(::mkdir((m_app / "reports").c_str(), 0777), 0);
        std::filesystem::create_directories(kProductDirectory);
        WriteFile(m_version, std::string("\x05\0\x0C\0", 4) + std::string(16, 'd'));
    }
    void TearDown() override {
        if (InSandbox()) {
            EXPECT_FALSE(IsMutexHeld(10011)) << "a mutex was left behind";
            EXPECT_FALSE(IsMutexHeld(10022)) << "a mutex was left behind";
        }
    }

    [[nodiscard]] std::string Log(std::string_view name) const {
        return m_app / ("reports/" + std::string(name));
    }
    /// The content of a file of the log; "(missing)" when there is none.
    [[nodiscard]] std::string Content(std::string_view name) const {
        return Exists(Log(name)) ? ReadFile(Log(name)) : "(missing)";
    }
    void Put(std::string_view name, std::string_view content) const {
        WriteFile(Log(name), content);
    }
    /// "section.ini" with the limits of the log.
    void SetLimits(int maxLimit, int limit) const {
        WriteFile(m_app / "section.ini", "[LOGLIMIT]\nMAXLIMIT = " + std::to_string(maxLimit) +
                                             "\nLIMIT = " + std::to_string(limit) + "\n");
    }

    ScratchFolder m_app;
    std::string m_version = std::string(kProductDirectory) + "scanver.cnf";
};

/// The same with "reports/" on a disk of 64 KiB that can be filled.
class FullDiskLogTest : public VirusLogTest {
protected:
    void SetUp() override {
        VirusLogTest::SetUp();
        if (IsSkipped() || HasFatalFailure()) {
            return;
        }
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "disks are only mounted in a private root";
        }
        m_disk.emplace(m_app / "reports", "64k");
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "no right to mount a disk to fill";
        }
    }
    /// Leaves no free block.
    void Fill() {
        std::ofstream filler(Log("filler"), std::ios::binary);
        filler << std::string(100'000, 'f') << std::flush;
        ASSERT_FALSE(filler.good());
    }

    std::optional<TinyDisk> m_disk;
};
