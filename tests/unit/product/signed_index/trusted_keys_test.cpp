#include "product/signed_index/trusted_keys.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/scratch.h"
#include "tests/unit/product/signed_index/signed_index_samples.h"

namespace {

namespace fs = std::filesystem;
using signed_index::ReadTrustedKeys;
using signed_index::Refusal;
using signed_index::TrustedKeys;
using testing::IsEmpty;
using testing::SizeIs;

constexpr uid_t kSomebody = 12345;

class TrustedKeysTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::mkdir(Folder().c_str(), 0755), 0);
        WriteKey("one.pub", kTestPublicKey);
    }

    [[nodiscard]] std::string Folder() const { return m_product / "updturl.keys"; }
    [[nodiscard]] std::string InFolder(const std::string& name) const {
        return Folder() + "/" + name;
    }
    void WriteKey(const std::string& name, std::string_view text) const {
        WriteFile(InFolder(name), text);
        ::chmod(InFolder(name).c_str(), 0644);
    }
    Refusal Read() { return ReadTrustedKeys(m_product.Path(), m_trusted); }

    void ExpectPassedOver(const std::string& name, Refusal why) {
        ASSERT_EQ(Read(), Refusal::kNone);
        ASSERT_THAT(m_trusted.passedOver, SizeIs(1));
        EXPECT_EQ(m_trusted.passedOver[0].name, name);
        EXPECT_EQ(m_trusted.passedOver[0].why, why);
        EXPECT_THAT(m_trusted.keys, SizeIs(1));  // "one.pub" is not harmed
    }

    ScratchFolder m_product;
    TrustedKeys m_trusted;
};

TEST_F(TrustedKeysTest, AreAllThatEndInPubByName) {
    WriteKey("two.pub", kOtherPublicKey);
    WriteKey("notes.txt", "not a key");
    ASSERT_EQ(Read(), Refusal::kNone);
    ASSERT_THAT(m_trusted.keys, SizeIs(2));
    EXPECT_EQ(signed_index::KeyIdText(m_trusted.keys[0].id), "33BF1955D20595CA");
    EXPECT_EQ(signed_index::KeyIdText(m_trusted.keys[1].id), "0102030405060708");
    EXPECT_THAT(m_trusted.passedOver, IsEmpty());
}

TEST_F(TrustedKeysTest, MayBeNone) {
    fs::remove(InFolder("one.pub"));
    EXPECT_EQ(Read(), Refusal::kNone);
    EXPECT_THAT(m_trusted.keys, IsEmpty());
}

TEST_F(TrustedKeysTest, NeedTheirFolder) {
    fs::remove_all(Folder());
    EXPECT_EQ(Read(), Refusal::kKeyFolderMissing);
    EXPECT_EQ(ReadTrustedKeys(m_product / "nothing/", m_trusted), Refusal::kKeyFolderMissing);
    EXPECT_THAT(m_trusted.keys, IsEmpty());
}

TEST_F(TrustedKeysTest, AreNotReadFromAFolderThatOthersMayWrite) {
    for (const mode_t mode : {0775U, 0757U, 0777U, 01777U}) {
        ASSERT_EQ(::chmod(Folder().c_str(), mode), 0);
        EXPECT_EQ(Read(), Refusal::kKeyFolderUnsafe);
        EXPECT_THAT(m_trusted.keys, IsEmpty());
    }
}

TEST_F(TrustedKeysTest, AreNotReadThroughALinkOrFromAFile) {
    fs::rename(Folder(), m_product / "elsewhere");
    fs::create_symlink(m_product / "elsewhere", Folder());
    EXPECT_EQ(Read(), Refusal::kKeyFolderUnsafe);
    fs::remove(Folder());
    WriteFile(Folder(), "");
    EXPECT_EQ(Read(), Refusal::kKeyFolderUnsafe);
}

TEST_F(TrustedKeysTest, ThatOthersMayWriteArePassedOver) {
    WriteKey("two.pub", kOtherPublicKey);
    for (const mode_t mode : {0664U, 0646U}) {
        ASSERT_EQ(::chmod(InFolder("two.pub").c_str(), mode), 0);
        ExpectPassedOver("two.pub", Refusal::kKeyFileUnsafe);
    }
}

TEST_F(TrustedKeysTest, ThatAreLinksFoldersOrPipesArePassedOver) {
    WriteFile(m_product / "key", kOtherPublicKey);
    fs::create_symlink(m_product / "key", InFolder("two.pub"));
    ExpectPassedOver("two.pub", Refusal::kKeyFileUnsafe);
    fs::remove(InFolder("two.pub"));
    fs::create_directory(InFolder("two.pub"));
    ExpectPassedOver("two.pub", Refusal::kKeyFileUnsafe);
    fs::remove(InFolder("two.pub"));
    ASSERT_EQ(::mkfifo(InFolder("two.pub").c_str(), 0600), 0);
    ExpectPassedOver("two.pub", Refusal::kKeyFileUnsafe);
}

TEST_F(TrustedKeysTest, ThatAreMalformedEmptyOrHugeArePassedOver) {
    for (const std::string& text : {std::string("not a key"), std::string(),
                                    std::string(kTestPublicKey) + std::string(5000, ' ')}) {
        WriteKey("two.pub", text);
        ExpectPassedOver("two.pub", Refusal::kKeyMalformed);
    }
}

// A folder of the product is root's; one that a person has to himself is that person's own matter.
class TrustedKeysOfOthers : public TrustedKeysTest {
protected:
    void SetUp() override {
        TrustedKeysTest::SetUp();
        if (::geteuid() != 0 || ::chown(m_product.Path().c_str(), kSomebody, kSomebody) != 0) {
            GTEST_SKIP() << "only root can give files away";
        }
        ASSERT_EQ(::chmod(m_product.Path().c_str(), 0755), 0);
    }

    // What `owner` is told when it reads; the number of keys is added.
    int ReadAs(uid_t reader) {
        return InChild([&] {
            if (::setresuid(reader, reader, reader) != 0) {
                return 255;
            }
            const Refusal refusal = Read();
            return refusal == Refusal::kNone ? static_cast<int>(m_trusted.keys.size()) : 100;
        });
    }

    void Give(const std::string& path, uid_t owner) {
        ASSERT_EQ(::lchown(path.c_str(), owner, owner), 0);
    }
};

TEST_F(TrustedKeysOfOthers, AreReadByWhoOwnsTheProductDirectory) {
    Give(Folder(), kSomebody);
    Give(InFolder("one.pub"), kSomebody);
    EXPECT_EQ(ReadAs(kSomebody), 1);
    EXPECT_EQ(ReadAs(kSomebody + 1), 100);
    EXPECT_EQ(ReadAs(0), 100);
}

TEST_F(TrustedKeysOfOthers, AreNotReadWhenOnlyTheFolderOrTheFileIsTheCallers) {
    Give(m_product.Path(), 0);
    Give(Folder(), kSomebody);
    EXPECT_EQ(ReadAs(kSomebody), 100);
    Give(Folder(), 0);
    Give(InFolder("one.pub"), kSomebody);
    EXPECT_EQ(ReadAs(kSomebody), 0);
    EXPECT_EQ(ReadAs(0), 0);
    Give(InFolder("one.pub"), 0);
    EXPECT_EQ(ReadAs(kSomebody), 1);
}

TEST_F(TrustedKeysOfOthers, AreNotTheCallersWhereOthersMayWriteToTheProductDirectory) {
    Give(Folder(), kSomebody);
    Give(InFolder("one.pub"), kSomebody);
    ASSERT_EQ(::chmod(m_product.Path().c_str(), 0777), 0);
    EXPECT_EQ(ReadAs(kSomebody), 100);
}

}  // namespace
