// corvane-mirror --signed: an index that waited for its signature.

#include <filesystem>
#include <gmock/gmock.h>

#include "product/mirror/publish.h"
#include "tests/support/traced_program.h"
#include "tests/unit/product/mirror/mirror_program.h"

namespace {

namespace fs = std::filesystem;
using signed_index::Index;
using testing::HasSubstr;
using testing::SizeIs;

class MirrorSigned : public MirrorProgram {
protected:
    // Lets an index of these databases wait, with its signature: its text.
    std::string LetWait() {
        EXPECT_EQ(Run("--from source mirror"), 0) << Err();
        std::string text = ReadFile(m_folder / "mirror/unsigned/index.json");
        PutWaiting(text);
        return text;
    }
    void PutWaiting(const std::string& text) const {
        fs::create_directories(m_folder / "mirror/unsigned");
        WriteFile(m_folder / "mirror/unsigned/index.json", text);
        WriteFile(m_folder / "mirror/unsigned/index.json.minisig", MirrorSignature(text));
    }
    [[nodiscard]] std::string IndexText() const { return ReadFile(m_folder / "mirror/index.json"); }
};

TEST_F(MirrorSigned, WithoutAKeyTheMirrorStaysAsItWasUntilItIsSigned) {
    ASSERT_EQ(Make(), 0);
    const Index before = Accepted();
    WriteFile(m_folder / "source/own.hdb", "renewed signatures\n");
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(Run("--from source mirror"), 0) << Err();
        EXPECT_THAT(Out(), HasSubstr("minisign -S -m mirror/unsigned/index.json && "
                                     "corvane-mirror --signed mirror\n"));
        EXPECT_EQ(Accepted().serial, before.serial);
        for (const auto& file : before.files) {
            EXPECT_TRUE(Exists(m_folder / ("mirror/files/" + file.sha256)));
        }
    }
    EXPECT_EQ(Run("--signed mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: mirror/unsigned: the index has no signature\n");
    WriteFile(m_folder / "mirror/unsigned/index.json.minisig",
              MirrorSignature(ReadFile(m_folder / "mirror/unsigned/index.json")));
    EXPECT_EQ(Run("--signed mirror"), 0) << Err();
    EXPECT_GE(Accepted().serial, before.serial + 2) << "each has its own";
    EXPECT_THAT(Accepted().files, SizeIs(2));
    EXPECT_EQ(ReadFile(FileOf("renewed signatures\n")), "renewed signatures\n");
    EXPECT_FALSE(Exists(m_folder / "mirror/unsigned"));
    EXPECT_EQ(Run("--signed mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: mirror: no index waits for its signature\n");
}

TEST_F(MirrorSigned, WhatWasSignedTooLateIsNotPublished) {
    ASSERT_EQ(Make(), 0);
    ASSERT_EQ(Run("--from source mirror"), 0) << Err();
    const std::string text = ReadFile(m_folder / "mirror/unsigned/index.json");
    ASSERT_EQ(Make(), 0);
    const Index newest = Accepted();
    fs::create_directory(m_folder / "mirror/unsigned");
    WriteFile(m_folder / "mirror/unsigned/index.json", text);
    WriteFile(m_folder / "mirror/unsigned/index.json.minisig", MirrorSignature(text));
    EXPECT_EQ(Run("--signed mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: mirror: what is published is newer\n");
    EXPECT_EQ(Accepted().serial, newest.serial);
}

TEST_F(MirrorSigned, WhatBelongsToTheMakingIsRefused) {
    ASSERT_EQ(Make(), 0);
    const std::string text = LetWait();
    for (const char* arguments : {"--days 14", "--from source", "--key key"}) {
        EXPECT_EQ(Run(std::string("--signed ") + arguments + " mirror"), 2) << arguments;
        EXPECT_THAT(Err(), HasSubstr("--signed publishes what was made before, without --from, "
                                     "--key and --days\n"));
    }
    EXPECT_NE(IndexText(), text);
}

// The machine finds the new index, and its signature under its digest.
TEST_F(MirrorSigned, AFailureAfterTheChangeIsToldAlthoughTheMirrorIsTheNewOne) {
    if (!CanTrace()) {
        GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
    }
    ASSERT_EQ(Make(), 0);
    const std::string text = LetWait();
    const std::vector<std::string> program{MIRROR_PROGRAM, "--signed", m_folder / "mirror"};
    const SystemCall third{"renameat", 3};
    EXPECT_EQ(RunInjected(third, "error=EIO", program), 1);
    EXPECT_EQ(IndexText(), text);
    EXPECT_TRUE(Exists(m_folder / ("mirror/files/" + Sha256Text(text) + ".minisig")));
    const std::string manual = ReadFile(CORVANE_SOURCE "/product/mirror/corvane-mirror.1");
    EXPECT_THAT(manual, HasSubstr("it is then as it was, or already the new one"));
    EXPECT_EQ(Run("--signed mirror"), 0) << Err();
    EXPECT_THAT(Accepted().files, SizeIs(2));
}

// What was broken off after the rename of the index.
TEST_F(MirrorSigned, ACallThatWasBrokenOffIsBroughtToItsEnd) {
    ASSERT_EQ(Make(), 0);
    const std::string old = ReadFile(m_folder / "mirror/index.json.minisig");
    WriteFile(m_folder / "source/own.hdb", "renewed signatures\n");
    const std::string text = LetWait();
    WriteFile(m_folder / "mirror/index.json", text);
    EXPECT_EQ(Run("--signed mirror"), 0) << Err();
    EXPECT_EQ(Out(), "2 databases, serial " + std::to_string(Accepted().serial) + ", expires " +
                         signed_index::FormatUtcTime(Accepted().expires) + "\n");
    EXPECT_NE(ReadFile(m_folder / "mirror/index.json.minisig"), old);
    EXPECT_EQ(IndexText(), text);
    EXPECT_FALSE(Exists(m_folder / "mirror/unsigned"));
    EXPECT_TRUE(Exists(FileOf("own signatures\n"))) << "who reads the state before needs it";
    fs::remove(m_folder / "mirror/index.json.minisig");
    PutWaiting(text);
    EXPECT_EQ(Run("--signed mirror"), 0) << Err();
    EXPECT_EQ(Accepted().files.size(), 2U);
}

TEST_F(MirrorSigned, AnotherIndexOfTheSameSerialIsNotPublished) {
    ASSERT_EQ(Make(), 0);
    const std::string published = IndexText();
    std::string text = published;
    const std::size_t at = text.find("own.hdb");
    ASSERT_NE(at, std::string::npos);
    text.replace(at, 3, "new");
    PutWaiting(text);
    EXPECT_EQ(Run("--signed mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: mirror: another index of this serial is published\n");
    EXPECT_EQ(IndexText(), published);
    EXPECT_TRUE(Exists(m_folder / "mirror/unsigned"));
}

TEST_F(MirrorSigned, KilledAtAnyCallItIsBroughtToItsEndByTheNextOne) {
    if (!CanTrace()) {
        GTEST_SKIP() << "strace is missing, or not allowed to look at processes";
    }
    const std::vector<std::string> program{MIRROR_PROGRAM, "--signed", m_folder / "mirror"};
    const std::string trace = m_folder / "trace";
    ASSERT_EQ(Make(), 0);
    LetWait();
    ASSERT_EQ(RunTraced({"-o", trace}, program), 0);
    const auto calls = CallsIn(trace, ChangesFiles);
    ASSERT_GT(calls.size(), 15U);
    for (const SystemCall& call : calls) {
        SCOPED_TRACE(call.Injecting("KILL"));
        WriteFile(m_folder / "source/own.hdb", call.name + std::to_string(call.number) + "\n");
        const std::string text = LetWait();
        EXPECT_EQ(RunInjected(call, "signal=KILL", program), -1) << "nobody was killed";
        if (Exists(m_folder / "mirror/unsigned/index.json")) {
            EXPECT_EQ(Run("--signed mirror"), 0) << Err();
            EXPECT_FALSE(Exists(m_folder / "mirror/unsigned"));
        }
        EXPECT_EQ(IndexText(), text);
        EXPECT_THAT(Accepted().files, SizeIs(2));
    }
}

TEST_F(MirrorSigned, WhatExpiredWhileItWaitedReplacesNothing) {
    ASSERT_EQ(Make(), 0);
    const std::string published = IndexText();
    Index index = Accepted();
    const auto expiringAt = [&](std::time_t when) {
        index.serial += 1;
        index.made = when - 1;
        index.expires = when;
        return signed_index::FormatIndex(index);
    };
    Published ignored;
    std::string problem;
    constexpr std::time_t kWhen = 1'795'000'000;
    PutWaiting(expiringAt(kWhen));
    EXPECT_FALSE(PublishSigned(m_folder / "mirror", kWhen, ignored, problem));
    EXPECT_EQ(problem, m_folder / "mirror/unsigned: the index has expired");
    EXPECT_EQ(IndexText(), published);
    EXPECT_TRUE(PublishSigned(m_folder / "mirror", kWhen - 1, ignored, problem)) << problem;
    PutWaiting(expiringAt(std::time(nullptr) - 1));
    EXPECT_EQ(Run("--signed mirror"), 1);
    EXPECT_EQ(Err(), "corvane-mirror: mirror/unsigned: the index has expired\n");
}

}  // namespace
