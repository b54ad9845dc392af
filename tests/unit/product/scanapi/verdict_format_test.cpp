// The bytes of the verdict cache, written out.

#include "product/scanapi/verdict_format.h"

#include <gtest/gtest.h>

#include "product/signed_index/sha256.h"
#include "tests/unit/product/scanapi/verdict_fixture.h"

namespace {

using namespace std::string_literals;
using scanapi::VerdictRecord;
using scanning::Verdict;

VerdictRecord Sample() {
    VerdictRecord record;
    record.profile = {true, false, true, false};
    record.file = FileOf(0x0102);
    record.file.fileSystem.part = 3;
    record.baseName = "a.zip";
    record.verdict = {Verdict::Clean, {"x", "y/z"}};
    return record;
}

// kNoon is 0x6B49D200.
const std::string kSampleBytes =
    "\x50\x00\x00"
    "\x05"
    "\xA0\xA1\xA2\xA3\xA4\xA5\xA6\xA7\xA8\xA9\xAA\xAB\xAC\xAD\xAE\xAF"
    "\x03\0\0\0\0\0\0\0"
    "\x02\x01\0\0\0\0\0\0"
    "\x05\0\0\0\0\0\0\0"
    "\xF0\xC3\x49\x6B\0\0\0\0\x07\0\0\0"
    "\xC4\xD1\x49\x6B\0\0\0\0\x09\0\0\0"
    "\x05"
    "a.zip"
    "x\0y/z\0"s;

std::string Digest(const std::string& text) {
    signed_index::Sha256 digest;
    digest.Add(std::as_bytes(std::span(text)));
    return digest.Finish();
}

TEST(VerdictFormat, ARecordIsTheseBytes) {
    ASSERT_EQ(kSampleBytes.size(), 80U);
    EXPECT_EQ(scanapi::EncodeRecord(Sample()), kSampleBytes);
    EXPECT_EQ(scanapi::DecodeVerdict(kSampleBytes), Sample().verdict);
    VerdictRecord passed = Sample();
    passed.verdict = {Verdict::PassedOver, {}};
    std::string bytes = kSampleBytes.substr(0, 74);
    bytes[0] = 0x4A;
    bytes[2] = 1;
    EXPECT_EQ(scanapi::EncodeRecord(passed), bytes);
    EXPECT_EQ(scanapi::DecodeVerdict(bytes), passed.verdict);
}

TEST(VerdictFormat, TheKeyIsAllButSizeVerdictAndMembers) {
    scanapi::KeyBuffer buffer;
    const VerdictRecord sample = Sample();
    const std::string_view key =
        scanapi::EncodeKey(sample.profile, sample.file, sample.baseName, buffer);
    EXPECT_EQ(key, kSampleBytes.substr(3, 71));
    EXPECT_EQ(scanapi::KeyOf(kSampleBytes), key);
}

TEST(VerdictFormat, EachOptionHasABit) {
    VerdictRecord record = Sample();
    for (int bit = 0; bit < 4; ++bit) {
        record.profile = {bit == 0, bit == 1, bit == 2, bit == 3};
        EXPECT_EQ(scanapi::EncodeRecord(record)[3], 1 << bit);
    }
}

TEST(VerdictFormat, WhatCannotBeKeptHasNoBytes) {
    const auto encode = [](const std::function<void(VerdictRecord&)>& change) {
        VerdictRecord record = Sample();
        change(record);
        return scanapi::EncodeRecord(record).size();
    };
    const std::string longest(255, 'n');
    const std::string tooLong(256, 'n');
    EXPECT_EQ(encode([&](auto& r) { r.baseName = longest; }), 80U + 250U);
    EXPECT_EQ(encode([&](auto& r) { r.baseName = tooLong; }), 0U);
    EXPECT_EQ(encode([](auto& r) { r.baseName = ""; }), 0U);
    EXPECT_EQ(encode([](auto& r) { r.baseName = "a/b"; }), 0U);
    EXPECT_EQ(encode([](auto& r) { r.verdict.members = {std::string(4095, 'm')}; }), 74U + 4096U);
    EXPECT_EQ(encode([](auto& r) { r.verdict.members = {std::string(4096, 'm')}; }), 0U);
    EXPECT_EQ(encode([](auto& r) { r.verdict.members = {"a", ""}; }), 0U);
    EXPECT_EQ(encode([](auto& r) { r.verdict.members = {"", "a"}; }), 0U);
    EXPECT_EQ(encode([](auto& r) { r.verdict.members = {"a\0b"s}; }), 0U);
    for (const Verdict verdict : {Verdict::Infected, Verdict::Unreadable, Verdict::Stopped}) {
        EXPECT_EQ(encode([&](auto& r) { r.verdict.verdict = verdict; }), 0U);
    }
    EXPECT_EQ(encode([](auto& r) { r.file.changed.nanoseconds = 1'000'000'000; }), 0U);
    EXPECT_EQ(encode([](auto& r) { r.file.modified.nanoseconds = 1'000'000'000; }), 0U);
}

TEST(VerdictFormat, ARecordThatIsNotWellFormedIsNotTaken) {
    const auto isTaken = [](const std::string& bytes) {
        std::string_view rest = bytes;
        const bool taken = scanapi::TakeRecord(rest).has_value();
        EXPECT_EQ(rest.size(), taken ? 0 : bytes.size());
        return taken;
    };
    const auto with = [](std::size_t place, char byte) {
        std::string bytes = kSampleBytes;
        bytes[place] = byte;
        return bytes;
    };
    EXPECT_TRUE(isTaken(kSampleBytes));
    for (std::size_t size = 0; size < kSampleBytes.size(); ++size) {
        EXPECT_FALSE(isTaken(kSampleBytes.substr(0, size))) << size;
    }
    EXPECT_FALSE(isTaken(with(0, 0)));
    EXPECT_FALSE(isTaken(with(0, 0x45)));
    EXPECT_FALSE(isTaken(with(2, 2)));
    EXPECT_FALSE(isTaken(with(3, 16)));
    EXPECT_FALSE(isTaken(with(55, 0x3C)));
    EXPECT_FALSE(isTaken(with(67, 0x3C)));
    EXPECT_FALSE(isTaken(with(68, 0)));
    EXPECT_FALSE(isTaken(with(68, 12)));
    EXPECT_FALSE(isTaken(with(70, '/')));
    EXPECT_FALSE(isTaken(with(70, 0)));
    EXPECT_FALSE(isTaken(with(74, 0)));
    EXPECT_FALSE(isTaken(with(76, 0)));
    EXPECT_FALSE(isTaken(with(79, 'm')));
}

TEST(VerdictFormat, ABatchIsTheseBytes) {
    const std::string head = "VBAT\x50\0\0\0\x00\xD2\x49\x6B\0\0\0\0"s + BasisOf('b');
    const std::string bytes = head + Digest(head + kSampleBytes) + kSampleBytes;
    EXPECT_EQ(scanapi::EncodeBatch(kNoon, BasisOf('b'), kSampleBytes), bytes);
    const auto batches = scanapi::DecodeBatches(bytes, BasisOf('b'), kNoon);
    ASSERT_TRUE(batches);
    ASSERT_EQ(batches->size(), 1U);
    EXPECT_EQ((*batches)[0].whole, bytes);
    EXPECT_EQ((*batches)[0].records, kSampleBytes);
    EXPECT_EQ((*batches)[0].written, kNoon);
}

TEST(VerdictFormat, BatchesOnAnotherBasisArePassedOver) {
    const std::string other = scanapi::EncodeBatch(kNoon, BasisOf('c'), "no records");
    const std::string ours = scanapi::EncodeBatch(kNoon, BasisOf('b'), kSampleBytes);
    const std::string all = other + ours + other;
    const auto batches = scanapi::DecodeBatches(all, BasisOf('b'), kNoon);
    ASSERT_TRUE(batches);
    ASSERT_EQ(batches->size(), 1U);
    EXPECT_EQ((*batches)[0].whole, ours);
    const auto none = scanapi::DecodeBatches("", BasisOf('b'), kNoon);
    ASSERT_TRUE(none);
    EXPECT_TRUE(none->empty());
}

TEST(VerdictFormat, BatchesOfAnotherTimeAreNotBelieved) {
    const std::string batch = scanapi::EncodeBatch(kNoon, BasisOf('b'), kSampleBytes);
    EXPECT_FALSE(scanapi::DecodeBatches(batch, BasisOf('b'), kNoon - 1));
    EXPECT_FALSE(scanapi::DecodeBatches(batch, BasisOf('c'), kNoon - 1));
    // The file was changed a minute before kNoon.
    const std::string early = scanapi::EncodeBatch(kNoon - 61, BasisOf('b'), kSampleBytes);
    EXPECT_FALSE(scanapi::DecodeBatches(early, BasisOf('b'), kNoon));
    const std::string just = scanapi::EncodeBatch(kNoon - 60, BasisOf('b'), kSampleBytes);
    EXPECT_TRUE(scanapi::DecodeBatches(just, BasisOf('b'), kNoon));
}

TEST(VerdictFormat, WhatIsDamagedIsNotBelieved) {
    const std::string batch = scanapi::EncodeBatch(kNoon, BasisOf('b'), kSampleBytes);
    for (std::size_t place = 0; place < batch.size(); ++place) {
        std::string damaged = batch;
        damaged[place] = static_cast<char>(damaged[place] ^ 1);
        const auto batches = scanapi::DecodeBatches(damaged, BasisOf('b'), kNoon + 10);
        // Another basis is nothing of ours.
        EXPECT_TRUE(!batches || (place >= 16 && place < 80 && batches->empty())) << place;
        EXPECT_FALSE(scanapi::DecodeBatches(batch.substr(0, place + 1), BasisOf('b'), kNoon) &&
                     place + 1 < batch.size());
    }
    EXPECT_FALSE(scanapi::DecodeBatches(scanapi::EncodeBatch(kNoon, BasisOf('b'), "no records"),
                                        BasisOf('b'), kNoon));
    const std::string large(scanapi::kMaxBatchRecords + 1, 'x');
    EXPECT_FALSE(scanapi::DecodeBatches(scanapi::EncodeBatch(kNoon, BasisOf('c'), large),
                                        BasisOf('b'), kNoon));
}

TEST(VerdictFormat, TheHeadIsTheseBytes) {
    const std::string head = "CORVANE VERDICTS\x01\0\0\0\0\0\0\0\x61\0\0\0\0\0\0\0"s;
    EXPECT_EQ(scanapi::EncodeHead(97), head + Digest(head));
    EXPECT_EQ(scanapi::DecodeHead(head + Digest(head) + "more"), 97U);
    EXPECT_EQ(scanapi::DecodeHead(scanapi::EncodeHead(96)), 96U);
    EXPECT_FALSE(scanapi::DecodeHead(scanapi::EncodeHead(95)));
    EXPECT_FALSE(scanapi::DecodeHead(scanapi::EncodeHead(97).substr(0, 95)));
    std::string newer = head;
    newer[16] = 2;
    EXPECT_FALSE(scanapi::DecodeHead(newer + Digest(newer)));
    for (std::size_t place = 0; place < 96; ++place) {
        std::string damaged = scanapi::EncodeHead(97);
        damaged[place] = static_cast<char>(damaged[place] ^ 1);
        EXPECT_FALSE(scanapi::DecodeHead(damaged)) << place;
    }
}

}  // namespace
