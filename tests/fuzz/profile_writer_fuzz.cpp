// Both writers of profile files against the oracle; and what was written can be read back, and
// written again changes nothing. One of these for each input. Most are written in memory, by what
// both writers copy a profile with; making and renaming files takes longer than all the rest, so
// only some of them get to the disk.

#include <array>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>

#include "common/profile.h"
#include "common/profile_lines.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/profile_input.h"

namespace {

using Writer = decltype(&WritePrivateProfileString);

constexpr std::uint32_t kUntouchedCode = 77;

// Whether a reader can find what was written: nothing in it means something else to the syntax.
bool IsReadable(const oracle::Entry& entry) {
    for (const std::string_view text : {entry.section, entry.key, entry.value}) {
        if (text.find('\n') != std::string_view::npos) {
            return false;
        }
    }
    return entry.section.find(']') == std::string_view::npos &&
           entry.key.find('=') == std::string_view::npos &&
           std::string_view("[;#").find(entry.key.front()) == std::string_view::npos;
}

// Whether copying its lines keeps them as they are: one that fills the line buffer without its
// newline gets one, and then is two lines.
bool HasStableLines(std::string_view content) {
    for (std::size_t at = 0; at < content.size();) {
        const oracle::Piece piece = oracle::PieceAt(content, at, 1023);
        if (oracle::Stripped(piece.text).size() == 1023) {
            return false;
        }
        at = piece.end;
    }
    return true;
}

// `content` with what the input tells written into it. Good until the next call.
std::string_view Copied(std::string_view content, const ProfileInput& input) {
    // Streams and their buffers are kept as far as can be: these take longer than the copying.
    static std::array<char, 4096> readBuffer;
    static std::array<char, 32'768> writeBuffer;
    static std::array<char, 32'768> memory;
    static const common::FileStream to(::fmemopen(memory.data(), memory.size(), "w"));
    static std::string readable;
    readable = content;
    common::FileStream from(::fmemopen(readable.data(), readable.size(), "r"));
    Require(
        from && to && std::setvbuf(from.get(), readBuffer.data(), _IOFBF, readBuffer.size()) == 0,
        "no streams in memory");
    static const int isBuffered =
        std::setvbuf(to.get(), writeBuffer.data(), _IOFBF, writeBuffer.size());
    Require(isBuffered == 0 && std::fseek(to.get(), 0, SEEK_SET) == 0, "no buffer in memory");

    common::ProfileReader profile(std::move(from));
    const std::string key = common::ProfileArgument(input.key.c_str());
    common::CopyProfile(profile, to.get(), common::ProfileArgument(input.section.c_str()), key,
                        key + "=" + common::ProfileArgument(input.value.c_str()));
    const long size = std::ftell(to.get());
    Require(std::fflush(to.get()) == 0 && size >= 0, "the memory is full");
    return {memory.data(), static_cast<std::size_t>(size)};
}

void CheckOnDisk(const ProfileInput& input, Writer write, std::uint32_t wantedCode,
                 std::string_view wanted) {
    const char* const path = TheProfile().Path();
    TheProfile().Put(input.content);
    std::uint32_t code = kUntouchedCode;
    const int result = write(
        input.Argument(1, input.section.c_str()), input.Argument(2, input.key.c_str()),
        input.Argument(3, input.value.c_str()), input.Argument(4, path), input.Argument(5, &code));
    RequireSame(result, wantedCode == 0 ? 0 : -1, "the writer's result");
    RequireSame(code, wantedCode, "the writer's code");

    struct stat status {};
    static const std::string temporary = std::string(path) + ".tmp";
    Require(::stat(temporary.c_str(), &status) != 0, "the temporary file was left behind");
    static std::string written;
    Require(TheProfile().Get(written) == input.content.has_value(),
            "there is a file where none should be, or none where one should");
    if (!input.content) {
        return;
    }
    RequireSame(written, wantedCode == 0 ? wanted : *input.content, "the file");
    Require(::stat(path, &status) == 0, "the file is gone");
    RequireSame(static_cast<long long>(status.st_mode & 07777U), 0640, "the file's mode");
}

void CheckInMemory(const ProfileInput& input, Writer write, std::uint32_t wantedCode,
                   std::string_view wanted) {
    if (wantedCode == 0) {
        RequireSame(Copied(*input.content, input), wanted, "the file in memory");
        return;
    }
    // What is refused leaves a file in memory alone, or the writer would fail on its folder.
    std::uint32_t code = kUntouchedCode;
    const int result =
        write(input.Argument(1, input.section.c_str()), input.Argument(2, input.key.c_str()),
              input.Argument(3, input.value.c_str()), input.Argument(4, InMemory(input.content)),
              input.Argument(5, &code));
    RequireSame(result, -1, "the writer's result");
    RequireSame(code, wantedCode, "the writer's code");
}

void CheckReadBack(const ProfileInput& input, const std::string& written) {
    const oracle::Entry entry{oracle::Argument(input.section), oracle::Argument(input.key),
                              oracle::Argument(input.value)};
    if (!IsReadable(entry)) {
        return;
    }
    std::array<char, 512> buffer{};
    std::uint32_t code = kUntouchedCode;
    RequireSame(GetPrivateProfileString(input.section.c_str(), input.key.c_str(), "default",
                                        buffer.data(), buffer.size(), InMemory(written), &code),
                0, "the result of reading back");
    RequireSame(buffer.data(), entry.value, "the value read back");
}

void CheckWrittenTwice(const ProfileInput& input, const std::string& written) {
    const oracle::Entry entry{oracle::Argument(input.section), oracle::Argument(input.key),
                              oracle::Argument(input.value)};
    if (IsReadable(entry) && HasStableLines(*input.content)) {
        RequireSame(Copied(written, input), written, "the file written twice");
    }
}

enum Asked : unsigned int { kWrite, kWriteEx, kReadBack, kWriteTwice, kNumberOfQuestions };

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static ProfileInput input;
    input.Put(data, size);
    const unsigned int asked = input.Asked(kNumberOfQuestions);
    static std::string wanted;
    std::uint32_t code = kUntouchedCode;
    if (input.nullArgument == 0 || input.nullArgument > 5) {
        code = oracle::Write(input.content, input.Entry(), asked != kWrite, wanted);
    }
    if (asked == kWrite || asked == kWriteEx) {
        const Writer write =
            asked == kWrite ? WritePrivateProfileString : WritePrivateProfileStringEx;
        (input.isOnDisk ? CheckOnDisk : CheckInMemory)(input, write, code, wanted);
    } else if (code == 0) {
        // What the writers make of the file: the other questions see to that.
        (asked == kReadBack ? CheckReadBack : CheckWrittenTwice)(input, wanted);
    }
    return 0;
}
