// Thousands of changed indexes and signatures: none whose signed bytes differ is accepted.

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>

#include "product/signed_index/secret_key.h"
#include "product/signed_index/verified_index.h"
#include "tests/unit/product/signed_index/signed_index_samples.h"

namespace {

using signed_index::Circumstances;
using signed_index::Index;
using signed_index::Refusal;

class MutatedIndex : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(m_secret.Parse(kTestSecretKey), Refusal::kNone);
        m_signature = m_secret.Sign(kGoodIndex, "serial 7");
        m_keys = {m_secret.Public()};
    }

    Refusal Accept(const std::string& text, const std::string& signature) {
        Index index;
        return signed_index::AcceptIndex(text, signature, m_keys, Circumstances{kGoodMade, 0},
                                         index);
    }

    std::size_t Below(std::size_t limit) { return m_random() % limit; }

    // One to three changes: a byte, bytes left out, doubled, moved or put in, the end cut off.
    std::string Mutated(std::string text) {
        for (std::size_t changes = 1 + Below(3); changes > 0 && !text.empty(); --changes) {
            const std::size_t at = Below(text.size());
            const std::size_t length = 1 + Below(std::min<std::size_t>(text.size() - at, 20));
            switch (Below(6)) {
                case 0:
                    text[at] =
                        static_cast<char>(static_cast<unsigned char>(text[at]) ^ (1U << Below(8)));
                    break;
                case 1:
                    text.erase(at, length);
                    break;
                case 2:
                    text.insert(at, text.substr(at, length));
                    break;
                case 3:
                    std::swap(text[at], text[Below(text.size())]);
                    break;
                case 4:
                    text.insert(at, 1, static_cast<char>(Below(256)));
                    break;
                default:
                    text.resize(std::max<std::size_t>(at, 1));
            }
        }
        return text;
    }

    signed_index::SecretKey m_secret;
    std::string m_signature;
    std::vector<signed_index::PublicKey> m_keys;
    std::mt19937 m_random{20261122};
};

TEST_F(MutatedIndex, NoneOf4000WithOtherBytesIsAccepted) {
    ASSERT_EQ(Accept(kGoodIndex, m_signature), Refusal::kNone);
    int changed = 0;
    while (changed < 4000) {
        const std::string text = Mutated(kGoodIndex);
        if (text == kGoodIndex) {
            continue;
        }
        ++changed;
        ASSERT_EQ(Accept(text, m_signature), Refusal::kWrongSignature) << text;
    }
}

// The first line is not signed, and line breaks of two bytes are those of one: all else is.
TEST_F(MutatedIndex, NoSignatureOf4000WithOtherSignedPartsIsAccepted) {
    const auto signedPart = [](std::string text) {
        std::erase(text, '\r');
        text.erase(0, text.find('\n'));
        while (text.ends_with('\n')) {
            text.pop_back();
        }
        return text;
    };
    int changed = 0;
    while (changed < 4000) {
        const std::string signature = Mutated(m_signature);
        if (signedPart(signature) == signedPart(m_signature)) {
            continue;
        }
        ++changed;
        ASSERT_NE(Accept(kGoodIndex, signature), Refusal::kNone) << signature;
    }
}

// Signed by somebody who holds a key, and still wrong: the reader must take any text.
TEST_F(MutatedIndex, AnyTextThatIsSignedIsReadOrRefusedForItsContents) {
    int accepted = 0;
    for (int i = 0; i < 2000; ++i) {
        const std::string text = Mutated(kGoodIndex);
        const Refusal refusal = Accept(text, m_secret.Sign(text, ""));
        if (refusal == Refusal::kNone) {
            ++accepted;
        } else {
            EXPECT_GE(static_cast<int>(refusal), static_cast<int>(Refusal::kIndexTooLarge)) << text;
            EXPECT_LE(static_cast<int>(refusal), static_cast<int>(Refusal::kExpired)) << text;
        }
    }
    EXPECT_GT(accepted, 0);  // a changed letter of a name, blanks
    EXPECT_LT(accepted, 1000);
}

}  // namespace
