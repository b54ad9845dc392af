#pragma once

#include <array>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

#include "product/signed_index/verified_index.h"
#include "tests/support/mirror.h"
#include "tests/support/scratch.h"

/// corvane-mirror as an administrator calls it, with two databases and a key.
class MirrorProgram : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::create_directory(m_folder / "source");
        WriteFile(m_folder / "source/daily.ndb", "daily signatures\n");
        WriteFile(m_folder / "source/own.hdb", "own signatures\n");
        WriteFile(m_folder / "source/notes.txt", "no database");
        WriteFile(m_folder / "source/.hidden.hdb", "hidden");
        WriteFile(m_folder / "key", kMirrorSecretKey);
    }

    // Runs the program in the test's folder: its exit status.
    int Run(const std::string& arguments) {
        const std::string command = "cd " + m_folder.Path() + " && '" + MIRROR_PROGRAM + "' " +
                                    arguments + " >out 2>err </dev/null";
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    int Make() { return Run("--from source --key key mirror"); }
    [[nodiscard]] std::string Out() const { return ReadFile(m_folder / "out"); }
    [[nodiscard]] std::string Err() const { return ReadFile(m_folder / "err"); }

    signed_index::Refusal Accept(signed_index::Index& index) const {
        signed_index::PublicKey key;
        (void)signed_index::ParsePublicKey(kMirrorPublicKey, key);
        return signed_index::AcceptIndex(ReadFile(m_folder / "mirror/index.json"),
                                         ReadFile(m_folder / "mirror/index.json.minisig"),
                                         std::array{key}, {std::time(nullptr), 0}, index);
    }
    [[nodiscard]] signed_index::Index Accepted() const {
        signed_index::Index index;
        EXPECT_EQ(Accept(index), signed_index::Refusal::kNone);
        return index;
    }
    [[nodiscard]] std::string FileOf(const std::string& bytes) const {
        return m_folder / ("mirror/files/" + Sha256Text(bytes));
    }

    ScratchFolder m_folder;
};
