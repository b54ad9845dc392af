// Both writers of profile files against the oracle; and what was written is read back, and written
// again changes nothing. Most inputs are written in memory, by what both writers copy a profile
// with; making and renaming files takes longer than all the rest, so only some of them get to the
// disk.

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <sys/stat.h>
#include <utility>

#include "common/profile.h"
#include "common/profile_lines.h"
#include "tests/fuzz/fuzz.h"
#include "tests/fuzz/profile_input.h"

namespace {

using Writer = decltype(&WritePrivateProfileString);

constexpr std::uint32_t kUntouchedCode = 77;

void RequireSameFile(const oracle::Content& actual, const oracle::Content& expected,
                     std::string_view what) {
    Require(actual.has_value() == expected.has_value(),
            std::string(what) + ": there is a file where none should be, or none where one should");
    if (actual) {
        RequireSame(*actual, *expected, what);
    }
}

// Whether a reader can find what was written: nothing in it means something else to the syntax.
bool IsReadable(const std::string& section, const std::string& key, const std::string& value) {
    return (section + key + value).find('\n') == std::string::npos &&
           section.find(']') == std::string::npos && key.find('=') == std::string::npos &&
           std::string_view("[;#").find(key.front()) == std::string_view::npos;
}

// Whether copying its lines keeps them as they are: one that fills the line buffer without its
// newline gets one, and then is two lines.
bool HasStableLines(const std::string& content) {
    const auto pieces = oracle::Pieces(content, 1023);
    return std::none_of(pieces.begin(), pieces.end(), [](const oracle::Piece& piece) {
        return oracle::Stripped(piece.text).size() == 1023;
    });
}

struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
};

// `content` with what the input tells written into it.
std::string Copied(std::string content, const ProfileInput& input) {
    char* memory = nullptr;
    std::size_t size = 0;
    FileStream to(::open_memstream(&memory, &size));
    FileStream from(::fmemopen(content.data(), content.size(), "r"));
    Require(from && to, "no streams in memory");
    ProfileReader profile(std::move(from));
    const std::string key = ProfileArgument(input.key.c_str());
    CopyProfile(profile, to.get(), ProfileArgument(input.section.c_str()), key,
                key + "=" + ProfileArgument(input.value.c_str()));
    to.reset();
    const std::unique_ptr<char, FreeMemory> owner(memory);
    return {memory, size};
}

// Reads back what was written into the profile at `path`. Whether it must be there.
bool CheckReadBack(const ProfileInput& input, const char* path) {
    const std::string value = oracle::Argument(input.value);
    if (!IsReadable(oracle::Argument(input.section), oracle::Argument(input.key), value)) {
        return false;
    }
    std::string buffer(512, '\0');
    std::uint32_t code = kUntouchedCode;
    RequireSame(GetPrivateProfileString(input.section.c_str(), input.key.c_str(), "default",
                                        buffer.data(), 512, path, &code),
                0, "the result of reading back");
    RequireSame(buffer.c_str(), value, "the value read back");
    return true;
}

void CheckInMemory(const ProfileInput& input, const std::string& wanted) {
    const std::string written = Copied(*input.content, input);
    RequireSame(written, wanted, "the file in memory");
    if (CheckReadBack(input, InMemory(written)) && HasStableLines(*input.content)) {
        RequireSame(Copied(written, input), wanted, "the file in memory written twice");
    }
}

void CheckOnDisk(const ProfileInput& input, const oracle::Content& wanted, Writer write) {
    RequireSameFile(TheProfile().Get(), wanted, "the file");
    struct stat status {};
    Require(::stat(TheProfile().Path(), &status) == 0, "the file is gone");
    RequireSame(static_cast<long long>(status.st_mode & 07777U), 0640, "the file's mode");
    if (CheckReadBack(input, TheProfile().Path()) && HasStableLines(*input.content)) {
        std::uint32_t code = kUntouchedCode;
        (void)write(input.section.c_str(), input.key.c_str(), input.value.c_str(),
                    TheProfile().Path(), &code);
        RequireSameFile(TheProfile().Get(), wanted, "the file written twice");
    }
}

void Check(const ProfileInput& input, Writer write, bool isEmptyAccepted) {
    oracle::Written wanted{kUntouchedCode, input.content};
    if (input.nullArgument == 0 || input.nullArgument > 5) {
        wanted =
            oracle::Write(input.content, input.section, input.key, input.value, isEmptyAccepted);
    }
    if (wanted.code == 0 && !input.isOnDisk) {
        // Both copy alike; this one more.
        if (isEmptyAccepted) {
            CheckInMemory(input, *wanted.content);
        }
        return;
    }
    // What is refused leaves a file in memory alone, or the writer would fail on its folder.
    if (input.isOnDisk) {
        TheProfile().Put(input.content);
    }
    const char* const path = input.isOnDisk ? TheProfile().Path() : InMemory(input.content);
    std::uint32_t code = kUntouchedCode;
    const int result = write(
        input.Argument(1, input.section.c_str()), input.Argument(2, input.key.c_str()),
        input.Argument(3, input.value.c_str()), input.Argument(4, path), input.Argument(5, &code));
    RequireSame(result, wanted.code == 0 ? 0 : -1, "the writer's result");
    RequireSame(code, wanted.code, "the writer's code");
    if (!input.isOnDisk) {
        return;
    }
    struct stat status {};
    Require(::stat((std::string(TheProfile().Path()) + ".tmp").c_str(), &status) != 0,
            "the temporary file was left behind");
    if (wanted.code == 0) {
        CheckOnDisk(input, wanted.content, write);
    } else {
        RequireSameFile(TheProfile().Get(), wanted.content, "the file");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ProfileInput input(data, size);
    Check(input, WritePrivateProfileString, false);
    Check(input, WritePrivateProfileStringEx, true);
    return 0;
}
