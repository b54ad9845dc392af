// The reader of an item of the vault. The input is the plain parts of one, so that the fuzzer is
// not stopped by digests: they are put together as the writer does it, but for a few bytes that are
// changed afterwards. What is read is what a second, plain reader sees, and what is written of it
// again is read as the same.

#include <array>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <zlib.h>

#include "product/signed_index/sha256.h"
#include "product/vault/item_reader.h"
#include "product/vault/item_writer.h"
#include "product/vault/scrambling.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memory_file.h"

namespace {

using vault::ItemFacts;
using vault::ItemReader;

constexpr std::size_t kMaxContents = 4096;  // packed bytes may stand for a thousand times as many

std::uint64_t Number(std::string_view bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        number += static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    }
    return number;
}

std::size_t TakeNumber(FuzzInput& input) {
    const std::size_t low = input.TakeByte();
    return low + std::size_t{256} * input.TakeByte();
}

std::string Bytes(std::uint64_t number, std::size_t size) {
    std::string bytes;
    while (bytes.size() < size) {
        bytes += static_cast<char>(number & 0xFFU);
        number >>= 8U;
    }
    return bytes;
}

std::string Digest(std::string_view text) {
    signed_index::Sha256 digest;
    digest.Add(std::as_bytes(std::span(text)));
    return digest.Finish();
}

// All that the stream holds when it is whole, ends with the input and is no longer than the limit.
std::optional<std::string> Inflated(std::string_view packed) {
    std::string plain(kMaxContents + 1, '\0');
    uLongf size = plain.size();
    uLong used = packed.size();
    const int result = uncompress2(reinterpret_cast<Bytef*>(plain.data()), &size,
                                   reinterpret_cast<const Bytef*>(packed.data()), &used);
    if (result != Z_OK || used != packed.size() || size > kMaxContents) {
        return std::nullopt;
    }
    plain.resize(size);
    return plain;
}

// The records by kind; nothing when they are not well-formed.
std::optional<std::multimap<std::uint64_t, std::string_view>> Split(std::string_view records) {
    std::multimap<std::uint64_t, std::string_view> parts;
    while (!records.empty()) {
        if (records.size() < 8 || Number(records.substr(2, 2)) != 0 ||
            Number(records.substr(4, 4)) > records.size() - 8) {
            return std::nullopt;
        }
        const std::size_t length = Number(records.substr(4, 4));
        parts.emplace(Number(records.substr(0, 2)), records.substr(8, length));
        records.remove_prefix(8 + length);
    }
    return parts;
}

bool IsText(std::string_view text, std::size_t limit) {
    return text.size() <= limit && text.find('\0') == std::string_view::npos;
}

bool IsAttribute(std::string_view bytes) {
    if (bytes.size() < 2) {
        return false;
    }
    const std::size_t length = Number(bytes.substr(0, 2));
    return length > 0 && length <= bytes.size() - 2 && IsText(bytes.substr(2, length), 255) &&
           bytes.size() - 2 - length <= 65536;
}

bool AreFine(const std::multimap<std::uint64_t, std::string_view>& parts) {
    for (std::uint64_t kind = 1; kind <= 9; ++kind) {
        if (parts.count(kind) != 1) {
            return false;
        }
    }
    const auto one = [&](std::uint64_t kind) { return parts.find(kind)->second; };
    bool isFine = !one(1).empty() && IsText(one(1), 4096) && one(2).size() == 4 &&
                  one(3).size() == 4 && one(4).size() == 4 && Number(one(4)) <= 07777 &&
                  one(7).size() == 8 && IsText(one(8), 1024) && IsText(one(9), 1024);
    for (const std::uint64_t kind : {std::uint64_t{5}, std::uint64_t{6}}) {
        isFine = isFine && one(kind).size() == 12 && Number(one(kind).substr(8)) < 1'000'000'000;
    }
    const auto [begin, end] = parts.equal_range(10);
    for (auto part = begin; part != end; ++part) {
        isFine = isFine && IsAttribute(part->second);
    }
    return isFine;
}

std::string TimeBytes(const timespec& time) {
    return Bytes(static_cast<std::uint64_t>(time.tv_sec), 8) +
           Bytes(static_cast<std::uint64_t>(time.tv_nsec), 4);
}

void RequireFacts(const ItemFacts& facts,
                  const std::multimap<std::uint64_t, std::string_view>& parts) {
    const auto one = [&](std::uint64_t kind) { return parts.find(kind)->second; };
    RequireSame(facts.path, one(1), "the path");
    RequireSame(Bytes(facts.owner, 4), one(2), "the owner");
    RequireSame(Bytes(facts.group, 4), one(3), "the group");
    RequireSame(Bytes(facts.mode, 4), one(4), "the mode");
    RequireSame(TimeBytes(facts.accessed), one(5), "the time of access");
    RequireSame(TimeBytes(facts.modified), one(6), "the time of change");
    RequireSame(Bytes(static_cast<std::uint64_t>(facts.kept), 8), one(7), "the time of keeping");
    RequireSame(facts.virusName, one(8), "the virus");
    RequireSame(facts.database, one(9), "the database");
    Require(facts.attributes.size() == parts.count(10), "the number of attributes");
    auto part = parts.lower_bound(10);
    for (const vault::ExtendedAttribute& attribute : facts.attributes) {
        RequireSame(Bytes(attribute.name.size(), 2) + attribute.name + attribute.value,
                    (part++)->second, "an attribute");
    }
}

// The contents, nothing when the reader calls them damaged.
std::optional<std::string> Extracted(const ItemReader& item) {
    std::string contents;
    std::string why;
    const bool isWhole = item.Extract(
        [&](std::span<const std::byte> bytes) {
            contents.append(reinterpret_cast<const char*>(bytes.data()), bytes.size());
            Require(contents.size() <= item.Facts().size, "more than was said");
            return true;
        },
        why);
    Require(isWhole == why.empty(), "a reason and the outcome");
    return isWhole ? std::optional(contents) : std::nullopt;
}

std::optional<ItemReader> Read(const MemoryFile& file, std::string_view bytes) {
    file.Put(bytes);
    std::string why;
    auto item = ItemReader::Open(common::FileDescriptor(dup(file.Get())), why);
    Require(item.has_value() == why.empty(), "a reason and the outcome");
    return item;
}

void RequireWrittenAndReadAgain(const ItemReader& item, const std::string& contents) {
    static const MemoryFile from;
    static const MemoryFile to;
    from.Put(contents);
    to.Put("");
    ItemFacts facts = item.Facts();
    std::string why;
    Require(vault::WriteItem(to.Get(), from.Get(), facts, 1U << 30U, why), "it is not written");
    const auto again = ItemReader::Open(common::FileDescriptor(dup(to.Get())), why);
    Require(again.has_value(), "it is not read again");
    RequireSame(again->Facts().path, item.Facts().path, "the path read again");
    RequireSame(Extracted(*again).value_or("(damaged)"), contents, "the contents read again");
}

}  // namespace

// The first byte: 0 to 127 leave the item as it was put together, the others change a byte at the
// place that the second and third give; of the unchanged, one place in sixteen has the item written
// anew, which takes several times as long. The next two are the size of the records.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned int change = input.TakeByte();
    const std::size_t place = TakeNumber(input);
    const std::size_t wanted = TakeNumber(input);
    const std::string_view rest = input.TakeRest();
    const std::string_view records = rest.substr(0, wanted);
    const std::string_view packed = rest.substr(records.size());

    const std::uint64_t key = change;
    const auto contents = Inflated(packed);
    const std::string plain = contents.value_or("other");
    const std::string head = std::string("CORVANE VAULT\r\n\x1A") + Bytes(1, 4) +
                             Bytes(records.size(), 4) + Bytes(packed.size(), 8) +
                             Bytes(plain.size(), 8) + Bytes(key, 8) + Digest(plain);
    std::string body(rest);
    vault::Scramble(key, 0, std::as_writable_bytes(std::span(body)));
    std::string bytes = head + Digest(head + std::string(records)) + body;
    const bool isChanged = change >= 128;
    if (isChanged) {
        bytes[place % bytes.size()] =
            static_cast<char>(bytes[place % bytes.size()] ^ static_cast<char>(change));
    }
    static const MemoryFile file;
    const auto item = Read(file, bytes);
    if (isChanged) {
        if (item) {
            (void)Extracted(*item);
        }
        return 0;
    }
    const auto parts = Split(records);
    const bool isFine = parts && AreFine(*parts);
    Require(item.has_value() == isFine, "what it takes for well-formed");
    if (!item) {
        return 0;
    }
    RequireFacts(item->Facts(), *parts);
    const auto got = Extracted(*item);
    Require(got.has_value() == contents.has_value(), "what it takes for whole");
    if (got) {
        RequireSame(*got, *contents, "the contents");
        if (place % 16 == 0) {
            RequireWrittenAndReadAgain(*item, *got);
        }
    }
    return 0;
}
