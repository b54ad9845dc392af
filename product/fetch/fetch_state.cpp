#include "product/fetch/fetch_state.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>
#include <vector>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/retrying.h"

namespace fetch {

namespace {

using Json = nlohmann::json;

constexpr char kName[] = "state.json";
constexpr char kNewName[] = "state.json.new";
constexpr std::size_t kMaxSize = std::size_t{256} * 1024;
constexpr std::size_t kMaxMirrors = 100;

std::string TextOf(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::time_t TimeOf(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_number_integer() ? found->get<std::time_t>() : 0;
}

std::uint64_t SerialOf(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found != object.end() && found->is_number_unsigned() ? found->get<std::uint64_t>() : 0;
}

// A header that is sent back as it came must not begin another one.
std::string OneLine(std::string text) {
    const bool isOneLine = std::none_of(text.begin(), text.end(), [](char character) {
        return static_cast<unsigned char>(character) < ' ';
    });
    return isOneLine ? text : std::string();
}

}  // namespace

bool IsToBeLeftAlone(std::time_t notBefore, std::time_t now) {
    constexpr std::time_t kLongest = 86'400;
    return now < notBefore && notBefore - kLongest <= now;
}

FetchState ReadState(int folder) {
    FetchState state;
    const common::FileDescriptor file =
        common::OpenRegularFileAt(folder, kName, O_RDONLY, common::Links::kNone);
    std::vector<char> text(kMaxSize);
    const auto length = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text)));
    if (length <= 0) {
        return state;
    }
    const Json document = Json::parse(text.begin(), text.begin() + length, nullptr, false);
    if (!document.is_object()) {
        return state;
    }
    if (const auto official = document.find("official");
        official != document.end() && official->is_object()) {
        state.official = {TimeOf(*official, "notBefore")};
    }
    const auto mirrors = document.find("mirrors");
    if (mirrors == document.end() || !mirrors->is_object()) {
        return state;
    }
    for (const auto& [address, mirror] : mirrors->items()) {
        if (mirror.is_object() && state.mirrors.size() < kMaxMirrors) {
            state.mirrors[address] = {OneLine(TextOf(mirror, "etag")),
                                      OneLine(TextOf(mirror, "modified")), TextOf(mirror, "index"),
                                      TimeOf(mirror, "notBefore"), SerialOf(mirror, "serial")};
        }
    }
    return state;
}

bool WriteState(int folder, const FetchState& state) {
    Json mirrors = Json::object();
    for (const auto& [address, mirror] : state.mirrors) {
        mirrors[address] = {{"etag", mirror.etag},
                            {"modified", mirror.modified},
                            {"index", mirror.indexSha256},
                            {"notBefore", mirror.notBefore},
                            {"serial", mirror.serial}};
    }
    const Json document = {{"mirrors", std::move(mirrors)},
                           {"official", {{"notBefore", state.official.notBefore}}}};
    const std::string text = document.dump(1, ' ', true, Json::error_handler_t::replace) + "\n";
    (void)common::Retrying([&] { return ::unlinkat(folder, kNewName, 0); });
    const common::FileDescriptor file = common::OpenRegularFileAt(
        folder, kNewName, O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0600);
    return file && common::WriteAll(file.Get(), text) &&
           common::Retrying([&] { return ::fsync(file.Get()); }) == 0 &&
           common::Retrying([&] { return ::renameat(folder, kNewName, folder, kName); }) == 0;
}

}  // namespace fetch
