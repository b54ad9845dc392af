#include "product/updturl/last_update.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/retrying.h"

namespace updturl {
namespace {

constexpr char kTemporaryName[] = "last-update.json.new";

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

}  // namespace

std::string LastUpdateText(const LastUpdate& update) {
    return "{\"time\": " + std::to_string(update.time) +
           ", \"result\": " + std::to_string(update.result) + ", \"text\": " + Quoted(update.text) +
           "}\n";
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
           common::Retrying(
               [&] { return ::renameat(folder, kTemporaryName, folder, kLastUpdateName); }) == 0 &&
           common::Retrying([&] { return ::fsync(folder); }) == 0;
}

}  // namespace updturl
