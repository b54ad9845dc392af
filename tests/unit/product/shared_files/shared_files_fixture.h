#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

#include "tests/support/scratch.h"

// create-shared-files over a program directory of the test's own.

struct ExpectedFile {
    std::string name;
    std::string content;
    unsigned int mode;
    std::size_t minimumSize;
};

inline const std::string kEmptyIndex("ZQRF\0\0\0\0\0\0\0\0", 12);

/// "https://database.clamav.net", each byte rotated left by three bits.
inline const std::string kOfficialMirrorRotated(
    "\x43\xA3\xA3\x83\x9B\xD1\x79\x79\x23\x0B\xA3\x0B\x13\x0B\x9B\x2B\x71\x1B\x63\x0B\x6B\x0B\xB3"
    "\x71"
    "\x73\x2B\xA3");

/// Kind 1, of Saturday, 21 November 2026, 20, 0, 56, 0 and no address; the halves of each byte
/// swapped.
inline const std::string kAdminHead(
    "\x10\x00\xAE\x70\xB0\x00\x60\x00\x51\x00\x00\x00\x00\x00\x00\x00\x00\x00\x41\x00\x00\x00\x83"
    "\x00"
    "\x00\x00\x00\x00",
    28);

/// What an installation makes, byte for byte.
inline const std::vector<ExpectedFile> kFiles = {
    {"zqscn.opt", std::string("\x01\x00\x0B", 3), 0666, 1},
    {"main.rpt", kEmptyIndex, 0666, 12},
    {"updt.rpt", kEmptyIndex, 0666, 12},
    {"zqupdate.opt", std::string("\x03\0\0\0\x01\0\0\0", 8) + std::string(512, '\0'), 0666, 8},
    {"zqinet.opt", std::string(788, '\0'), 0666, 788},
    {"updlink.dat",
     std::string("\0\0\0\0\x01\0\0\0\0\0", 10) + kOfficialMirrorRotated + std::string(1005, '\0'),
     0644, 6},
    {"admnlink.dat", kAdminHead + std::string(526, '\0'), 0644, 554},
    {"updt.lck", "", 0666, 0},
    {".bookmarks", std::string(4, '\0'), 0666, 4},
    {"section.ini", "[LOGLIMIT]\nMAXLIMIT = 10000\nLIMIT = 5000\n", 0644, 1},
    {"reports/VirMain.dat", std::string("\0\0\0\0VirRcONE.dat", 16) + std::string(88, '\0'), 0666,
     104},
    {"reports/VirRcONE.dat", "", 0666, 0},
    {"reports/RecOffset.dat", "", 0666, 0},
    {"reports/schdmain.rpt", std::string(19, '\0'), 0644, 19},
    {"defs/lock", "", 0600, 0},
    {"defs/package/scanver.cnf",
     std::string("\xEA\x07\x0B\x00\xEA\x07\x0B\x00\x06\x00\x15\x00\0\0\0\0\0\0\0\0", 20), 0644, 20},
};

class SharedFiles : public testing::Test {
protected:
    struct Outcome {
        int status = -1;  ///< the exit status, -1 when it was killed
        std::string errors;
    };

    /// Runs `program` with `arguments`.
    Outcome Execute(std::vector<std::string> command) const {
        const std::string errors = m_scratch / "errors";
        const int status = InChild([&] {
            const int fd = ::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            ::dup2(fd, STDERR_FILENO);
            return Become(command);
        });
        return {status, ReadFile(errors)};
    }

    Outcome Run() const { return Execute({CREATE_SHARED_FILES, m_directory}); }

    [[nodiscard]] std::string PathOf(const std::string& name) const {
        return m_directory + "/" + name;
    }

    /// Puts a file in place; the folder is made.
    void Put(const std::string& name, const std::string& content, unsigned int mode = 0600) const {
        const std::string path = PathOf(name);
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        WriteFile(path, content);
        ASSERT_EQ(::chmod(path.c_str(), mode), 0);
    }

    void ExpectWhole(const ExpectedFile& file) const {
        EXPECT_TRUE(Exists(PathOf(file.name))) << file.name;
        EXPECT_EQ(ReadFile(PathOf(file.name)), file.content) << file.name;
        EXPECT_EQ(ModeOf(PathOf(file.name)), file.mode) << file.name;
    }

    void ExpectAllWhole() const {
        for (const ExpectedFile& file : kFiles) {
            ExpectWhole(file);
        }
        EXPECT_EQ(ModeOf(PathOf("reports")), 01777U);
        EXPECT_EQ(ModeOf(PathOf("tmp")), 01777U);
        EXPECT_EQ(ModeOf(PathOf("download")), 02750U);
        EXPECT_EQ(ModeOf(PathOf("defs")), 0755U);
        EXPECT_EQ(ModeOf(PathOf("defs/package")), 0755U);
        EXPECT_EQ(LinkAt("defs/current"), "package");
        EXPECT_EQ(LinkAt("scanver.cnf"), "defs/current/scanver.cnf");
        EXPECT_EQ(CountOfEntries(), kFiles.size() + 7) << "and nothing else is left";
    }

    /// Where a link leads; empty without one.
    [[nodiscard]] std::string LinkAt(const std::string& name) const {
        std::error_code error;
        return std::filesystem::read_symlink(PathOf(name), error);
    }

    [[nodiscard]] std::size_t CountOfEntries() const {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::recursive_directory_iterator(m_directory)) {
            ++count;
        }
        return count;
    }

    void SetUp() override { std::filesystem::create_directories(m_directory); }

    ScratchFolder m_scratch;
    std::string m_directory = m_scratch / "program";
};
