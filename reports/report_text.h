#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <QString>
#include <QTextOption>

/// Bytes as text that is shown in one paragraph per line: what is not UTF-8, and what the toolkit
/// would take for a paragraph of its own, is U+FFFD, one for each byte or character. Any thread.
QString ShownText(std::string_view bytes);

/// How many UTF-16 units ShownText makes of `bytes`. Any thread.
qsizetype ShownUnits(std::string_view bytes);

/// How many of `bytes` the first `units` UTF-16 units of their ShownText are made of. Any thread.
std::size_t BytesOfUnits(std::string_view bytes, qsizetype units);

/// How a line of so many bytes is wrapped: between words, but a very long one anywhere, since
/// looking for words in one that has none takes the toolkit seconds. Any thread.
QTextOption::WrapMode WrapModeFor(std::size_t bytes);

/// The bytes of a report, cut into the lines that are shown of it.
///
/// A line ends at "\n" or "\r", or after 64 KiB: a longer one takes the toolkit seconds to lay out.
/// Offsets are bytes from the start of the report, 0 to Size(). Not changed after its making.
class ReportText {
public:
    /// The longest line that is shown as one.
    static constexpr std::size_t kMaxLine = 65536;

    struct Line {
        std::size_t begin = 0;
        std::size_t end = 0;   ///< its own bytes end here
        std::size_t next = 0;  ///< where the next line begins
        bool isLast = false;   ///< there is no next one
    };

    ReportText() = default;
    explicit ReportText(std::string bytes);

    [[nodiscard]] const std::string& Bytes() const { return m_bytes; }
    [[nodiscard]] std::size_t Size() const { return m_bytes.size(); }
    [[nodiscard]] std::string_view Between(std::size_t begin, std::size_t end) const {
        return std::string_view(m_bytes).substr(begin, end - begin);
    }

    // However long the lines of a report are, neither of these looks further than two of kMaxLine.

    /// Where the shown line begins that the offset `at` lies in.
    [[nodiscard]] std::size_t LineStart(std::size_t at) const;

    /// The line that begins at `begin`, a result of LineStart or Line::next.
    [[nodiscard]] Line LineAt(std::size_t begin) const;

    /// `at`, or the start of the UTF-8 character that it lies in.
    [[nodiscard]] std::size_t CharacterStart(std::size_t at) const;

private:
    void FindLongLines();
    [[nodiscard]] std::optional<std::size_t> LastBreak(std::size_t begin, std::size_t end) const;
    [[nodiscard]] std::size_t UncutLineStart(std::size_t at) const;
    [[nodiscard]] bool IsInLine(std::size_t at) const;

    std::string m_bytes;
    // Looking for one character is ten times faster, and reports seldom hold a "\r".
    std::string_view m_breaks = "\n";
    // Where the lines begin that are no shorter than kMaxLine before they are cut, in order.
    std::vector<std::size_t> m_longLines;
};
