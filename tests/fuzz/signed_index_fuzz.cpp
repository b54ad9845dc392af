// The reader of the index of a mirror: what it takes is what a general reader of JSON sees, within
// the limits of each field, and is written and read again as it was; what it calls no JSON is none.

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <string_view>

#include "product/signed_index/index.h"
#include "tests/fuzz/fuzz.h"

namespace {

using Json = nlohmann::json;
using signed_index::Index;
using signed_index::IndexedFile;
using signed_index::Refusal;

bool IsFineName(std::string_view name) {
    constexpr std::string_view kAllowed =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";
    return !name.empty() && name.size() <= 64 && name[0] != '.' &&
           name.find_first_not_of(kAllowed) == std::string_view::npos &&
           name.find('.') != std::string_view::npos;
}

void RequireFile(const IndexedFile& file, const Json& given) {
    RequireSame(file.name, given.at("name").get_ref<const std::string&>(), "a name");
    RequireSame(file.sha256, given.at("sha256").get_ref<const std::string&>(), "a digest");
    Require(given.at("size") == file.size && given.at("version") == file.version, "a number");
    Require(IsFineName(file.name), "a name that may leave the folder");
    Require(file.sha256.size() == 64 &&
                file.sha256.find_first_not_of("0123456789abcdef") == std::string::npos,
            "a digest that is none");
    Require(file.size >= 1 && file.size <= 2147483648U, "a size out of range");
}

void RequireTaken(const Index& index, std::string_view text) {
    const Json given = Json::parse(text.begin(), text.end(), nullptr, false);
    Require(given.is_object(), "what was taken is no JSON object");
    Require(given.at("format") == 1 && given.at("serial") == index.serial && index.serial > 0,
            "the head differs");
    Require(index.made < index.expires && index.made >= 0, "the dates are in the wrong order");
    RequireSame(signed_index::FormatUtcTime(index.made),
                given.at("made").get_ref<const std::string&>(), "made");
    RequireSame(signed_index::FormatUtcTime(index.expires),
                given.at("expires").get_ref<const std::string&>(), "expires");
    const Json& files = given.at("files");
    Require(files.size() == index.files.size() && !files.empty(), "the number of files");
    std::set<std::string_view> names;
    for (std::size_t i = 0; i < index.files.size(); ++i) {
        RequireFile(index.files[i], files[i]);
        Require(names.insert(index.files[i].name).second, "two files of one name");
    }
}

void RequireWrittenAndReadAgain(const Index& index) {
    Index again;
    const std::string text = signed_index::FormatIndex(index);
    Require(signed_index::ParseIndex(text, again) == Refusal::kNone, "it is not read again");
    RequireSame(signed_index::FormatIndex(again), text, "the index written again");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = FuzzInput(data, size).TakeRest();
    static Index index;
    const Refusal refusal = signed_index::ParseIndex(text, index);
    if (refusal == Refusal::kNone) {
        RequireTaken(index, text);
        RequireWrittenAndReadAgain(index);
    } else if (refusal == Refusal::kNotJson && text.starts_with('{') &&
               text.find('\0') == std::string_view::npos) {
        Require(!Json::accept(text.begin(), text.end()), "it is JSON");
    }
    return 0;
}
