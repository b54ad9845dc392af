// Both writers of profile files against the oracle; and what was written is read back, and written
// again changes nothing.

#include <algorithm>
#include <sys/stat.h>

#include "common/profile.h"
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

void CheckReadBack(const ProfileInput& input, const oracle::Content& content, Writer write) {
    const std::string value = oracle::Argument(input.value);
    if (!IsReadable(oracle::Argument(input.section), oracle::Argument(input.key), value)) {
        return;
    }
    std::string buffer(512, '\0');
    std::uint32_t code = kUntouchedCode;
    RequireSame(GetPrivateProfileString(input.section.c_str(), input.key.c_str(), "default",
                                        buffer.data(), 512, TheProfile().Path(), &code),
                0, "the result of reading back");
    RequireSame(buffer.c_str(), value, "the value read back");

    if (HasStableLines(*input.content)) {
        (void)write(input.section.c_str(), input.key.c_str(), input.value.c_str(),
                    TheProfile().Path(), &code);
        RequireSameFile(TheProfile().Get(), content, "the file written twice");
    }
}

void Check(const ProfileInput& input, Writer write, bool isEmptyAccepted) {
    TheProfile().Put(input.content);
    std::uint32_t code = kUntouchedCode;
    const int result =
        write(input.Argument(1, input.section.c_str()), input.Argument(2, input.key.c_str()),
              input.Argument(3, input.value.c_str()), input.Argument(4, TheProfile().Path()),
              input.Argument(5, &code));

    oracle::Written wanted{kUntouchedCode, input.content};
    if (input.nullArgument == 0 || input.nullArgument > 5) {
        wanted =
            oracle::Write(input.content, input.section, input.key, input.value, isEmptyAccepted);
    }
    RequireSame(result, wanted.code == 0 ? 0 : -1, "the writer's result");
    RequireSame(code, wanted.code, "the writer's code");
    RequireSameFile(TheProfile().Get(), wanted.content, "the file");

    struct stat status {};
    Require(::stat((std::string(TheProfile().Path()) + ".tmp").c_str(), &status) != 0,
            "the temporary file was left behind");
    if (wanted.code == 0) {
        Require(::stat(TheProfile().Path(), &status) == 0, "the file is gone");
        RequireSame(static_cast<long long>(status.st_mode & 07777U), 0640, "the file's mode");
        CheckReadBack(input, wanted.content, write);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const ProfileInput input(data, size);
    Check(input, WritePrivateProfileString, false);
    Check(input, WritePrivateProfileStringEx, true);
    return 0;
}
