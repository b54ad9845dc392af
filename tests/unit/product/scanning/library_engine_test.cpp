#include "product/scanning/library_engine.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include "common/file_descriptor.h"
#include "product/scanning/library_scan.h"
#include "tests/support/scratch.h"
#include "tests/unit/product/scanapi/archives.h"

namespace {

using archives::Eicar;
using scanning::LoadedDatabases;
using scanning::ScanOutcome;
using scanning::ScanProfile;
using scanning::Verdict;
using Told = std::vector<std::string>;

constexpr char kOwnSignatures[] = SCANAPI_DEFS "/corvane.ldb";
constexpr ScanProfile kEverything{
    .archives = true, .packed = true, .unknownTypes = true, .unwanted = true};

class LibraryEngineTest : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(scanning::StartLibrary()); }

    LoadedDatabases Load(std::vector<std::string> paths) {
        return scanning::LoadDatabases(std::move(paths), m_scratch.Path(),
                                       [this](const std::string& path, const std::string& reason) {
                                           m_leftOut.push_back(path + ": " + reason);
                                       });
    }

    std::string Write(const std::string& name, std::string_view content) {
        WriteFile(m_scratch / name, content);
        return m_scratch / name;
    }

    static ScanOutcome Scan(const LoadedDatabases& loaded, std::string_view bytes) {
        return scanning::ScanBytes(loaded.engine.get(), kEverything,
                                   {.baseName = "file", .size = bytes.size()},
                                   std::as_bytes(std::span(bytes)), {});
    }

    ScratchFolder m_scratch;
    Told m_leftOut;
};

TEST_F(LibraryEngineTest, WhatIsLoadedIsFound) {
    const auto loaded = Load({kOwnSignatures});
    ASSERT_NE(loaded.engine, nullptr);
    EXPECT_EQ(loaded.signatures, 1U);
    EXPECT_EQ(loaded.problem, "");
    EXPECT_EQ(m_leftOut, Told{});
    EXPECT_EQ(Scan(loaded, Eicar()),
              (ScanOutcome{Verdict::Infected, "Eicar-Test-Signature.UNOFFICIAL", "", ""}));
    EXPECT_EQ(Scan(loaded, "harmless text"), (ScanOutcome{Verdict::Clean, "", "", ""}));
}

TEST_F(LibraryEngineTest, ADamagedDatabaseIsLeftOutWhole) {
    const std::string damaged =
        Write("damaged.ndb", "First.Of.Damaged:0:*:6e756d62657265642d74657374\nnonsense\n");
    const std::string good = Write("good.ndb", "Good.Test:0:*:676f6f642d74657374\n");
    const auto loaded = Load({damaged, kOwnSignatures, good});
    ASSERT_NE(loaded.engine, nullptr);
    EXPECT_EQ(loaded.signatures, 2U);
    EXPECT_EQ(m_leftOut, (Told{damaged + ": Malformed database"}));
    EXPECT_EQ(Scan(loaded, "a good-test of it").virusName, "Good.Test.UNOFFICIAL");
    EXPECT_EQ(Scan(loaded, "a numbered-test").verdict, Verdict::Clean);
}

TEST_F(LibraryEngineTest, WithoutAnyDatabaseThereIsNoEngine) {
    EXPECT_EQ(Load({}).engine, nullptr);
    EXPECT_EQ(Load({}).problem, "no database could be loaded");
    const std::string missing = m_scratch / "missing.ndb";
    const auto loaded = Load({missing});
    EXPECT_EQ(loaded.engine, nullptr);
    EXPECT_EQ(loaded.problem, "no database could be loaded");
    ASSERT_EQ(m_leftOut.size(), 1U);
    EXPECT_EQ(m_leftOut.front().find(missing + ": "), 0U);
}

TEST_F(LibraryEngineTest, DatabasesWithoutASignatureAreNoEngine) {
    const auto loaded = Load({Write("ignored.ign2", "Some.Signature\n")});
    EXPECT_EQ(loaded.engine, nullptr);
    EXPECT_EQ(loaded.problem, "there is no signature in the databases");
}

TEST_F(LibraryEngineTest, WhatIsUnreadSaysWhy) {
    const auto loaded = Load({kOwnSignatures});
    ASSERT_NE(loaded.engine, nullptr);
    const auto reason = [&](const std::string& bytes) {
        const ScanOutcome outcome = Scan(loaded, bytes);
        EXPECT_EQ(outcome.verdict, Verdict::Unreadable);
        return outcome.reason;
    };
    EXPECT_EQ(reason(archives::Zip({{.name = "a", .content = "secret", .encrypted = true}})),
              "encrypted");
    EXPECT_EQ(reason(archives::Zip({{.name = "a", .content = "something", .method = 99}})),
              "packed in an unknown way");
    std::string deep = archives::Zip({{.name = "e.com", .content = Eicar()}});
    for (int i = 0; i < 30; ++i) {
        deep = archives::Zip({{.name = "next.zip", .content = deep}});
    }
    EXPECT_EQ(reason(deep), "beyond the limits of a scan");
}

TEST_F(LibraryEngineTest, AFileCutShortUnderItsScanSaysSo) {
    const auto loaded = Load({kOwnSignatures});
    ASSERT_NE(loaded.engine, nullptr);
    const common::FileDescriptor file(open(Write("short", "short").c_str(), O_RDONLY | O_CLOEXEC));
    const ScanOutcome outcome = scanning::ScanDescriptor(
        loaded.engine.get(), kEverything,
        {.baseName = "short", .descriptor = file.Get(), .size = 100000}, {});
    EXPECT_EQ(outcome,
              (ScanOutcome{Verdict::Unreadable, "", "", "it could not be read to its end"}));
}

}  // namespace
