#include "widgets/display_name.h"

#include <algorithm>
#include <vector>

#include "common/misleading_characters.h"
#include "common/paths.h"
#include "common/utf8.h"

namespace {

// One character of a name, or one byte that is none.
struct Piece {
    std::size_t bytes = 0;  // in the name
    QString shown;
};

constexpr char kDots[] = "...";

bool IsPlainAscii(char byte) {
    return byte >= ' ' && byte <= '~';
}

bool IsPlain(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), IsPlainAscii);
}

QString FromPlain(std::string_view bytes) {
    return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QString Hex(char32_t value, int digits) {
    return QString::number(static_cast<uint>(value), 16).toUpper().rightJustified(digits, u'0');
}

QString HexByte(char32_t byte) {
    return QStringLiteral("\\x") + Hex(byte, 2);
}

QString Escaped(char32_t character) {
    constexpr char32_t kDelete = 0x7F;
    constexpr char32_t kLastOfFourDigits = 0xFFFF;
    switch (character) {
        case U'\n':
            return QStringLiteral("\\n");
        case U'\r':
            return QStringLiteral("\\r");
        case U'\t':
            return QStringLiteral("\\t");
        default:
            break;
    }
    if (character <= kDelete) {
        return HexByte(character);
    }
    return character <= kLastOfFourDigits ? QStringLiteral("\\u") + Hex(character, 4)
                                          : QStringLiteral("\\U") + Hex(character, 8);
}

Piece FirstPiece(std::string_view bytes) {
    const common::DecodedCharacter first = common::DecodeUtf8(bytes);
    if (!first.isWellFormed) {
        return {first.length, HexByte(first.character)};
    }
    return {first.length, common::IsMisleading(first.character)
                              ? Escaped(first.character)
                              : QString::fromUcs4(&first.character, 1)};
}

std::vector<Piece> PiecesOf(std::string_view bytes) {
    std::vector<Piece> pieces;
    while (!bytes.empty()) {
        pieces.push_back(FirstPiece(bytes));
        bytes.remove_prefix(pieces.back().bytes);
    }
    return pieces;
}

// How many of the pieces from `first` on fit into `width`, in the name and on the screen.
template <typename Iterator>
Iterator WhereFull(Iterator first, Iterator last, std::size_t width) {
    std::size_t bytes = 0;
    std::size_t shown = 0;
    return std::find_if(first, last, [&](const Piece& piece) {
        bytes += piece.bytes;
        shown += static_cast<std::size_t>(piece.shown.size());
        return bytes > width || shown > width;
    });
}

template <typename Iterator>
QString Joined(Iterator first, Iterator last) {
    QString text;
    for (; first != last; ++first) {
        text += first->shown;
    }
    return text;
}

}  // namespace

QString DisplayName(std::string_view bytes) {
    // Nearly every name is this plain, and lists show thousands.
    if (IsPlain(bytes)) {
        return FromPlain(bytes);
    }
    const std::vector<Piece> pieces = PiecesOf(bytes);
    return Joined(pieces.begin(), pieces.end());
}

QString ShortDisplayPath(const char* path, int width) {
    if (path == nullptr || width < 1) {
        return {};
    }
    const auto room = static_cast<std::size_t>(width);
    if (IsPlain(path)) {
        std::vector<char> shortened(room + 1);
        GetShortPath(path, shortened.data(), width);
        return FromPlain(shortened.data());
    }
    const std::vector<Piece> pieces = PiecesOf(path);
    if (WhereFull(pieces.begin(), pieces.end(), room) == pieces.end()) {
        return Joined(pieces.begin(), pieces.end());
    }
    const common::ShortPathEnds ends = common::EndsOfShortPath(room);
    const auto headEnd = WhereFull(pieces.begin(), pieces.end(), ends.head);
    const auto tailBegin = WhereFull(pieces.rbegin(), pieces.rend(), ends.tail).base();
    const QString shown =
        Joined(pieces.begin(), headEnd) + QLatin1String(kDots) + Joined(tailBegin, pieces.end());
    return shown.left(width);  // below 6 there is no room for the dots and both ends
}
