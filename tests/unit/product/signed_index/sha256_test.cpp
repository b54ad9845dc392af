#include "product/signed_index/sha256.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>

#include "common/file_descriptor.h"
#include "tests/support/scratch.h"

namespace {

using signed_index::DigestOf;
using signed_index::Sha256;

constexpr char kOfNothing[] = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
constexpr char kOfAbc[] = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

common::FileDescriptor OpenToRead(const std::string& path) {
    return common::FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
}

TEST(Sha256, IsThatOfTheStandardsExamplesHoweverItIsCut) {
    EXPECT_EQ(Sha256().Finish(), kOfNothing);
    Sha256 hash;
    const std::string text = "abc";
    hash.Add(std::as_bytes(std::span(text)).first(1));
    hash.Add(std::as_bytes(std::span(text)).subspan(1));
    EXPECT_EQ(hash.Finish(), kOfAbc);
}

TEST(DigestOf, ReadsAFileFromWhereItStands) {
    const ScratchFolder folder;
    WriteFile(folder / "file", "--abc");
    const common::FileDescriptor file = OpenToRead(folder / "file");
    ASSERT_EQ(::lseek(file.Get(), 2, SEEK_SET), 2);
    const auto digest = DigestOf(file.Get(), 1000);
    ASSERT_TRUE(digest.has_value());
    EXPECT_EQ(digest->size, 3U);
    EXPECT_EQ(digest->sha256, kOfAbc);
}

TEST(DigestOf, ReadsFilesLongerThanOneBlock) {
    const ScratchFolder folder;
    WriteFile(folder / "file", std::string(1'000'000, 'a'));
    const auto digest = DigestOf(OpenToRead(folder / "file").Get(), 1'000'000);
    ASSERT_TRUE(digest.has_value());
    EXPECT_EQ(digest->size, 1'000'000U);
    EXPECT_EQ(digest->sha256, "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(DigestOf, StopsSoonAfterTheLimit) {
    const auto digest = DigestOf(OpenToRead("/dev/zero").Get(), 5'000'000);
    ASSERT_TRUE(digest.has_value());
    EXPECT_GT(digest->size, 5'000'000U);
    EXPECT_LT(digest->size, 6'000'000U);
}

TEST(DigestOf, TellsThatReadingFailed) {
    EXPECT_FALSE(DigestOf(OpenToRead("/proc/self").Get(), 10).has_value());
    EXPECT_FALSE(DigestOf(-1, 10).has_value());
}

}  // namespace
