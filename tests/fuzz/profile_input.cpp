#include "tests/fuzz/profile_input.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memory_file.h"
#include "tests/support/scratch.h"

namespace {

constexpr std::size_t kMaxNulls = 7;

std::string Unfolded(const std::string& text) {
    constexpr char kRun = '\x1e';
    constexpr std::size_t kRunUnit = 8;
    // Room for several lines that are longer than any buffer; more would only cost time.
    constexpr std::size_t kMost = 4096;
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == kRun && i + 2 < text.size()) {
            const std::size_t room = kMost - std::min(kMost, result.size());
            result.append(std::min(room, static_cast<unsigned char>(text[i + 1]) * kRunUnit),
                          text[i + 2]);
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

// What stands between `before` and the next `after` behind it, for every `before`.
std::vector<std::string> Between(const std::string& text, char before, char after) {
    std::vector<std::string> found;
    for (std::size_t i = text.find(before); i != std::string::npos; i = text.find(before, i + 1)) {
        const std::size_t end = text.find(after, i);
        if (end != std::string::npos) {
            found.push_back(text.substr(i + 1, end - i - 1));
        }
    }
    return found;
}

void Pick(std::string& argument, const std::vector<std::string>& from, std::size_t which) {
    if (!from.empty()) {
        argument = from[which % from.size()];
    }
}

void FlipCase(std::string& text) {
    for (char& byte : text) {
        if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z')) {
            byte = static_cast<char>(byte ^ 0x20);
        }
    }
}

}  // namespace

ProfileInput::ProfileInput(const std::uint8_t* data, std::size_t inputSize) {
    FuzzInput input(data, inputSize);
    std::string control = input.TakeLine();
    control.resize(4);
    section = Unfolded(input.TakeLine());
    key = Unfolded(input.TakeLine());
    value = Unfolded(input.TakeLine());
    content = Unfolded(input.TakeRest());

    const auto flags = static_cast<unsigned char>(control[0]);
    const auto sizeCode = static_cast<unsigned char>(control[1]);
    const auto which = static_cast<unsigned char>(control[2]);
    size = 1 + (sizeCode & 0x7fU) * ((sizeCode & 0x80U) != 0 ? 16U : 1U);
    if ((flags & 1U) != 0) {
        Pick(section, Between(*content, '[', ']'), which);
    }
    if ((flags & 2U) != 0) {
        Pick(key, Between("\n" + *content, '\n', '='), which);
    }
    if ((flags & 4U) != 0) {
        FlipCase(section);
        FlipCase(key);
    }
    if ((flags & 8U) != 0) {
        content.reset();
    }
    isOnDisk = (flags & 0xf0U) == 0xf0U;
    if (control[3] >= 'A' && control[3] < static_cast<char>('A' + kMaxNulls)) {
        nullArgument = control[3] - 'A' + 1;
    }
    // The functions see texts that end at their first zero byte, and so must whoever compares.
    for (std::string* text : {&section, &key, &value}) {
        text->resize(std::min(text->find('\0'), text->size()));
    }
}

void ProfileFile::Put(const oracle::Content& content) const {
    if (!content) {
        Require(::unlink(Path()) == 0 || errno == ENOENT, "the file cannot be removed");
        return;
    }
    const FileDescriptor file(::open(Path(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0640));
    Require(file.IsOpen() && ::fchmod(file.Get(), 0640) == 0 && WriteAll(file.Get(), *content),
            "the file cannot be written");
}

oracle::Content ProfileFile::Get() const {
    const FileDescriptor file(::open(Path(), O_RDONLY | O_CLOEXEC));
    if (!file) {
        return std::nullopt;
    }
    std::string content;
    std::array<char, 8192> block;
    std::ptrdiff_t got = 0;
    while ((got = ReadFull(file.Get(), std::as_writable_bytes(std::span(block)))) > 0) {
        content.append(block.data(), static_cast<std::size_t>(got));
    }
    return content;
}

const char* InMemory(const oracle::Content& content) {
    static const MemoryFile file;
    if (!content) {
        return "/proc/self/fd/none";
    }
    file.Put(*content);
    return file.Path().c_str();
}

const ProfileFile& TheProfile() {
    static const ScratchFolder folder;
    static const ProfileFile file(folder / "profile");
    return file;
}
