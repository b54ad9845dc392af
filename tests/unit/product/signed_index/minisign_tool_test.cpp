// Ours and the packaged minisign, both ways.

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "product/signed_index/minisign.h"
#include "product/signed_index/secret_key.h"
#include "tests/support/scratch.h"

namespace {

using signed_index::ParsePublicKey;
using signed_index::ParseSignature;
using signed_index::PublicKey;
using signed_index::Refusal;
using signed_index::SecretKey;
using signed_index::Signature;

class MinisignTool : public testing::Test {
protected:
    void SetUp() override {
        if (std::system("minisign -v >/dev/null 2>&1") != 0) {
            GTEST_SKIP() << "minisign is not installed";
        }
        ASSERT_TRUE(Run("minisign -G -W -f -p key.pub -s key.sec"));
        ASSERT_EQ(ParsePublicKey(ReadFile(m_folder / "key.pub"), m_key), Refusal::kNone);
        ASSERT_EQ(m_secret.Parse(ReadFile(m_folder / "key.sec")), Refusal::kNone);
    }

    bool Run(const std::string& command) {
        return std::system(("cd " + m_folder.Path() + " && " + command + " >out 2>&1").c_str()) ==
               0;
    }

    Refusal Verify(const std::string& bytes) {
        Signature signature;
        const Refusal refusal = ParseSignature(ReadFile(m_folder / "file.minisig"), signature);
        m_comment = signature.trustedComment;
        return refusal == Refusal::kNone
                   ? signed_index::VerifySignature(bytes, signature, std::array{m_key})
                   : refusal;
    }

    ScratchFolder m_folder;
    PublicKey m_key;
    SecretKey m_secret;
    std::string m_comment;
};

const std::vector<std::string>& Samples() {
    static const std::vector<std::string> samples{"", "x", std::string("\0\n\xFF", 3),
                                                  std::string(1'000'000, 'y')};
    return samples;
}

TEST_F(MinisignTool, ItsSignaturesOfBothKindsAreAccepted) {
    for (const std::string& bytes : Samples()) {
        WriteFile(m_folder / "file", bytes);
        ASSERT_TRUE(Run("minisign -S -s key.sec -m file -t 'one two'"));
        EXPECT_EQ(Verify(bytes), Refusal::kNone) << bytes.size();
        EXPECT_EQ(m_comment, "one two");
        EXPECT_EQ(Verify(bytes + "x"), Refusal::kWrongSignature);
        ASSERT_TRUE(Run("minisign -S -l -s key.sec -m file"));
        EXPECT_EQ(Verify(bytes), Refusal::kNone) << bytes.size();
        EXPECT_EQ(Verify(bytes + "x"), Refusal::kWrongSignature);
    }
}

TEST_F(MinisignTool, AcceptsOursAndNotOverOtherBytes) {
    for (const std::string& bytes : Samples()) {
        WriteFile(m_folder / "file", bytes);
        WriteFile(m_folder / "file.minisig", m_secret.Sign(bytes, "serial 7"));
        EXPECT_TRUE(Run("minisign -V -p key.pub -m file")) << ReadFile(m_folder / "out");
        EXPECT_NE(ReadFile(m_folder / "out").find("serial 7"), std::string::npos);
        WriteFile(m_folder / "file", bytes + "x");
        EXPECT_FALSE(Run("minisign -V -p key.pub -m file"));
    }
}

TEST_F(MinisignTool, AcceptsOurTrustedCommentOnlyAsItWasSigned) {
    WriteFile(m_folder / "file", "bytes");
    std::string signature = m_secret.Sign("bytes", "serial 7");
    signature.replace(signature.find("serial 7"), 8, "serial 8");
    WriteFile(m_folder / "file.minisig", signature);
    EXPECT_FALSE(Run("minisign -V -p key.pub -m file"));
    EXPECT_EQ(Verify("bytes"), Refusal::kWrongTrustedComment);
}

}  // namespace
