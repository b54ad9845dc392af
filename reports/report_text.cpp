#include "reports/report_text.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "common/utf8.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Character {
    char32_t value;
    std::size_t length;  // in bytes
    [[nodiscard]] qsizetype Units() const { return value > 0xFFFF ? 2 : 1; }
};

bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// U+2029 ends a paragraph, and the toolkit keeps frames between the other two.
bool EndsParagraph(char32_t value) {
    return value == 0x2029 || value == 0xFDD0 || value == 0xFDD1;
}

// Whether a sequence of this length may stand for `value`: no overlong form, surrogate or value
// beyond the last character.
bool IsWellFormed(char32_t value, std::size_t length) {
    const char32_t least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    return value >= least && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
}

Character FirstCharacter(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes.front());
    if (first < 0x80) {
        return {first, 1};
    }
    const std::size_t length = common::AnnouncedUtf8Length(first);
    if (length == 0 || length > bytes.size()) {
        return {kReplacement, 1};
    }
    char32_t value = first & (0xFFU >> (length + 1));
    for (const char byte : bytes.substr(1, length - 1)) {
        if (!IsContinuation(byte)) {
            return {kReplacement, 1};
        }
        value = (value << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
    }
    if (!IsWellFormed(value, length)) {
        return {kReplacement, 1};
    }
    return {EndsParagraph(value) ? kReplacement : value, length};
}

// How many plain ASCII bytes `bytes` begins with.
std::size_t AsciiRun(std::string_view bytes) {
    const auto end = std::find_if(bytes.begin(), bytes.end(),
                                  [](char byte) { return static_cast<signed char>(byte) < 0; });
    return static_cast<std::size_t>(end - bytes.begin());
}

}  // namespace

QString ShownText(std::string_view bytes) {
    QString text;
    text.reserve(static_cast<qsizetype>(bytes.size()));
    while (!bytes.empty()) {
        const std::size_t run = AsciiRun(bytes);
        text += QLatin1StringView(bytes.data(), static_cast<qsizetype>(run));
        bytes.remove_prefix(run);
        if (!bytes.empty()) {
            const Character character = FirstCharacter(bytes);
            text += QChar::fromUcs4(character.value);
            bytes.remove_prefix(character.length);
        }
    }
    return text;
}

qsizetype ShownUnits(std::string_view bytes) {
    qsizetype units = 0;
    while (!bytes.empty()) {
        const Character character = FirstCharacter(bytes);
        units += character.Units();
        bytes.remove_prefix(character.length);
    }
    return units;
}

std::size_t BytesOfUnits(std::string_view bytes, qsizetype units) {
    std::size_t count = 0;
    while (count < bytes.size() && units > 0) {
        const Character character = FirstCharacter(bytes.substr(count));
        units -= character.Units();
        count += character.length;
    }
    return count;
}

QTextOption::WrapMode WrapModeFor(std::size_t bytes) {
    constexpr std::size_t kVeryLong = 4096;
    return bytes > kVeryLong ? QTextOption::WrapAnywhere
                             : QTextOption::WrapAtWordBoundaryOrAnywhere;
}

ReportText::ReportText(std::string bytes) : m_bytes(std::move(bytes)) {
    if (m_bytes.find('\r') != std::string::npos) {
        m_breaks = "\n\r";
    }
    FindLongLines();
}

// Of each piece of the report only the end is looked at, back to the last line that begins in it;
// but a piece without any is looked at whole.
void ReportText::FindLongLines() {
    std::size_t line = 0;
    std::size_t at = 0;
    while (Size() - at >= kMaxLine) {
        if (const auto last = LastBreak(at, at + kMaxLine)) {
            line = *last + 1;
            at = line;
            continue;
        }
        if (at == line) {
            m_longLines.push_back(line);
        }
        at += kMaxLine;
    }
}

// The last end of a line from `begin` on and before `end`.
std::optional<std::size_t> ReportText::LastBreak(std::size_t begin, std::size_t end) const {
    std::optional<std::size_t> last;
    for (const char wanted : m_breaks) {
        const void* found = ::memrchr(m_bytes.data() + begin, wanted, end - begin);
        if (found != nullptr) {
            last = static_cast<std::size_t>(static_cast<const char*>(found) - m_bytes.data());
            begin = *last + 1;
        }
    }
    return last;
}

std::size_t ReportText::UncutLineStart(std::size_t at) const {
    if (at == 0 || !IsInLine(at - 1)) {
        return at;
    }
    const std::size_t reach = std::min(at, kMaxLine);
    if (const auto last = LastBreak(at - reach, at)) {
        return *last + 1;
    }
    const auto behind = std::upper_bound(m_longLines.begin(), m_longLines.end(), at);
    return behind == m_longLines.begin() ? 0 : *std::prev(behind);
}

bool ReportText::IsInLine(std::size_t at) const {
    return at < Size() && m_breaks.find(m_bytes[at]) == std::string_view::npos;
}

std::size_t ReportText::CharacterStart(std::size_t at) const {
    std::size_t start = at;
    while (start > 0 && at - start < 3 && start < Size() && IsContinuation(m_bytes[start])) {
        --start;
    }
    return start < Size() && IsContinuation(m_bytes[start]) ? at : start;
}

std::size_t ReportText::LineStart(std::size_t at) const {
    const std::size_t uncut = UncutLineStart(at);
    // A cut moves back to a character's start, so the one of the piece behind may be ours already;
    // and there is none where the line ends.
    for (std::size_t piece = (at - uncut) / kMaxLine + 1; piece > 0; --piece) {
        const std::size_t cut = CharacterStart(uncut + piece * kMaxLine);
        if (cut <= at && IsInLine(cut)) {
            return cut;
        }
    }
    return uncut;
}

ReportText::Line ReportText::LineAt(std::size_t begin) const {
    const std::size_t uncut = UncutLineStart(begin);
    const std::size_t piece = (begin - uncut + 3) / kMaxLine + 1;
    const std::size_t cut = CharacterStart(std::min(uncut + piece * kMaxLine, Size()));
    const std::string_view upToCut = Between(0, cut);
    const std::size_t found =
        m_breaks.size() == 1 ? upToCut.find('\n', begin) : upToCut.find_first_of(m_breaks, begin);
    if (found != std::string_view::npos) {
        return {begin, found, found + 1, false};
    }
    if (IsInLine(cut)) {
        return {begin, cut, cut, false};
    }
    return {begin, cut, cut + 1, cut == Size()};
}
