#include "product/scanapi/mounts.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace scanapi {

namespace {

std::string ReadText(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace

std::string MountOf(int file) {
    constexpr std::string_view kKey = "mnt_id:\t";
    const std::string facts = ReadText("/proc/self/fdinfo/" + std::to_string(file));
    const auto found = facts.find(kKey);
    return found == std::string::npos
               ? ""
               : facts.substr(found + kKey.size(), facts.find('\n', found) - found - kKey.size());
}

std::string MountTable() {
    return ReadText("/proc/self/mountinfo");
}

std::string_view LineOfMount(std::string_view table, std::string_view mount) {
    while (!table.empty() && !mount.empty()) {
        const std::string_view line = table.substr(0, table.find('\n'));
        table.remove_prefix(std::min(line.size() + 1, table.size()));
        if (line.substr(0, line.find(' ')) == mount) {
            return line;
        }
    }
    return {};
}

}  // namespace scanapi
