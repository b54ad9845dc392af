#include "product/scanwire/worker_messages.h"

#include <gtest/gtest.h>

namespace {

using namespace scanwire;
using scanning::Verdict;
using namespace std::string_literals;

void ExpectBytes(const ToWorker& message, const std::string& bytes) {
    EXPECT_EQ(Written(message), bytes);
    EXPECT_EQ(ReadToWorker(bytes), message);
}

std::string Packet(const std::vector<FromWorker>& records) {
    std::string packet;
    for (const FromWorker& record : records) {
        Append(packet, record);
    }
    return packet;
}

bool IsTaken(const FromWorker& record) {
    return ReadFromWorker(Packet({record})).has_value();
}

bool IsTaken(const std::vector<Item>& items) {
    return ReadToWorker(Written(ToWorker(Batch{.profile = {}, .items = items}))).has_value();
}

TEST(WorkerMessagesTest, WhatTheEngineSays) {
    ExpectBytes(Region{0x200000}, "\x21\x00\x00\x20\x00\x00\x00\x00\x00"s);
    ExpectBytes(Batch{.profile = {.archives = true, .unwanted = true},
                      .items = {{.id = 7, .offset = 0x100, .size = 5, .baseName = "a"},
                                {.id = 8, .size = 9, .byDescriptor = true, .baseName = "bc"}}},
                "\x22\x09\x02"
                "\x07\x00\x00\x00"
                "\x00\x01\x00\x00\x00\x00\x00\x00"
                "\x05\x00\x00\x00\x00\x00\x00\x00"
                "\x00\x01\x00"
                "a"
                "\x08\x00\x00\x00"
                "\x00\x00\x00\x00\x00\x00\x00\x00"
                "\x09\x00\x00\x00\x00\x00\x00\x00"
                "\x01\x02\x00"
                "bc"s);
}

TEST(WorkerMessagesTest, EachPartOfTheProfileHasItsBit) {
    const std::vector<Item> items{{.id = 1}};
    for (const auto& [profile, bits] :
         std::vector<std::pair<scanning::ScanProfile, char>>{{{.archives = true}, '\x01'},
                                                             {{.packed = true}, '\x02'},
                                                             {{.unknownTypes = true}, '\x04'},
                                                             {{.unwanted = true}, '\x08'}}) {
        const ToWorker batch = Batch{.profile = profile, .items = items};
        const std::string bytes = Written(batch);
        EXPECT_EQ(bytes[1], bits);
        EXPECT_EQ(ReadToWorker(bytes), batch);
    }
    std::string bytes = Written(ToWorker(Batch{.profile = {}, .items = items}));
    bytes[1] = '\x10';
    EXPECT_FALSE(ReadToWorker(bytes));
}

TEST(WorkerMessagesTest, WhatAWorkerSays) {
    const std::vector<FromWorker> records{
        Member{.id = 1, .name = "a/b"},
        FileVerdict{1, {.verdict = Verdict::Infected, .virusName = "V.1", .member = "a/b"}},
        FileVerdict{2, {.verdict = Verdict::Unreadable, .reason = "encrypted"}},
        FileVerdict{3, {.verdict = Verdict::Clean}},
        FileVerdict{4, {.verdict = Verdict::PassedOver}},
    };
    const std::string bytes =
        "\x31\x01\x00\x00\x00\x03\x00"
        "a/b"
        "\x32\x01\x00\x00\x00\x01\x03\x00V.1\x03\x00"
        "a/b\x00\x00"
        "\x32\x02\x00\x00\x00\x02\x00\x00\x00\x00\x09\x00"
        "encrypted"
        "\x32\x03\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
        "\x32\x04\x00\x00\x00\x03\x00\x00\x00\x00\x00\x00"s;
    EXPECT_EQ(Packet(records), bytes);
    EXPECT_EQ(ReadFromWorker(bytes), records);
}

TEST(WorkerMessagesTest, EveryCutAndEveryByteTooManyIsRefused) {
    for (const std::string& bytes :
         {Written(ToWorker(Region{1})),
          Written(ToWorker(Batch{.profile = {}, .items = {{.id = 1}, {.id = 2}}}))}) {
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            EXPECT_FALSE(ReadToWorker(bytes.substr(0, size))) << size;
        }
        EXPECT_FALSE(ReadToWorker(bytes + '\0'));
    }
    const std::string first = Packet({Member{.id = 1, .name = "a"}});
    const std::string bytes = first + Packet({FileVerdict{1, {.verdict = Verdict::Clean}}});
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        EXPECT_EQ(ReadFromWorker(bytes.substr(0, size)).has_value(), size == first.size()) << size;
    }
    EXPECT_FALSE(ReadFromWorker(bytes + '\0'));
}

TEST(WorkerMessagesTest, OneSideDoesNotSpeakForTheOther) {
    EXPECT_FALSE(ReadToWorker(Packet({Member{.id = 1, .name = "a"}})));
    EXPECT_FALSE(ReadFromWorker(Written(ToWorker(Region{1}))));
}

TEST(WorkerMessagesTest, RegionsHaveABound) {
    EXPECT_FALSE(ReadToWorker(Written(ToWorker(Region{0}))));
    EXPECT_TRUE(ReadToWorker(Written(ToWorker(Region{64U << 20U}))));
    EXPECT_FALSE(ReadToWorker(Written(ToWorker(Region{(64U << 20U) + 1}))));
}

TEST(WorkerMessagesTest, ABatchHasOneToThirtyTwoItems) {
    std::vector<Item> items;
    EXPECT_FALSE(IsTaken(items));
    for (std::uint32_t id = 1; id <= 32; ++id) {
        items.push_back({.id = id});
    }
    EXPECT_TRUE(IsTaken(items));
    items.push_back({.id = 33});
    EXPECT_FALSE(IsTaken(items));
}

TEST(WorkerMessagesTest, ItemsHaveNumbersOfTheirOwn) {
    EXPECT_FALSE(IsTaken({{.id = 0}}));
    EXPECT_FALSE(IsTaken({{.id = 5}, {.id = 6}, {.id = 5}}));
}

TEST(WorkerMessagesTest, BytesLieWithinTheLargestRegion) {
    constexpr std::uint64_t kMost = 64U << 20U;
    EXPECT_TRUE(IsTaken({{.id = 1, .offset = kMost - 1, .size = 1}}));
    EXPECT_FALSE(IsTaken({{.id = 1, .offset = kMost, .size = 1}}));
    EXPECT_FALSE(IsTaken({{.id = 1, .offset = 1, .size = ~std::uint64_t{0}}}));
    EXPECT_FALSE(IsTaken({{.id = 1, .offset = ~std::uint64_t{0}, .size = 2}}));
    // One read by descriptor has a size of its own and no place in the region.
    EXPECT_TRUE(IsTaken({{.id = 1, .size = 5 * kMost, .byDescriptor = true}}));
    EXPECT_FALSE(IsTaken({{.id = 1, .offset = 1, .size = 5, .byDescriptor = true}}));
}

TEST(WorkerMessagesTest, AFlagIsZeroOrOne) {
    std::string bytes = Written(ToWorker(Batch{.profile = {}, .items = {{.id = 1}}}));
    bytes[bytes.size() - 3] = '\x02';
    EXPECT_FALSE(ReadToWorker(bytes));
}

TEST(WorkerMessagesTest, ABaseNameIsNoPath) {
    EXPECT_TRUE(IsTaken({{.id = 1, .baseName = std::string(255, 'x')}}));
    EXPECT_FALSE(IsTaken({{.id = 1, .baseName = "a/b"}}));
    EXPECT_FALSE(ReadToWorker("\x22\x00\x01\x01\x00\x00\x00"s + std::string(17, '\0') +
                              "\x00\x01"s + std::string(256, 'x')));
}

TEST(WorkerMessagesTest, AVerdictSaysNothingThatDoesNotBelongToIt) {
    EXPECT_FALSE(IsTaken(FileVerdict{0, {.verdict = Verdict::Clean}}));
    EXPECT_FALSE(IsTaken(FileVerdict{1, {.verdict = Verdict::Infected}}));
    EXPECT_FALSE(IsTaken(FileVerdict{1, {.verdict = Verdict::Clean, .virusName = "V"}}));
    EXPECT_FALSE(IsTaken(FileVerdict{1, {.verdict = Verdict::Unreadable, .member = "m"}}));
    EXPECT_FALSE(IsTaken(FileVerdict{1, {.verdict = Verdict::Clean, .reason = "r"}}));
    EXPECT_FALSE(ReadFromWorker("\x32\x01\x00\x00\x00\x04\x00\x00\x00\x00\x00\x00"s));
}

TEST(WorkerMessagesTest, AMemberHasANameAndAFile) {
    EXPECT_FALSE(IsTaken(Member{.id = 0, .name = "a"}));
    EXPECT_FALSE(IsTaken(Member{.id = 1, .name = ""}));
}

TEST(WorkerMessagesTest, AReasonIsPlainText) {
    const auto read = ReadFromWorker(
        Packet({FileVerdict{1, {.verdict = Verdict::Unreadable, .reason = "a\n\x1B[\xC3\xA4z"}}}));
    ASSERT_TRUE(read);
    EXPECT_EQ(std::get<FileVerdict>(read->front()).outcome.reason, "a??[??z");
    EXPECT_FALSE(ReadFromWorker("\x32\x01\x00\x00\x00\x02\x00\x00\x00\x00\x01\x00\n"s));
}

TEST(WorkerMessagesTest, NamesAreCutToTheirBounds) {
    const std::string packet = Packet({FileVerdict{1,
                                                   {.verdict = Verdict::Infected,
                                                    .virusName = std::string(9000, 'v'),
                                                    .member = std::string(9000, 'm')}}});
    EXPECT_LE(packet.size(), kMaxRecord);
    const auto read = ReadFromWorker(packet);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->front(), FromWorker(FileVerdict{1,
                                                    {.verdict = Verdict::Infected,
                                                     .virusName = std::string(512, 'v'),
                                                     .member = std::string(4096, 'm')}}));
    const auto member = ReadFromWorker(Packet({Member{.id = 1, .name = std::string(9000, 'm')}}));
    ASSERT_TRUE(member);
    EXPECT_EQ(std::get<Member>(member->front()).name, std::string(4096, 'm'));
}

// Who ends a scan early is never a worker.
TEST(WorkerMessagesTest, WhatIsNoVerdictOfAWorkerIsUnread) {
    const auto read = ReadFromWorker(Packet({FileVerdict{1, {.verdict = Verdict::Stopped}}}));
    ASSERT_TRUE(read);
    EXPECT_EQ(std::get<FileVerdict>(read->front()).outcome.verdict, Verdict::Unreadable);
}

TEST(WorkerMessagesTest, DescriptorsAreCounted) {
    EXPECT_EQ(DescriptorsOf({.profile = {},
                             .items = {{.id = 1, .byDescriptor = true},
                                       {.id = 2},
                                       {.id = 3, .byDescriptor = true}}}),
              2U);
}

TEST(WorkerMessagesTest, TheLongestMessagesFitIntoAPacket) {
    std::vector<Item> items;
    for (std::uint32_t id = 1; id <= 32; ++id) {
        items.push_back({.id = id, .baseName = std::string(255, 'n')});
    }
    EXPECT_LE(Written(ToWorker(Batch{.profile = {}, .items = items})).size(), kMaxPacket);
}

}  // namespace
