// A status library that writes its calls down in the file named by FAKE_SCANSTS_LOG, one line each:
// "told" and the record's bytes in hexadecimal; "unloaded" when it is. With FAKE_SCANSTS_THROWS set
// each call throws that text.

#include <cstdlib>
#include <fcntl.h>
#include <span>
#include <stdexcept>
#include <string>

#include "abi/scansts.h"
#include "common/file_descriptor.h"
#include "common/io.h"

namespace {

void Note(const std::string& line) {
    if (const char* path = std::getenv("FAKE_SCANSTS_LOG"); path != nullptr) {
        const common::FileDescriptor log(
            open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        common::WriteAll(log.Get(), line + "\n");
    }
}

std::string Hexadecimal(std::span<const std::byte> bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::byte byte : bytes) {
        text += kDigits[std::to_integer<unsigned>(byte) >> 4];
        text += kDigits[std::to_integer<unsigned>(byte) & 0xF];
    }
    return text;
}

const struct Unloading {
    ~Unloading() { Note("unloaded"); }
} kUnloading;

}  // namespace

extern "C" __attribute__((visibility("default"))) int StsCommunicateChange(
    tagSTATUSCHANGE* change) {
    Note("told " + Hexadecimal(common::BytesOf(*change)));
    if (const char* reason = std::getenv("FAKE_SCANSTS_THROWS"); reason != nullptr) {
        throw std::runtime_error(reason);
    }
    return 0;
}
