// What is left to a clamd, and how its settings and its answers are read.

#include <functional>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "product/scanapi/clamd_config.h"
#include "product/scanapi/clamd_kinds.h"
#include "product/scanapi/clamd_reply.h"
#include "tests/support/scratch.h"

namespace {

using namespace std::string_literals;
using scanapi::ClamdLimits;
using scanapi::ClamdReply;
using scanapi::ReadClamdLimits;
using scanning::ScanProfile;

constexpr std::uint64_t kMiB = 1048576;

TEST(ClamdLimits, WhatIsNotSaidIsTheSmallestDefault) {
    const ClamdLimits limits = scanapi::UnknownClamd();
    EXPECT_EQ(limits.socket, "");
    EXPECT_EQ(limits.user, "");
    EXPECT_EQ(limits.fileSize, 25 * kMiB);
    EXPECT_EQ(limits.rewriteSize, 2 * kMiB);
    EXPECT_EQ(limits.milliseconds, 120'000);
    EXPECT_FALSE(limits.findsUnwanted);
    EXPECT_EQ(limits.missing, "");
}

TEST(ClamdLimits, TheSmallestOfEachKindCounts) {
    EXPECT_EQ(ReadClamdLimits("LocalSocket /run/a b\nLocalSocket /b").socket, "/run/a b");
    EXPECT_EQ(ReadClamdLimits("#LocalSocket /a\r\n  localsocket\t/b \r\n").socket, "/b");
    EXPECT_EQ(ReadClamdLimits("User clamav").user, "clamav");
    EXPECT_EQ(ReadClamdLimits("MaxFileSize 3M").fileSize, 3 * kMiB);
    EXPECT_EQ(ReadClamdLimits("StreamMaxLength 12k").fileSize, 12288U);
    EXPECT_EQ(ReadClamdLimits("MaxFileSize 77").fileSize, 77U);
    EXPECT_EQ(ReadClamdLimits("MaxScanSize 40M").fileSize, 10 * kMiB);
    EXPECT_EQ(ReadClamdLimits("MaxScanSize 20M\nAlertExceedsMax yes").fileSize, 20 * kMiB);
    EXPECT_EQ(ReadClamdLimits("MaxFileSize 1G\nStreamMaxLength 0\nMaxScanSize 0").fileSize,
              1024 * kMiB);
    for (const char* name : {"MaxHTMLNormalize", "MaxHTMLNoTags", "MaxScriptNormalize",
                             "MaxEmbeddedPE", "PCREMaxFileSize"}) {
        EXPECT_EQ(ReadClamdLimits(name + " 1M"s).rewriteSize, kMiB) << name;
    }
    EXPECT_EQ(ReadClamdLimits("MaxScanTime 5000").milliseconds, 5000);
    EXPECT_EQ(ReadClamdLimits("MaxScanTime 0").milliseconds, 600'000);
    EXPECT_EQ(ReadClamdLimits("MaxScanSize 4294967296").fileSize, 25 * kMiB);
}

TEST(ClamdLimits, WhatIsNoNumberAllowsNothing) {
    for (const char* value : {"", "x", "-1", "5X", "5MM", "9999999999G", "18446744073709551616"}) {
        EXPECT_EQ(ReadClamdLimits("MaxFileSize "s + value).fileSize, 1U) << value;
    }
}

TEST(ClamdLimits, ASwitchThatIsOffIsMissed) {
    for (const char* name :
         {"ScanPE", "ScanELF", "ScanHTML", "ScanImage", "PhishingSignatures", "PhishingScanURLs",
          "AlgorithmicDetection", "HeuristicAlerts", "Bytecode"}) {
        EXPECT_EQ(ReadClamdLimits(name + " no"s).missing, name);
        EXPECT_EQ(ReadClamdLimits(name + " false"s).missing, name);
        EXPECT_EQ(ReadClamdLimits(name + " Yes"s).missing, "");
        EXPECT_EQ(ReadClamdLimits(name + " TRUE"s).missing, "");
        EXPECT_EQ(ReadClamdLimits(name + " 1"s).missing, "");
    }
    EXPECT_EQ(ReadClamdLimits("OfficialDatabaseOnly yes").missing, "OfficialDatabaseOnly");
    EXPECT_TRUE(ReadClamdLimits("DetectPUA yes").findsUnwanted);
    EXPECT_FALSE(ReadClamdLimits("DetectPUA yes\nExcludePUA NetTool").findsUnwanted);
    EXPECT_FALSE(ReadClamdLimits("DetectPUA yes\nIncludePUA Spy").findsUnwanted);
}

class ClamdConfigFile : public testing::Test {
protected:
    std::string Why() {
        std::string why;
        const auto limits = scanapi::LoadClamdLimits(m_path, why);
        EXPECT_EQ(limits.has_value(), why.empty());
        return limits ? limits->socket : why;
    }
    ScratchFolder m_folder;
    std::string m_path = m_folder / "clamd.conf";
};

TEST_F(ClamdConfigFile, NobodyButRootIsBelieved) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "needs root";
    }
    EXPECT_EQ(Why(), "No such file or directory");
    WriteFile(m_path, "LocalSocket /s\n");
    EXPECT_EQ(Why(), "/s");
    const std::string refusal = "it is not root's, or others may write to it";
    for (const mode_t mode : {0664U, 0646U}) {
        ASSERT_EQ(chmod(m_path.c_str(), mode), 0);
        EXPECT_EQ(Why(), refusal);
    }
    ASSERT_EQ(chmod(m_path.c_str(), 0644), 0);
    ASSERT_EQ(chown(m_path.c_str(), 65534, 0), 0);
    EXPECT_EQ(Why(), refusal);
    WriteFile(m_folder / "long", std::string(65536, '\n'));
    m_path = m_folder / "long";
    EXPECT_EQ(Why(), "it is too long");
    std::filesystem::create_symlink("clamd.conf", m_folder / "link");
    m_path = m_folder / "link";
    EXPECT_EQ(Why(), "Too many levels of symbolic links");
}

// "clean", "found NAME", "failed TEXT", or "nothing" where the reply is not understood.
std::string Read(std::string_view reply, std::uint32_t number = 1, bool isDescriptor = true) {
    const auto read = scanapi::ParseClamdReply(reply, number, isDescriptor);
    if (!read) {
        return "nothing";
    }
    switch (read->kind) {
        case ClamdReply::Kind::kClean:
            return "clean" + read->text;
        case ClamdReply::Kind::kFound:
            return "found " + read->text;
        case ClamdReply::Kind::kFailed:
            return "failed " + read->text;
    }
    return "?";
}

TEST(ClamdReply, OfADescriptor) {
    EXPECT_EQ(Read("1: fd[10]: OK"), "clean");
    EXPECT_EQ(Read("12: fd[3]: Eicar-Test-Signature FOUND", 12), "found Eicar-Test-Signature");
    EXPECT_EQ(Read("1: fd[3]: A.B(44d88612fea8a8f36de82e1278abb02f:68) FOUND"), "found A.B");
    EXPECT_EQ(Read("1: fd[3]: lstat() failed. ERROR"), "failed fd[3]: lstat() failed.");
    EXPECT_EQ(Read("1: No file descriptor received. ERROR"), "failed No file descriptor received.");
}

TEST(ClamdReply, OfAStream) {
    EXPECT_EQ(Read("1: stream: OK", 1, false), "clean");
    EXPECT_EQ(Read("1: stream: X FOUND", 1, false), "found X");
    EXPECT_EQ(Read("1: INSTREAM size limit exceeded. ERROR", 1, false),
              "failed INSTREAM size limit exceeded.");
    EXPECT_EQ(Read("1: fd[3]: OK", 1, false), "nothing");
    EXPECT_EQ(Read("1: stream: OK"), "nothing");
}

TEST(ClamdReply, WhatIsLikeADigestAndIsNoneStays) {
    for (const char* name :
         {"A(44d88612fea8a8f36de82e1278abb02f:)", "A(44d88612fea8a8f36de82e1278abb02:68)",
          "A(44d88612fea8a8f36de82e1278abb02F:68)", "A(44d88612fea8a8f36de82e1278abb02f:6)8",
          "A(44d88612fea8a8f36de82e1278abb02f68)", "(44d88612fea8a8f36de82e1278abb02f:68)", "A("}) {
        EXPECT_EQ(Read("1: fd[3]: "s + name + " FOUND"), "found "s + name);
    }
}

TEST(ClamdReply, AnythingElseIsNotUnderstood) {
    for (const std::string& reply : {""s,
                                     "OK"s,
                                     "1"s,
                                     "1: "s,
                                     "1: OK"s,
                                     "1:fd[10]: OK"s,
                                     "2: fd[10]: OK"s,
                                     "01: fd[10]: OK"s,
                                     "11: fd[10]: OK"s,
                                     "1: fd[]: OK"s,
                                     "1: fd[1x]: OK"s,
                                     "1: fd[10] OK"s,
                                     "1: fd[10]: ok"s,
                                     "1: fd[10]: OK "s,
                                     "1: fd[10]: NOT OK"s,
                                     "1: fd[10]: FOUND"s,
                                     "1: fd[10]:  FOUND"s,
                                     "1: fd[10]: X FOUND\n"s,
                                     "1: fd[10]: X\x1B[0m FOUND"s,
                                     "1: fd[10]: \xC3\xA4 FOUND"s,
                                     "1: fd[10]: OK\0"s,
                                     " ERROR"s,
                                     "1:  ERROR"s,
                                     "2: x ERROR"s,
                                     "1: fd[10]: X FOUND OK"s,
                                     "1: fd[10]: " + std::string(1024, 'X') + " FOUND"}) {
        EXPECT_EQ(Read(reply), "nothing") << reply;
    }
    EXPECT_EQ(Read("1: fd[10]: " + std::string(1007, 'X') + " FOUND").size(), 6U + 1007U);
}

bool IsOwn(const std::string& all, const ScanProfile& profile, const std::string& config = "") {
    return scanapi::WantsOwnWorker(std::as_bytes(std::span(all)), profile, ReadClamdLimits(config));
}

constexpr ScanProfile kAll{true, true, true, false};
constexpr ScanProfile kNone{};

TEST(ClamdKinds, PlainOnesAreLeftToIt) {
    for (const std::string& all : {"\x7F"
                                   "ELF\x02\x01\x01\0and more"s,
                                   "\x89PNG\r\n\x1A\n\0\0\0\rIHDR"s, "\xFF\xD8\xFF\xE0\0\0"s,
                                   "GIF87a\x01\0"s, "GIF89a\x01\0"s}) {
        EXPECT_FALSE(IsOwn(all, kAll)) << all;
        EXPECT_FALSE(IsOwn(all, kNone)) << all;
    }
    for (const char* text : {"#!/bin/sh\necho hello\n", "plain text", "int main() {}\r\n\tx"}) {
        EXPECT_FALSE(IsOwn(text, kAll)) << text;
        EXPECT_FALSE(IsOwn(text, kNone)) << text;
    }
}

TEST(ClamdKinds, WhatMayHoldFilesIsNot) {
    for (const std::string& all : {"PK\x03\x04 and more"s,
                                   "\x1F\x8B\x08\0 and more"s,
                                   "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1"s,
                                   "MZ\x90\0\x03\0\0\0"s,
                                   "070701 and more"s,
                                   "%PDF-1.4\n"s,
                                   " \n%PDF-1.4\n"s,
                                   "{\\rtf1 text}"s,
                                   "%!PS-Adobe\n"s,
                                   "<?xml version"s,
                                   "From a@b Mon\n"s,
                                   "Hello\nreceived: from x\n"s,
                                   "Subject: x\n\n"s,
                                   "x\nContent-Type: y\n"s,
                                   "--boundary\n"s,
                                   "begin 644 x\n"s,
                                   "a base64 b\n"s,
                                   "text and then PK\x03\x04"s,
                                   "ustar text\0"s,
                                   "t\xC3\xA4xt"s,
                                   "te\x01xt"s,
                                   "te\x7Fxt"s}) {
        EXPECT_TRUE(IsOwn(all, kAll)) << all;
        EXPECT_TRUE(IsOwn(all, kNone)) << all;
    }
}

TEST(ClamdKinds, AProgramOrImageWithAnotherFileInItIsNot) {
    const std::string program =
        "\x7F"
        "ELF\x02\x01\x01\0and more"s;
    ASSERT_FALSE(IsOwn(program, kAll));
    for (const std::string& inside :
         {"PK\x03\x04"s, "Rar!\x1A\x07"s, "7z\xBC\xAF\x27\x1C"s, "MSCF"s, "\x60\xEA\x2B\0\x22\x0B"s,
          "NullsoftInst"s, "\xA3\x48\x4B\xBE\x98\x6C\x4A\xA9"s, "EGGA"s, "ISSetupStream"s,
          "\xD0\xCF\x11\xE0"s, "hsqs"s, "CD001"s, "koly"s, "%PDF"s}) {
        EXPECT_TRUE(IsOwn(program + inside, kAll)) << inside;
        EXPECT_TRUE(IsOwn("GIF89a" + inside + "and more", kAll)) << inside;
    }
}

TEST(ClamdKinds, WhatItDoesNotLookForAndWhatIsTooSmallIsOurs) {
    const ScanProfile unwanted{.unwanted = true};
    EXPECT_TRUE(IsOwn("plain text", unwanted));
    EXPECT_FALSE(IsOwn("plain text", unwanted, "DetectPUA yes"));
    EXPECT_TRUE(IsOwn("12345", kAll));
    EXPECT_FALSE(IsOwn("123456", kAll));
    EXPECT_TRUE(IsOwn("", kAll));
    EXPECT_TRUE(IsOwn("plain text", kAll, "MaxScriptNormalize 9"));
    EXPECT_FALSE(IsOwn("GIF89a and more", kAll, "MaxScriptNormalize 9"));
}

}  // namespace
