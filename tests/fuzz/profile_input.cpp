#include "tests/fuzz/profile_input.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <span>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/memory_file.h"
#include "tests/support/scratch.h"

namespace {

constexpr int kMaxNulls = 7;

// Appends `text` with its runs written out.
void Unfold(std::string_view text, std::string& result) {
    constexpr char kRun = '\x1e';
    constexpr std::size_t kRunUnit = 8;
    // Room for two lines that are longer than any buffer; more would only cost time, and so would
    // thousands of empty lines.
    constexpr std::size_t kMost = 2560;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == kRun && i + 2 < text.size() && text[i + 2] != '\n') {
            const std::size_t room = kMost - std::min(kMost, result.size());
            result.append(std::min(room, static_cast<unsigned char>(text[i + 1]) * kRunUnit),
                          text[i + 2]);
            i += 2;
        } else {
            result += text[i];
        }
    }
}

// A function's argument. The functions see texts that end at their first zero byte, and so must
// whoever compares.
void PutArgument(std::string_view text, std::string& argument) {
    argument.clear();
    Unfold(text, argument);
    argument.resize(std::min(argument.find('\0'), argument.size()));
}

// Makes `argument` one of the texts between a `before` and the next `after` behind it, if there is
// any; the first follows the last.
void Pick(std::string& argument, std::string_view text, char before, char after,
          std::size_t which) {
    const std::size_t lastAfter = text.rfind(after);
    const std::string_view starts =
        text.substr(0, lastAfter == std::string_view::npos ? 0 : lastAfter);
    const auto count = static_cast<std::size_t>(std::count(starts.begin(), starts.end(), before));
    if (count == 0) {
        return;
    }
    std::size_t start = starts.find(before);
    for (which %= count; which > 0; --which) {
        start = starts.find(before, start + 1);
    }
    const std::string_view rest = text.substr(start + 1);
    argument = rest.substr(0, std::min(rest.find(after), rest.find('\0')));
}

void FlipCase(std::string& text) {
    for (char& byte : text) {
        if ((byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z')) {
            byte = static_cast<char>(byte ^ 0x20);
        }
    }
}

}  // namespace

void ProfileInput::Put(const std::uint8_t* data, std::size_t inputSize) {
    FuzzInput input(data, inputSize);
    const std::string_view control = input.TakeLine();
    const auto controlAt = [control](std::size_t index) {
        return static_cast<unsigned char>(index < control.size() ? control[index] : 0);
    };
    PutArgument(input.TakeLine(), section);
    PutArgument(input.TakeLine(), key);
    PutArgument(input.TakeLine(), value);
    m_file = "\n";
    Unfold(input.TakeRest(), m_file);
    content = std::string_view(m_file).substr(1);

    const unsigned char flags = controlAt(0);
    const unsigned char sizeCode = controlAt(1);
    size = 1 + (sizeCode & 0x7fU) * ((sizeCode & 0x80U) != 0 ? 16U : 1U);
    if ((flags & 1U) != 0) {
        Pick(section, *content, '[', ']', controlAt(2));
    }
    if ((flags & 2U) != 0) {
        Pick(key, m_file, '\n', '=', controlAt(2));
    }
    if ((flags & 4U) != 0) {
        FlipCase(section);
        FlipCase(key);
    }
    if ((flags & 8U) != 0) {
        content.reset();
    }
    isOnDisk = (flags & 0xf0U) == 0xf0U;
    const int null = controlAt(3) - 'A' + 1;
    nullArgument = null >= 1 && null <= kMaxNulls ? null : 0;
    m_asked = std::max<unsigned char>(controlAt(4), '0') - '0';
}

void ProfileBuffer::Expect(std::string_view text, char last) {
    const std::size_t room = m_expected.size() - 1;
    m_expected = text.substr(0, room);
    m_expected.resize(room, '\0');
    m_expected += last;
}

void ProfileBuffer::Check(std::string_view what) const {
    RequireSame({m_actual.data(), m_actual.size()}, m_expected, what);
}

void ProfileFile::Put(const oracle::Content& content) const {
    if (!content) {
        Require(::unlink(Path()) == 0 || errno == ENOENT, "the file cannot be removed");
        return;
    }
    const common::FileDescriptor file(
        ::open(Path(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0640));
    Require(
        file.IsOpen() && ::fchmod(file.Get(), 0640) == 0 && common::WriteAll(file.Get(), *content),
        "the file cannot be written");
}

bool ProfileFile::Get(std::string& content) const {
    const common::FileDescriptor file(::open(Path(), O_RDONLY | O_CLOEXEC));
    content.clear();
    if (!file) {
        return false;
    }
    std::array<char, 8192> block;
    std::ptrdiff_t got = 0;
    while ((got = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(block)))) > 0) {
        content.append(block.data(), static_cast<std::size_t>(got));
    }
    return true;
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
