#include "update/files/last_update.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

#include "abi/updturl.h"
#include "common/io.h"
#include "common/regular_file.h"
#include "common/retrying.h"

namespace update {
namespace {

constexpr char kName[] = "last-update.json";
constexpr char kTemporaryName[] = "last-update.json.new";
constexpr std::size_t kMostBytes = 4096;

constexpr std::string_view kTime = "{\"time\": ";
constexpr std::string_view kResult = ", \"result\": ";
constexpr std::string_view kText = ", \"text\": ";
constexpr std::string_view kEnd = "}\n";

/// The text in quotation marks. What is no ASCII becomes "?": the words are ours, and a name in
/// them need not be UTF-8.
std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char byte : text) {
        if (byte == '"' || byte == '\\') {
            quoted += '\\';
            quoted += byte;
        } else {
            quoted += byte >= ' ' && byte <= '~' ? byte : '?';
        }
    }
    return quoted + "\"";
}

bool Take(std::string_view& text, std::string_view expected) {
    const bool isThere = text.starts_with(expected);
    text.remove_prefix(isThere ? expected.size() : 0);
    return isThere;
}

template <typename Number>
bool TakeNumber(std::string_view& text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc();
}

}  // namespace

std::string LastUpdateText(const LastUpdate& update) {
    std::string text(kTime);
    text.append(std::to_string(update.time))
        .append(kResult)
        .append(std::to_string(update.result))
        .append(kText)
        .append(Quoted(update.text.substr(0, kMostBytes / 4)))
        .append(kEnd);
    return text;
}

bool WriteLastUpdate(int folder, const LastUpdate& update) {
    if (common::Retrying([&] { return ::unlinkat(folder, kTemporaryName, 0); }) != 0 &&
        errno != ENOENT) {
        return false;
    }
    const common::FileDescriptor file = common::OpenRegularFileAt(
        folder, kTemporaryName, O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0644);
    return file && common::WriteAll(file.Get(), LastUpdateText(update)) &&
           common::Retrying([&] { return ::fchmod(file.Get(), 0644); }) == 0 &&
           common::Retrying([&] { return ::fsync(file.Get()); }) == 0 &&
           common::Retrying([&] { return ::renameat(folder, kTemporaryName, folder, kName); }) ==
               0 &&
           common::Retrying([&] { return ::fsync(folder); }) == 0;
}

std::optional<LastUpdate> ParseLastUpdate(std::string_view text) {
    constexpr std::time_t kMostSeconds = 253'402'300'799;  // the end of the year 9999
    LastUpdate update;
    if (Take(text, kTime) && TakeNumber(text, update.time) && update.time >= 0 &&
        update.time <= kMostSeconds && Take(text, kResult) && TakeNumber(text, update.result) &&
        update.result >= kUpdaterFailed && update.result <= kUpdaterInvalidFiles &&
        Take(text, kText) && text.size() > kEnd.size() + 1 && text.starts_with('"') &&
        text.ends_with("\"}\n")) {
        return update;
    }
    return std::nullopt;
}

std::optional<LastUpdate> ReadLastUpdate(const std::string& path) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kNoSymbolic);
    std::string text(kMostBytes + 1, '\0');
    const auto got = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text)));
    if (!file || got < 0 || static_cast<std::size_t>(got) > kMostBytes) {
        return std::nullopt;
    }
    return ParseLastUpdate(std::string_view(text).substr(0, static_cast<std::size_t>(got)));
}

}  // namespace update
