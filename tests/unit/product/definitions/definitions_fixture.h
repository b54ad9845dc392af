#pragma once

#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

#include "product/definitions/definition_folder.h"
#include "product/definitions/install.h"
#include "product/definitions/rollback.h"
#include "product/signed_index/index.h"
#include "tests/support/scratch.h"

// A product directory of the test's own with an empty folder of definitions and one trusted key,
// and candidates to be installed in it.

/// A file for an index, or to lie in a folder.
struct GivenFile {
    std::string name;
    std::string content;
    std::uint32_t version = 0;
};

/// A signature that finds the text "own-test-LETTER" and the line that makes a database of it.
std::string OwnSignature(char letter);

/// The text that OwnSignature finds.
std::string OwnText(char letter);

/// What an installation says.
class Listener : public definitions::InstallObserver {
public:
    bool GoOn(definitions::InstallStep step) override {
        steps.push_back(step);
        return steps.size() <= stopAfter;
    }
    void Refused() override { ++refused; }
    void Log(const std::string& line) override { log += line + "\n"; }

    std::vector<definitions::InstallStep> steps;
    std::string log;
    int refused = 0;
    std::size_t stopAfter = SIZE_MAX;  ///< how many questions are answered with yes
};

class DefinitionsTest : public testing::Test {
protected:
    DefinitionsTest();

    /// Puts the folder "candidate" in place: the files and their index, signed.
    void PutIndexed(std::uint64_t serial, const std::vector<GivenFile>& files) const;

    /// The index that PutIndexed writes.
    static signed_index::Index IndexOf(std::uint64_t serial, const std::vector<GivenFile>& files);

    /// Writes the index into the candidate and signs it, as the trusted signer or somebody else.
    enum class Signer { kTrusted, kStranger };
    void Sign(const signed_index::Index& index, Signer signer = Signer::kTrusted) const;

    /// Puts files into an emptied "candidate".
    void PutFiles(const std::vector<GivenFile>& files) const;

    /// Installs the candidate; what was said is in m_listener.
    definitions::InstallResult Install();
    definitions::Outcome InstallSerial(std::uint64_t serial, const std::vector<GivenFile>& files);

    /// All of a set: its files by name with their content.
    [[nodiscard]] std::string CurrentFile(std::string_view name) const;
    [[nodiscard]] std::vector<std::string> CurrentNames() const;

    /// The number that "defs/current" leads to, 0 without.
    [[nodiscard]] definitions::SetNumber Current() const;

    /// What lies in the folder of definitions, sorted, without the lock.
    [[nodiscard]] std::vector<std::string> Names() const;

    /// Whether the current set is whole: its files are those of its index, its version record has
    /// its length, and the library loads it.
    void ExpectWhole() const;

    ScratchFolder m_scratch;
    std::string m_product = m_scratch / "product/";
    std::string m_defs = m_product + "defs/";
    std::string m_candidate = m_scratch / "candidate/";
    definitions::InstallOptions m_options{m_product, {}, {}};
    Listener m_listener;
};

/// The small databases with real signatures, or empty where this machine lacks them.
std::string SignedDatabases();

/// Skips the test where they are missing.
#define NEED_SIGNED_DATABASES()                                                        \
    if (SignedDatabases().empty()) {                                                   \
        GTEST_SKIP() << "the databases with real signatures are not on this machine: " \
                     << SIGNED_DATABASES;                                              \
    }                                                                                  \
    static_assert(true)
