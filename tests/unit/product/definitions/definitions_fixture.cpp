#include "tests/unit/product/definitions/definitions_fixture.h"

#include <algorithm>
#include <ctime>

#include "common/io.h"
#include "product/definitions/set_state.h"
#include "product/definitions/test_load.h"
#include "product/signed_index/secret_key.h"
#include "product/signed_index/sha256.h"

namespace fs = std::filesystem;

namespace {

// Made by `minisign -G -W` for these tests.
constexpr char kTrustedKey[] =
    "untrusted comment: minisign public key A62CFED92D467C67\n"
    "RWRnfEYt2f4spieeiwBFG9v8qEnKs3VB42bKD/teeT3Hjqh1DFOF//Hf\n";
constexpr char kTrustedSecret[] =
    "untrusted comment: minisign encrypted secret key\n"
    "RWQAAEIyAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAZ3xGLdn+LKbOQfarEW"
    "FstghPQZqMTZdxJCTWgCcgn6iahdghXAcwRCeeiwBFG9v8qEnKs3VB42bKD/"
    "teeT3Hjqh1DFOF//HfAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=\n";
constexpr char kStrangersSecret[] =
    "untrusted comment: minisign encrypted secret key\n"
    "RWQAAEIyAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAKoaj1M/"
    "bGX8tTwRL0CsPGjlFm8NHdJXvtuEipidzoELrk5kgQBj2JWHYS06+sxZ/aCi7uJ/"
    "ZFFN617d7qjq/Amg8SmHqsjGPAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA=\n";

std::string DigestOf(std::string_view content) {
    signed_index::Sha256 digest;
    digest.Add(std::as_bytes(std::span(content)));
    return digest.Finish();
}

}  // namespace

std::string OwnText(char letter) {
    return std::string("own-test-") + letter;
}

std::string OwnSignature(char letter) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string line = std::string("Own.Test.") + letter + ":0:*:";
    for (const char byte : OwnText(letter)) {
        line += kDigits[static_cast<unsigned char>(byte) >> 4U];
        line += kDigits[static_cast<unsigned char>(byte) & 15U];
    }
    return line + "\n";
}

DefinitionsTest::DefinitionsTest() {
    fs::create_directories(m_defs);
    fs::create_directories(m_product + "updturl.keys");
    fs::create_directories(m_candidate);
    WriteFile(m_product + "updturl.keys/test.pub", kTrustedKey);
    for (const std::string& path : {m_product, m_product + "updturl.keys"}) {
        fs::permissions(path, fs::perms(0755));
    }
    fs::permissions(m_product + "updturl.keys/test.pub", fs::perms(0644));
}

signed_index::Index DefinitionsTest::IndexOf(std::uint64_t serial,
                                             const std::vector<GivenFile>& files) {
    signed_index::Index index;
    index.serial = serial;
    index.made = std::time(nullptr) - 3600;
    index.expires = std::time(nullptr) + 3600;
    for (const GivenFile& file : files) {
        index.files.push_back(
            {file.name, file.content.size(), DigestOf(file.content), file.version});
    }
    return index;
}

void DefinitionsTest::Sign(const signed_index::Index& index, Signer signer) const {
    signed_index::SecretKey key;
    ASSERT_EQ(key.Parse(signer == Signer::kTrusted ? kTrustedSecret : kStrangersSecret),
              signed_index::Refusal::kNone);
    const std::string text = signed_index::FormatIndex(index);
    WriteFile(m_candidate + "index.json", text);
    WriteFile(m_candidate + "index.json.minisig", key.Sign(text, "of a test"));
}

void DefinitionsTest::PutFiles(const std::vector<GivenFile>& files) const {
    fs::remove_all(m_candidate);
    fs::create_directories(m_candidate);
    for (const GivenFile& file : files) {
        WriteFile(m_candidate + file.name, file.content);
    }
}

void DefinitionsTest::PutIndexed(std::uint64_t serial, const std::vector<GivenFile>& files) const {
    PutFiles(files);
    Sign(IndexOf(serial, files));
}

definitions::InstallResult DefinitionsTest::Install() {
    m_listener.steps.clear();
    return definitions::Install({m_candidate}, m_options, m_listener);
}

definitions::Outcome DefinitionsTest::InstallSerial(std::uint64_t serial,
                                                    const std::vector<GivenFile>& files) {
    PutIndexed(serial, files);
    const auto result = Install();
    EXPECT_EQ(result.outcome == definitions::Outcome::kInstalled, result.why.empty()) << result.why;
    return result.outcome;
}

std::string DefinitionsTest::CurrentFile(std::string_view name) const {
    return ReadFile(m_defs + "current/" + std::string(name));
}

std::vector<std::string> DefinitionsTest::CurrentNames() const {
    std::vector<std::string> names;
    if (fs::exists(m_defs + "current")) {
        for (const auto& entry : fs::directory_iterator(m_defs + "current")) {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

definitions::SetNumber DefinitionsTest::Current() const {
    return definitions::DefinitionFolder::Open(m_product).Current().value_or(0);
}

std::vector<std::string> DefinitionsTest::Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_defs)) {
        if (entry.path().filename() != "lock") {
            names.push_back(entry.path().filename().string());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

void DefinitionsTest::ExpectWhole() const {
    const auto folder = definitions::DefinitionFolder::Open(m_product);
    const auto current = folder.Current();
    ASSERT_TRUE(current) << "no current set";
    const common::FileDescriptor set = folder.OpenSet(*current);
    const auto state = definitions::ReadSetState(set.Get());
    for (const auto& file : state.index.files) {
        const std::string content = CurrentFile(file.name);
        EXPECT_EQ(DigestOf(content), file.sha256) << file.name;
        EXPECT_EQ(ModeOf(m_defs + "current/" + file.name), 0644U) << file.name;
    }
    EXPECT_EQ(CurrentFile("scanver.cnf").size(), 20U);
    std::vector<std::string> names;
    for (const auto& database : state.databases) {
        names.push_back(database.name);
    }
    const auto loaded = definitions::TestLoad(m_product, "current", names, {}, [] { return true; });
    EXPECT_TRUE(loaded.isLoaded) << loaded.why;
}

std::string SignedDatabases() {
    return fs::exists(SIGNED_DATABASES "/test-6.cvd") ? std::string(SIGNED_DATABASES "/")
                                                      : std::string();
}
