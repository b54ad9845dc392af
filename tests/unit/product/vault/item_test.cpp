// The file of one item: what is written is read again, and nothing else is.

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>
#include <zlib.h>

#include "product/signed_index/sha256.h"
#include "product/vault/item_reader.h"
#include "product/vault/item_writer.h"
#include "product/vault/scrambling.h"
#include "tests/support/scratch.h"

namespace {

using namespace std::string_literals;
using testing::HasSubstr;
using testing::Not;
using vault::ItemFacts;
using vault::ItemReader;

std::string Scrambled(std::uint64_t key, std::uint64_t offset, std::string text) {
    vault::Scramble(key, offset, std::as_writable_bytes(std::span(text)));
    return text;
}

TEST(Scrambling, IsTheKnownGenerator) {
    EXPECT_EQ(Scrambled(0, 0, std::string(9, '\0')), "\xAF\xCD\x1D\x7B\x39\xA8\x20\xE2\xF4"s);
    EXPECT_EQ(Scrambled(0, 8, "\0"s), "\xF4");
}

TEST(Scrambling, IsItsOwnWayBackAndAnyCutGivesTheSame) {
    const std::string text = "contents of more than two words";
    const std::string whole = Scrambled(77, 3, text);
    EXPECT_EQ(Scrambled(77, 3, whole), text);
    for (std::size_t cut = 0; cut <= text.size(); ++cut) {
        EXPECT_EQ(Scrambled(77, 3, text.substr(0, cut)) + Scrambled(77, 3 + cut, text.substr(cut)),
                  whole);
    }
}

std::string Number(std::uint64_t value, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) {
        bytes += static_cast<char>(i < 8 ? value >> (8 * i) : 0);
    }
    return bytes;
}

std::string Record(int kind, const std::string& bytes) {
    return Number(static_cast<std::uint64_t>(kind), 2) + Number(0, 2) + Number(bytes.size(), 4) +
           bytes;
}

std::string Sha256(const std::string& text) {
    signed_index::Sha256 digest;
    digest.Add(std::as_bytes(std::span(text)));
    return digest.Finish();
}

std::string Deflated(const std::string& text) {
    std::string packed(compressBound(text.size()), '\0');
    uLongf size = packed.size();
    compress(reinterpret_cast<Bytef*>(packed.data()), &size,
             reinterpret_cast<const Bytef*>(text.data()), text.size());
    packed.resize(size);
    return packed;
}

// An item put together from its parts, each of which a test may spoil.
struct HandMade {
    std::string magic = "CORVANE VAULT\r\n\x1A";
    std::uint64_t version = 1;
    std::string path = Record(1, "/home/alice/a.com");
    std::string numbers = Record(2, Number(1000, 4)) + Record(3, Number(100, 4)) +
                          Record(4, Number(04755, 4)) +
                          Record(5, Number(1'700'000'000, 8) + Number(1, 4)) +
                          Record(6, Number(1'600'000'000, 8) + Number(999'999'999, 4)) +
                          Record(7, Number(1'800'000'000, 8));
    std::string names = Record(8, "Eicar-Test-Signature") + Record(9, "275.12");
    std::string more = Record(10, Number(6, 2) + "user.x" + "value"s);
    std::string contents = "the contents";
    std::string packed = Deflated(contents);
    std::uint64_t size = contents.size();
    std::string digest = Sha256(contents);
    std::string tail;  // behind all of it
    std::int64_t packedSizeOff = 0;
    std::int64_t recordsSizeOff = 0;
    bool isDigestRight = true;

    [[nodiscard]] std::string Bytes() const {
        const std::string records = path + numbers + names + more;
        const std::uint64_t key = 0x1122334455667788;
        const std::string head =
            magic + Number(version, 4) +
            Number(records.size() + static_cast<std::uint64_t>(recordsSizeOff), 4) +
            Number(packed.size() + static_cast<std::uint64_t>(packedSizeOff), 8) + Number(size, 8) +
            Number(key, 8) + digest;
        return head + (isDigestRight ? Sha256(head + records) : Sha256("other")) +
               Scrambled(key, 0, records + packed) + tail;
    }
};

class Item : public testing::Test {
protected:
    std::optional<ItemReader> Read(const std::string& bytes) {
        WriteFile(m_folder / "item", bytes);
        return ItemReader::Open(
            common::FileDescriptor(open((m_folder / "item").c_str(), O_RDONLY | O_CLOEXEC)), m_why);
    }
    std::string Contents(const ItemReader& item) {
        std::string contents;
        m_isWhole = item.Extract(
            [&](std::span<const std::byte> bytes) {
                contents.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
                return true;
            },
            m_why);
        return contents;
    }
    void ExpectRefused(const HandMade& made, const std::string& why) {
        m_why.clear();
        EXPECT_FALSE(Read(made.Bytes()));
        EXPECT_EQ(m_why, why);
    }
    void ExpectContentsRefused(const HandMade& made) {
        const auto item = Read(made.Bytes());
        ASSERT_TRUE(item) << m_why;
        EXPECT_LE(Contents(*item).size(), made.size);
        EXPECT_FALSE(m_isWhole);
        EXPECT_EQ(m_why, "it is damaged");
    }
    // Writes an item of `contents`: its bytes, empty when that failed.
    std::string Write(const std::string& contents, ItemFacts facts,
                      std::uint64_t limit = 1U << 30U) {
        WriteFile(m_folder / "from", contents);
        WriteFile(m_folder / "to", "");
        const common::FileDescriptor from(open((m_folder / "from").c_str(), O_RDONLY | O_CLOEXEC));
        const common::FileDescriptor to(open((m_folder / "to").c_str(), O_WRONLY | O_CLOEXEC));
        return vault::WriteItem(to.Get(), from.Get(), facts, limit, m_why)
                   ? ReadFile(m_folder / "to")
                   : "";
    }

    ScratchFolder m_folder;
    std::string m_why;
    bool m_isWhole = false;
};

TEST_F(Item, IsReadFieldByField) {
    const auto item = Read(HandMade().Bytes());
    ASSERT_TRUE(item) << m_why;
    const ItemFacts& facts = item->Facts();
    EXPECT_EQ(facts.path, "/home/alice/a.com");
    EXPECT_EQ(facts.owner, 1000U);
    EXPECT_EQ(facts.group, 100U);
    EXPECT_EQ(facts.mode, 04755U);
    EXPECT_EQ(facts.accessed.tv_sec, 1'700'000'000);
    EXPECT_EQ(facts.accessed.tv_nsec, 1);
    EXPECT_EQ(facts.modified.tv_sec, 1'600'000'000);
    EXPECT_EQ(facts.modified.tv_nsec, 999'999'999);
    EXPECT_EQ(facts.kept, 1'800'000'000);
    EXPECT_EQ(facts.virusName, "Eicar-Test-Signature");
    EXPECT_EQ(facts.database, "275.12");
    ASSERT_EQ(facts.attributes.size(), 1U);
    EXPECT_EQ(facts.attributes[0].name, "user.x");
    EXPECT_EQ(facts.attributes[0].value, "value");
    EXPECT_EQ(facts.size, 12U);
    EXPECT_EQ(Contents(*item), "the contents");
    EXPECT_TRUE(m_isWhole);
}

TEST_F(Item, OfANewerWriterHasRecordsThatArePassedOver) {
    HandMade made;
    made.more += Record(11, "unknown") + Record(65535, "");
    EXPECT_TRUE(Read(made.Bytes())) << m_why;
}

ItemFacts SomeFacts(std::size_t size) {
    ItemFacts facts;
    facts.path = "/home/alice/\xFF\n name";
    facts.owner = 4294967294U;
    facts.group = 7;
    facts.mode = 06640;
    facts.accessed = {-5, 3};
    facts.modified = {5'000'000'000, 999'999'999};
    facts.attributes = {{"user.a", "\0\xFF"s}, {"user.empty", ""}};
    facts.virusName = "Test.Virus";
    facts.database = "1.00";
    facts.kept = 1'800'000'000;
    facts.size = size;
    return facts;
}

TEST_F(Item, ComesBackAsItWasWritten) {
    std::string large;
    while (large.size() < 300'000) {
        large += std::to_string(large.size() * 2654435761U);
    }
    for (const std::string& contents : {""s, "x"s, std::string(65536, 'y'), large}) {
        const std::string bytes = Write(contents, SomeFacts(contents.size()));
        ASSERT_NE(bytes, "") << m_why;
        const auto item = Read(bytes);
        ASSERT_TRUE(item) << m_why;
        EXPECT_EQ(Contents(*item), contents);
        EXPECT_TRUE(m_isWhole) << m_why;
        const ItemFacts& facts = item->Facts();
        EXPECT_EQ(facts.path, "/home/alice/\xFF\n name");
        EXPECT_EQ(facts.owner, 4294967294U);
        EXPECT_EQ(facts.group, 7U);
        EXPECT_EQ(facts.mode, 06640U);
        EXPECT_EQ(facts.accessed.tv_sec, -5);
        EXPECT_EQ(facts.modified.tv_sec, 5'000'000'000);
        EXPECT_EQ(facts.modified.tv_nsec, 999'999'999);
        ASSERT_EQ(facts.attributes.size(), 2U);
        EXPECT_EQ(facts.attributes[0].value, "\0\xFF"s);
        EXPECT_EQ(facts.attributes[1].name, "user.empty");
        EXPECT_EQ(facts.virusName, "Test.Virus");
        EXPECT_EQ(facts.database, "1.00");
        EXPECT_EQ(facts.kept, 1'800'000'000);
    }
}

TEST_F(Item, ShowsNothingOfWhatItHolds) {
    const std::string secret = "X5O!P%@AP[4-no-scanner-may-see-this";
    ItemFacts facts = SomeFacts(secret.size());
    facts.attributes = {{"user.a", secret}};
    const std::string bytes = Write(secret, facts);
    ASSERT_NE(bytes, "") << m_why;
    EXPECT_THAT(bytes, Not(HasSubstr(secret.substr(0, 8))));
    EXPECT_THAT(bytes, Not(HasSubstr("alice")));
    EXPECT_NE(bytes, Write(secret, facts)) << "each has a key of its own";
}

TEST_F(Item, IsNotWrittenOfAFileOfAnotherSize) {
    EXPECT_EQ(Write("eleven byte", SomeFacts(10)), "");
    EXPECT_EQ(m_why, "it changed while it was copied");
    m_why.clear();
    EXPECT_EQ(Write("eleven byte", SomeFacts(12)), "");
    EXPECT_EQ(m_why, "it changed while it was copied");
}

TEST_F(Item, IsNotWrittenBeyondTheLimit) {
    EXPECT_EQ(Write("contents", SomeFacts(8), 50), "");
    EXPECT_EQ(m_why, "it is larger than the vault");
}

TEST_F(Item, IsNotWrittenWithMoreThanItsReaderTakes) {
    ItemFacts facts = SomeFacts(1);
    facts.path = std::string(4097, 'p');
    EXPECT_EQ(Write("x", facts), "");
    EXPECT_EQ(m_why, "what belongs to it is too much for the vault");
    facts = SomeFacts(1);
    facts.attributes.assign(65, {"user.a", std::string(65536, 'v')});
    EXPECT_EQ(Write("x", facts), "");
    facts.attributes.resize(60);
    EXPECT_NE(Write("x", facts), "") << m_why;
}

TEST_F(Item, OfAnotherKindIsRefused) {
    HandMade made;
    made.magic.back() = '\0';
    ExpectRefused(made, "it is no item of the vault");
    made = {};
    made.version = 2;
    ExpectRefused(made, "it was written by a newer version");
    EXPECT_FALSE(Read(""));
    EXPECT_EQ(m_why, "it is damaged");
    EXPECT_FALSE(ItemReader::Open(common::FileDescriptor(open("/", O_RDONLY | O_CLOEXEC)), m_why));
    EXPECT_EQ(m_why, "it is no file");
}

TEST_F(Item, WithSizesThatDoNotAddUpIsRefused) {
    for (const int off : {-1, 1}) {
        HandMade made;
        made.packedSizeOff = off;
        ExpectRefused(made, "it is damaged");
        made = {};
        made.recordsSizeOff = off;
        ExpectRefused(made, "it is damaged");
    }
    HandMade made;
    made.recordsSizeOff = 0x7FFF0000;
    ExpectRefused(made, "it is damaged");
    made = {};
    made.packedSizeOff = -1'000'000;
    ExpectRefused(made, "it is damaged");
    made = {};
    made.tail = "x";
    ExpectRefused(made, "it is damaged");
}

TEST_F(Item, WhoseDigestIsNotThatOfItsHeadIsRefused) {
    HandMade made;
    made.isDigestRight = false;
    ExpectRefused(made, "it is damaged");
    made = {};
    made.digest.back() = '\x1B';
    ExpectRefused(made, "it is damaged");
}

TEST_F(Item, WithEachBitTurnedIsRefusedOrItsContentsAre) {
    const std::string good = HandMade().Bytes();
    for (std::size_t i = 0; i < good.size(); ++i) {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ 0x10);
        const auto item = Read(bad);
        if (item) {
            // One that means nothing may be turned: the contents are what they were.
            const std::string contents = Contents(*item);
            EXPECT_TRUE(!m_isWhole || contents == HandMade().contents) << "byte " << i;
        }
    }
}

TEST_F(Item, CutAnywhereIsRefused) {
    const std::string good = HandMade().Bytes();
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_FALSE(Read(good.substr(0, size))) << size;
    }
}

TEST_F(Item, WithRecordsThatLieIsRefused) {
    const std::vector<std::function<void(HandMade&)>> lies{
        [](HandMade& made) { made.path.clear(); },
        [](HandMade& made) { made.path = Record(1, ""); },
        [](HandMade& made) { made.path = Record(1, "/home\0/x"s); },
        [](HandMade& made) { made.path = Record(1, std::string(4097, 'p')); },
        [](HandMade& made) { made.path += Record(1, "/another"); },
        [](HandMade& made) { made.path[2] = '\1'; },
        [](HandMade& made) { made.numbers.clear(); },
        [](HandMade& made) { made.numbers[4] = '\3'; },
        [](HandMade& made) { made.names = Record(8, "a\0b"s) + Record(9, ""); },
        [](HandMade& made) { made.names = Record(8, std::string(1025, 'v')) + Record(9, ""); },
        [](HandMade& made) { made.more = Record(10, ""); },
        [](HandMade& made) { made.more = Record(10, Number(0, 2) + "value"); },
        [](HandMade& made) { made.more = Record(10, Number(7, 2) + "user.x"); },
        [](HandMade& made) { made.more = Record(10, Number(256, 2) + std::string(300, 'n')); },
        [](HandMade& made) { made.more = Record(10, Number(1, 2) + std::string(65538, 'v')); },
        [](HandMade& made) { made.more = Record(10, Number(2, 2) + "a\0"s); },
        [](HandMade& made) { made.more = Record(2, Number(0, 4)); },
        [](HandMade& made) { made.more = Number(11, 2) + Number(0, 2) + Number(1, 4); },
        [](HandMade& made) { made.more = Number(11, 2) + Number(0, 2) + Number(0xFFFFFFFF, 4); },
        [](HandMade& made) { made.more = "short"; },
    };
    for (std::size_t i = 0; i < lies.size(); ++i) {
        SCOPED_TRACE(i);
        HandMade made;
        lies[i](made);
        ExpectRefused(made, "it is damaged");
    }
    HandMade made;
    made.numbers = Record(2, Number(1, 4)) + Record(3, Number(1, 4)) +
                   Record(4, Number(010000, 4)) + Record(5, Number(1, 12)) +
                   Record(6, Number(1, 12)) + Record(7, Number(1, 8));
    ExpectRefused(made, "it is damaged");
    made.numbers = Record(2, Number(1, 4)) + Record(3, Number(1, 4)) + Record(4, Number(0, 4)) +
                   Record(5, Number(1, 8) + Number(1'000'000'000, 4)) + Record(6, Number(1, 12)) +
                   Record(7, Number(1, 8));
    ExpectRefused(made, "it is damaged");
}

TEST_F(Item, WithContentsThatLieGivesNoMoreThanItSaid) {
    HandMade made;
    made.size = 11;
    ExpectContentsRefused(made);
    made = {};
    made.size = 13;
    ExpectContentsRefused(made);
    made = {};
    made.packed = Deflated(std::string(8'000'000, 'b'));
    ExpectContentsRefused(made);
    made = {};
    made.packed += "x";
    ExpectContentsRefused(made);
    made = {};
    made.packed += std::string(100'000, 'x');
    ExpectContentsRefused(made);
    made = {};
    made.packed.pop_back();
    ExpectContentsRefused(made);
    made = {};
    made.packed.clear();
    ExpectContentsRefused(made);
    made = {};
    made.packed = "no deflated stream";
    ExpectContentsRefused(made);
    made = {};
    made.digest = Sha256("other contents");
    ExpectContentsRefused(made);
}

TEST_F(Item, WithSomethingBehindContentsThatEndWithAPieceIsRefused) {
    constexpr std::size_t kPiece = 65536;  // of what is read at once
    HandMade made;
    std::string packed;
    for (std::size_t size = kPiece - 100; packed.size() != kPiece; ++size) {
        ASSERT_LT(size, kPiece);
        made.contents.assign(size, 'c');
        packed.assign(2 * kPiece, '\0');
        uLongf length = packed.size();
        compress2(reinterpret_cast<Bytef*>(packed.data()), &length,
                  reinterpret_cast<const Bytef*>(made.contents.data()), size, 0);
        packed.resize(length);
    }
    made.size = made.contents.size();
    made.digest = Sha256(made.contents);
    made.packed = packed;
    const auto item = Read(made.Bytes());
    ASSERT_TRUE(item) << m_why;
    EXPECT_EQ(Contents(*item), made.contents);
    EXPECT_TRUE(m_isWhole) << m_why;
    made.packed += "x";
    ExpectContentsRefused(made);
}

TEST_F(Item, WhoseReaderHasEnoughGivesNoMore) {
    const std::string contents(200'000, 'c');
    const auto item = Read(Write(contents, SomeFacts(contents.size())));
    ASSERT_TRUE(item) << m_why;
    int calls = 0;
    EXPECT_FALSE(item->Extract([&](std::span<const std::byte>) { return ++calls < 2; }, m_why));
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(m_why, "");
}

}  // namespace
