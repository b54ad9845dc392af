#include "tests/fuzz/profile_oracle.h"

#include <algorithm>
#include <array>
#include <limits>

namespace oracle {

namespace {

bool IsSpace(char byte) {
    return byte == ' ' || (byte >= 9 && byte <= 13);
}

char Lower(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

bool Same(std::string_view first, std::string_view second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char one, char other) { return Lower(one) == Lower(other); });
}

Piece LineAt(std::string_view content, std::size_t start) {
    const Piece piece = PieceAt(content, start, 1023);
    return {Stripped(piece.text), piece.end};
}

bool StartsSection(std::string_view line) {
    return !line.empty() && line[0] == '[';
}

bool IsNothing(std::string_view line) {
    return line.empty() || line[0] == '#' || line[0] == ';';
}

bool IsSection(std::string_view line, std::string_view section) {
    const std::size_t close = line.find(']');
    return StartsSection(line) && close != std::string_view::npos &&
           Same(Stripped(line.substr(1, close - 1)), section);
}

bool IsEntry(std::string_view line, std::string_view key) {
    return !IsNothing(line) && !StartsSection(line) &&
           Same(Stripped(line.substr(0, line.find('='))), key);
}

// Where the first line behind the section's header begins; nothing without such a header.
std::optional<std::size_t> Behind(std::string_view content, std::string_view section) {
    for (std::size_t at = 0; at < content.size();) {
        const Piece line = LineAt(content, at);
        if (IsSection(line.text, section)) {
            return line.end;
        }
        at = line.end;
    }
    return std::nullopt;
}

// The first three words of a line; those that it does not have are empty.
std::array<std::string_view, 3> Words(std::string_view line) {
    std::array<std::string_view, 3> words;
    std::size_t at = 0;
    for (std::string_view& word : words) {
        while (at < line.size() && IsSpace(line[at])) {
            ++at;
        }
        const std::size_t start = at;
        while (at < line.size() && !IsSpace(line[at])) {
            ++at;
        }
        word = line.substr(start, at - start);
    }
    return words;
}

}  // namespace

Piece PieceAt(std::string_view content, std::size_t start, std::size_t longest) {
    const std::size_t newline = std::min(content.find('\n', start), content.size() - 1);
    const std::size_t end = std::min(newline + 1, start + longest);
    const std::string_view bytes = content.substr(start, end - start);
    return {bytes.substr(0, bytes.find('\0')), end};
}

std::string_view Stripped(std::string_view text) {
    std::size_t end = text.size();
    while (end > 0 && IsSpace(text[end - 1])) {
        --end;
    }
    std::size_t start = 0;
    while (start < end && IsSpace(text[start])) {
        ++start;
    }
    return text.substr(start, end - start);
}

std::string_view Argument(std::string_view text) {
    return Stripped(text.substr(0, text.find('\0')).substr(0, 256));
}

Lookup ReadText(const Content& content, std::string_view section, std::string_view key) {
    if (Argument(section).empty()) {
        return {205, {}};
    }
    if (Argument(key).empty()) {
        return {203, {}};
    }
    if (!content) {
        return {102, {}};
    }
    const auto behind = Behind(*content, Argument(section));
    if (!behind) {
        return {204, {}};
    }
    for (std::size_t at = *behind; at < content->size();) {
        const Piece line = LineAt(*content, at);
        if (StartsSection(line.text)) {
            break;
        }
        if (IsEntry(line.text, Argument(key))) {
            const std::size_t equals = line.text.find('=');
            return equals == std::string_view::npos
                       ? Lookup{201, {}}
                       : Lookup{0, Stripped(line.text.substr(equals + 1))};
        }
        at = line.end;
    }
    return {202, {}};
}

Number ReadNumber(const Content& content, std::string_view section, std::string_view key,
                  int defaultValue) {
    const Lookup found = ReadText(content, section, key);
    if (found.code != 0) {
        return {found.code, defaultValue};
    }
    if (found.value.empty()) {
        return {201, defaultValue};
    }
    const bool isNegative = found.value[0] == '-';
    std::size_t i = isNegative || found.value[0] == '+' ? 1 : 0;
    // Too big for 64 bits: the biggest that fits, or the smallest.
    constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t limit = isNegative ? kMost + 1 : kMost;
    std::uint64_t sum = 0;
    for (; i < found.value.size() && found.value[i] >= '0' && found.value[i] <= '9'; ++i) {
        const auto digit = static_cast<std::uint64_t>(found.value[i] - '0');
        sum = sum > (limit - digit) / 10 ? limit : sum * 10 + digit;
    }
    const auto bits = static_cast<std::uint32_t>(sum);
    return {0, static_cast<int>(isNegative ? 0U - bits : bits)};
}

bool ReadSection(const Content& content, std::string_view section,
                 std::vector<std::string_view>& lines) {
    if (!content || Argument(section).empty()) {
        return false;
    }
    for (std::size_t at = Behind(*content, Argument(section)).value_or(content->size());
         at < content->size();) {
        const Piece line = LineAt(*content, at);
        if (StartsSection(line.text)) {
            break;
        }
        if (!IsNothing(line.text)) {
            lines.push_back(line.text);
        }
        at = line.end;
    }
    return true;
}

std::uint32_t Write(const Content& content, const Entry& entry, bool isEmptyAccepted,
                    std::string& result) {
    const std::string_view section = Argument(entry.section);
    const std::string_view key = Argument(entry.key);
    const std::string_view value = Argument(entry.value);
    if (section.empty()) {
        return 205;
    }
    if (key.empty()) {
        return 203;
    }
    if (value.empty() && !isEmptyAccepted) {
        return 206;
    }
    if (!content) {
        return 102;
    }
    const auto addEntry = [&] { result.append(key).append("=").append(value).append("\n"); };
    const auto behind = Behind(*content, section);
    result.clear();
    for (std::size_t at = 0; at < content->size();) {
        const bool isInside = behind && at >= *behind;
        const Piece line = LineAt(*content, at);
        const bool isNextSection = isInside && StartsSection(line.text);
        if (isNextSection || (isInside && IsEntry(line.text, key))) {
            addEntry();
            if (isNextSection) {
                result.append(line.text).append("\n");
            }
            result.append(content->substr(line.end));
            return 0;
        }
        result.append(line.text).append("\n");
        at = line.end;
    }
    if (!behind) {
        result.append("[").append(section).append("]\n");
    }
    addEntry();
    return 0;
}

Legacy ReadLegacy(const Content& content, const Entry& wanted) {
    if (!content) {
        return {};
    }
    Legacy result;
    bool isInside = false;
    for (std::size_t at = 0; at < content->size();) {
        const Piece line = PieceAt(*content, at, 1024);
        at = line.end;
        if (StartsSection(line.text)) {
            const bool isOurs = line.text.find(wanted.section) != std::string_view::npos;
            if (isInside && !isOurs) {
                return result;
            }
            isInside = isOurs;
        }
        if (!isInside) {
            continue;
        }
        const auto words = Words(line.text);
        result.left = words[2];
        result.isFound = !words[0].empty() && words[0] == wanted.key;
        if (result.isFound) {
            return result;
        }
    }
    return {false, wanted.value};
}

}  // namespace oracle
