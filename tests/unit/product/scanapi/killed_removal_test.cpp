// A removal that is killed or refused at each of its system calls that change something: the file
// is in its place or whole in the vault, never in neither.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <set>

#include "product/scanapi/file_remover.h"
#include "product/vault/item_reader.h"
#include "product/vault/place.h"
#include "tests/support/scratch.h"
#include "tests/support/traced_program.h"

namespace {

namespace fs = std::filesystem;
using scanapi::RemovalResult;

// Calls that change no file, and matter here: leases and locks, and names nobody can foresee.
const std::set<std::string_view> kAlso{"fcntl", "getrandom", "flock"};

class KilledRemoval : public testing::Test {
protected:
    void SetUp() override {
        if (!InSandbox()) {
            GTEST_SKIP() << "fills the vault: runs in tests/support/sandbox only";
        }
        if (!CanTrace()) {
            GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
        }
        setenv("XDG_DATA_HOME", (m_folder / "data").c_str(), 1);
        // Large enough for several pieces of it, and not to be compressed.
        while (m_contents.size() < 200'000) {
            m_contents += std::to_string(m_contents.size() * 2654435761U);
        }
    }
    void Reset() const {
        fs::remove_all(fs::path(vault::PathOfVault()).parent_path());
        fs::remove_all(m_folder / "d");
        fs::create_directory(m_folder / "d");
        WriteFile(m_bad, m_contents);
    }
    std::vector<SystemCall> Calls() const {
        Reset();
        EXPECT_EQ(RunTraced({"-o", m_folder / "trace"}, Program()),
                  static_cast<int>(RemovalResult::Removed));
        return MarkedCallsIn(m_folder / "trace", [](std::string_view name, std::string_view line) {
            return ChangesFiles(name, line) || kAlso.contains(name);
        });
    }
    [[nodiscard]] std::vector<std::string> Program() const { return {REMOVE_ONCE, m_bad}; }
    int Inject(const SystemCall& call, const std::string& what) const {
        return RunInjected(call, what, Program());
    }

    // How many whole copies the vault holds; what is in it under an item's name has to be whole.
    [[nodiscard]] int Kept() const {
        int kept = 0;
        std::error_code ignored;
        for (const auto& entry : fs::recursive_directory_iterator(vault::PathOfVault(), ignored)) {
            if (!entry.is_regular_file() || entry.path().filename() == ".unfinished") {
                continue;
            }
            std::string why;
            std::string contents;
            const auto item = vault::ItemReader::Open(
                common::FileDescriptor(::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC)), why);
            const bool isWhole =
                item && item->Facts().path == m_bad &&
                item->Extract(
                    [&](std::span<const std::byte> bytes) {
                        contents.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
                        return true;
                    },
                    why) &&
                contents == m_contents;
            EXPECT_TRUE(isWhole) << entry.path() << why;
            ++kept;
        }
        return kept;
    }
    [[nodiscard]] bool IsInPlace() const { return ReadFile(m_bad) == m_contents; }

    void ExpectAnotherRunToDo() const {
        if (IsInPlace()) {
            EXPECT_EQ(RunTraced({"-o", "/dev/null"}, Program()),
                      static_cast<int>(RemovalResult::Removed));
        }
        EXPECT_GE(Kept(), 1);
        const std::string folder = vault::PathOfVault() + "/" + std::to_string(::geteuid()) + "/";
        EXPECT_FALSE(Exists(m_bad));
        EXPECT_FALSE(Exists(folder + ".unfinished"));
    }

    ScratchFolder m_folder;
    std::string m_bad = m_folder / "d/bad";
    std::string m_contents;
};

TEST_F(KilledRemoval, AtAnyCallTheFileIsInItsPlaceOrWholeInTheVault) {
    const std::vector<SystemCall> calls = Calls();
    ASSERT_GT(calls.size(), 12U);
    int onlyInPlace = 0;
    int onlyInVault = 0;
    for (const SystemCall& call : calls) {
        SCOPED_TRACE(call.Injecting("signal=KILL"));
        Reset();
        EXPECT_EQ(Inject(call, "signal=KILL"), -1) << "nobody was killed";
        const bool isKept = Kept() > 0;
        EXPECT_TRUE(IsInPlace() || isKept);
        onlyInPlace += IsInPlace() && !isKept ? 1 : 0;
        onlyInVault += !IsInPlace() && isKept ? 1 : 0;
        ExpectAnotherRunToDo();
    }
    std::cout << "killed at " << calls.size() << " calls; " << onlyInPlace
              << " times only in place, " << onlyInVault << " times only in the vault\n";
    EXPECT_GT(onlyInPlace, 5);
    EXPECT_GT(onlyInVault, 0);
}

TEST_F(KilledRemoval, RefusedAnyCallTheFileStaysOrIsKept) {
    int stayed = 0;
    for (const SystemCall& call : Calls()) {
        for (const char* error : {"ENOSPC", "EIO"}) {
            SCOPED_TRACE(call.Injecting(error));
            Reset();
            const int result = Inject(call, std::string("error=") + error);
            if (result == static_cast<int>(RemovalResult::Removed)) {
                EXPECT_EQ(Kept(), 1);
                continue;
            }
            ++stayed;
            EXPECT_TRUE(IsInPlace()) << result;
        }
    }
    EXPECT_GT(stayed, 20);
}

TEST_F(KilledRemoval, TheCopyIsOnTheDiskBeforeTheFileGoes) {
    Reset();
    ASSERT_EQ(RunTraced({"-y", "-o", m_folder / "trace"}, Program()),
              static_cast<int>(RemovalResult::Removed));
    std::string order;
    std::ifstream trace(m_folder / "trace");
    for (std::string line; std::getline(trace, line);) {
        const bool isUnfinished = line.find(".unfinished") != std::string::npos;
        if (line.starts_with("openat(") && isUnfinished) {
            order += "c";
        } else if (line.starts_with("fsync(")) {
            order += isUnfinished ? "f" : "d";
        } else if (line.starts_with("renameat2(")) {
            order += isUnfinished ? "N" : "m";
        } else if (line.starts_with("unlinkat(") && line.find(".corvane-") != std::string::npos) {
            order += "u";
        }
    }
    // The folders that were made; the copy, its name, the move, the removal.
    EXPECT_EQ(order.substr(order.find('c')), "cfNdmu");
    EXPECT_EQ(order.substr(0, order.find('c')).find_first_not_of('d'), std::string::npos);
    EXPECT_NE(order.find('c'), 0U) << "new folders are synced";
}

}  // namespace
