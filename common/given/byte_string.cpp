#include "common/given/byte_string.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "common/string_algorithms.h"

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

}  // namespace

std::size_t my_strlen(const char* string) {
    return text::Length(string);
}

char* My_StrLwr(char* string) {
    return text::ChangeEach(string, text::kWhole, text::LowerAscii<char>);
}

char* My_StrUpr(char* string) {
    return text::ChangeEach(string, text::kWhole, text::UpperAscii<char>);
}

char* my_strupr(char* string) {
    return My_StrUpr(string);
}

char* my_strlwrEx(char* string) {
    return My_StrLwr(string);
}

char* my_strlwr(char* string, std::size_t count) {
    return text::ChangeEach(string, count, [](char byte) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
    });
}

char* strUpr(char* string, std::size_t count) {
    return text::ChangeEach(string, count, [](char byte) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(byte)));
    });
}

int my_stricmp(const char* first, const char* second) {
    return text::CompareFolded(first, second);
}

int my_strnicmp(const char* first, const char* second, std::size_t count) {
    return text::CompareFolded(first, second, count);
}

char* my_strstr(const char* string, const char* needle) {
    return const_cast<char*>(text::FindText(string, needle));
}

char* my_strrev(char* string) {
    return text::Reverse(string);
}

char* TrimLeft(char* string) {
    if (string != nullptr) {
        const std::string_view whole(string);
        const std::size_t skipped = std::min(whole.find_first_not_of(kWhiteSpace), whole.size());
        // The terminator moves down with the text.
        std::copy(string + skipped, string + whole.size() + 1, string);
    }
    return string;
}

char* TrimRight(char* string) {
    if (string != nullptr) {
        // One past npos is 0: a string of nothing but white space becomes empty.
        string[std::string_view(string).find_last_not_of(kWhiteSpace) + 1] = '\0';
    }
    return string;
}
