#include "tests/fuzz/profile_oracle.h"

#include <algorithm>
#include <limits>

namespace oracle {

namespace {

bool IsSpace(char byte) {
    return byte == ' ' || (byte >= 9 && byte <= 13);
}

char Lower(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

bool Same(const std::string& first, const std::string& second) {
    return std::equal(first.begin(), first.end(), second.begin(), second.end(),
                      [](char one, char other) { return Lower(one) == Lower(other); });
}

// The lines of the content asked for last are kept: every reader wants the same ones.
const std::vector<Piece>& Lines(const std::string& content) {
    static std::string last;
    static std::vector<Piece> lines;
    if (content != last) {
        last = content;
        lines = Pieces(content, 1023);
        for (Piece& line : lines) {
            line.text = Stripped(line.text);
        }
    }
    return lines;
}

bool StartsSection(const std::string& line) {
    return !line.empty() && line[0] == '[';
}

bool IsNothing(const std::string& line) {
    return line.empty() || line[0] == '#' || line[0] == ';';
}

bool IsSection(const std::string& line, const std::string& section) {
    const std::size_t close = line.find(']');
    return StartsSection(line) && close != std::string::npos &&
           Same(Stripped(line.substr(1, close - 1)), section);
}

bool IsEntry(const std::string& line, const std::string& key) {
    return !IsNothing(line) && !StartsSection(line) &&
           Same(Stripped(line.substr(0, line.find('='))), key);
}

// The index of the first line behind the section's header, or the number of lines plus one.
std::size_t Behind(const std::vector<Piece>& lines, const std::string& section) {
    std::size_t i = 0;
    while (i < lines.size() && !IsSection(lines[i].text, section)) {
        ++i;
    }
    return i + 1;
}

}  // namespace

std::vector<Piece> Pieces(const std::string& content, std::size_t longest) {
    std::vector<Piece> pieces;
    for (std::size_t start = 0; start < content.size();) {
        const std::size_t newline = std::min(content.find('\n', start), content.size() - 1);
        const std::size_t end = std::min(newline + 1, start + longest);
        const std::string bytes = content.substr(start, end - start);
        pieces.push_back({bytes.substr(0, bytes.find('\0')), end});
        start = end;
    }
    return pieces;
}

std::string Stripped(const std::string& text) {
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

std::string Argument(const std::string& text) {
    return Stripped(text.substr(0, text.find('\0')).substr(0, 256));
}

Lookup ReadText(const Content& content, const std::string& section, const std::string& key) {
    if (Argument(section).empty()) {
        return {205, {}};
    }
    if (Argument(key).empty()) {
        return {203, {}};
    }
    if (!content) {
        return {102, {}};
    }
    const auto& lines = Lines(*content);
    std::size_t i = Behind(lines, Argument(section));
    if (i > lines.size()) {
        return {204, {}};
    }
    const std::string name = Argument(key);
    for (; i < lines.size() && !StartsSection(lines[i].text); ++i) {
        const std::string& line = lines[i].text;
        if (IsEntry(line, name)) {
            const std::size_t equals = line.find('=');
            return equals == std::string::npos ? Lookup{201, {}}
                                               : Lookup{0, Stripped(line.substr(equals + 1))};
        }
    }
    return {202, {}};
}

Number ReadNumber(const Content& content, const std::string& section, const std::string& key,
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

std::optional<std::vector<std::string>> ReadSection(const Content& content,
                                                    const std::string& section) {
    if (!content || Argument(section).empty()) {
        return std::nullopt;
    }
    std::vector<std::string> found;
    const auto& lines = Lines(*content);
    for (std::size_t i = Behind(lines, Argument(section));
         i < lines.size() && !StartsSection(lines[i].text); ++i) {
        if (!IsNothing(lines[i].text)) {
            found.push_back(lines[i].text);
        }
    }
    return found;
}

Written Write(const Content& content, const std::string& section, const std::string& key,
              const std::string& value, bool isEmptyAccepted) {
    if (Argument(section).empty()) {
        return {205, content};
    }
    if (Argument(key).empty()) {
        return {203, content};
    }
    if (Argument(value).empty() && !isEmptyAccepted) {
        return {206, content};
    }
    if (!content) {
        return {102, content};
    }
    const std::string name = Argument(key);
    const std::string entry = name + "=" + Argument(value) + "\n";
    const auto& lines = Lines(*content);
    const std::size_t behind = Behind(lines, Argument(section));
    std::string result;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string& line = lines[i].text;
        const bool isNextSection = i >= behind && StartsSection(line);
        if (isNextSection || (i >= behind && IsEntry(line, name))) {
            result += entry;
            result += isNextSection ? line + "\n" : "";
            return {0, result + content->substr(lines[i].end)};
        }
        result += line + "\n";
    }
    if (behind > lines.size()) {
        result += "[" + Argument(section) + "]\n";
    }
    return {0, result + entry};
}

std::string Filled(std::string buffer, const std::string& text) {
    if (!buffer.empty()) {
        const std::size_t room = buffer.size() - 1;
        buffer.replace(
            0, room, text.substr(0, room) + std::string(room - std::min(room, text.size()), '\0'));
    }
    return buffer;
}

Legacy ReadLegacy(const Content& content, const std::string& section, const std::string& key,
                  const std::string& defaultText, const std::string& buffer) {
    if (!content) {
        return {0, buffer};
    }
    const std::string zeroes(buffer.size(), '\0');
    Legacy result{0, buffer};
    bool isInside = false;
    for (const Piece& line : Pieces(*content, 1024)) {
        if (StartsSection(line.text)) {
            const bool isOurs = line.text.find(section) != std::string::npos;
            if (isInside && !isOurs) {
                return result;
            }
            isInside = isOurs;
        }
        if (!isInside) {
            continue;
        }
        std::vector<std::string> words(1);
        for (const char byte : line.text) {
            if (!IsSpace(byte)) {
                words.back() += byte;
            } else if (!words.back().empty()) {
                words.emplace_back();
            }
        }
        words.resize(3);
        result.buffer = Filled(zeroes, words[2]);
        if (!words[0].empty() && words[0] == key) {
            result.length =
                static_cast<std::uint32_t>(std::min(words[2].size(), buffer.size() - 1));
            return result;
        }
    }
    return {0, Filled(zeroes, defaultText)};
}

}  // namespace oracle
