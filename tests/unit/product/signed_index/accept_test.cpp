#include <array>
#include <gtest/gtest.h>
#include <string>

#include "product/signed_index/secret_key.h"
#include "product/signed_index/verified_index.h"
#include "tests/unit/product/signed_index/signed_index_samples.h"

namespace {

using signed_index::Index;
using signed_index::Refusal;

class AcceptIndex : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(m_secret.Parse(kTestSecretKey), Refusal::kNone); }

    Refusal Accept(const std::string& text, const std::string& signature) {
        const std::array keys{m_secret.Public()};
        return signed_index::AcceptIndex(text, signature, keys, m_circumstances, m_index);
    }
    Refusal AcceptSigned(const std::string& text) { return Accept(text, m_secret.Sign(text, "")); }

    signed_index::SecretKey m_secret;
    signed_index::Circumstances m_circumstances{kGoodMade, 7};
    Index m_index;
};

TEST_F(AcceptIndex, TakesOneThatIsSignedAndOfNow) {
    EXPECT_EQ(AcceptSigned(kGoodIndex), Refusal::kNone);
    EXPECT_EQ(m_index.serial, 7U);
    EXPECT_EQ(m_index.files.size(), 2U);
}

TEST_F(AcceptIndex, LooksAtTheSignatureBeforeItParses) {
    EXPECT_EQ(Accept("no index", ""), Refusal::kNoSignature);
    EXPECT_EQ(Accept("no index", m_secret.Sign(kGoodIndex, "")), Refusal::kWrongSignature);
    EXPECT_EQ(AcceptSigned("no index"), Refusal::kNotJson);
}

TEST_F(AcceptIndex, RefusesALargeIndexBeforeItLooksAtTheSignature) {
    EXPECT_EQ(Accept(std::string((1U << 20U) + 1, ' '), ""), Refusal::kIndexTooLarge);
    EXPECT_EQ(Accept(std::string(1U << 20U, ' '), ""), Refusal::kNoSignature);
}

TEST_F(AcceptIndex, RefusesOneFromTheMomentItExpires) {
    m_circumstances.now = kGoodExpires - 1;
    EXPECT_EQ(AcceptSigned(kGoodIndex), Refusal::kNone);
    m_circumstances.now = kGoodExpires;
    EXPECT_EQ(AcceptSigned(kGoodIndex), Refusal::kExpired);
}

TEST_F(AcceptIndex, RefusesOneThatIsOlderThanTheLastSeen) {
    m_circumstances.lastSerial = 8;
    EXPECT_EQ(AcceptSigned(kGoodIndex), Refusal::kOlderSerial);
    m_circumstances.lastSerial = 0;
    EXPECT_EQ(AcceptSigned(kGoodIndex), Refusal::kNone);
}

TEST_F(AcceptIndex, TheAgeOfAnInstalledOneIsNotLookedAt) {
    const std::array keys{m_secret.Public()};
    EXPECT_EQ(
        signed_index::AcceptIndexOfAnyAge(kGoodIndex, m_secret.Sign(kGoodIndex, ""), keys, m_index),
        Refusal::kNone);
    EXPECT_EQ(signed_index::AcceptIndexOfAnyAge(kGoodIndex, "", keys, m_index),
              Refusal::kNoSignature);
}

}  // namespace
