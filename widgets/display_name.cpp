#include "widgets/display_name.h"

#include <algorithm>
#include <vector>

#include <QByteArrayView>
#include <QList>
#include <QStringDecoder>

#include "common/paths.h"
#include "common/utf8.h"

namespace {

constexpr char32_t kDelete = 0x7F;

bool IsPlainAscii(char byte) {
    return byte >= ' ' && byte <= '~';
}

// The character that `bytes` begins with, or nothing when it is not UTF-8.
QString DecodeSequence(std::string_view bytes) {
    QStringDecoder decode(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    return decode.hasError() ? QString() : text;
}

QString Hex(char32_t value, int digits) {
    return QString::number(static_cast<uint>(value), 16).toUpper().rightJustified(digits, u'0');
}

// Characters that break the line or turn the writing direction round. Joiners stay: names in many
// languages need them.
bool IsMisleading(char32_t character) {
    return (character >= 0x80 && character < 0xA0) || character == 0x061C || character == 0x200E ||
           character == 0x200F || (character >= 0x2028 && character <= 0x202E) ||
           (character >= 0x2066 && character <= 0x2069);
}

QString HexByte(char32_t byte) {
    return QStringLiteral("\\x") + Hex(byte, 2);
}

QString Control(char32_t character) {
    switch (character) {
        case U'\n':
            return QStringLiteral("\\n");
        case U'\r':
            return QStringLiteral("\\r");
        case U'\t':
            return QStringLiteral("\\t");
        default:
            return HexByte(character);
    }
}

QString Visible(const QString& decoded) {
    const char32_t character = decoded.toUcs4().value(0);
    if (character < U' ' || character == kDelete) {
        return Control(character);
    }
    return IsMisleading(character) ? QStringLiteral("\\u") + Hex(character, 4) : decoded;
}

}  // namespace

QString DisplayName(std::string_view bytes) {
    // Nearly every name is this plain, and lists show thousands.
    if (std::all_of(bytes.begin(), bytes.end(), IsPlainAscii)) {
        return QString::fromLatin1(bytes.data(), static_cast<qsizetype>(bytes.size()));
    }
    QString text;
    while (!bytes.empty()) {
        const auto first = static_cast<unsigned char>(bytes.front());
        const std::size_t length = AnnouncedUtf8Length(first);
        const QString decoded = length != 0 && length <= bytes.size()
                                    ? DecodeSequence(bytes.substr(0, length))
                                    : QString();
        if (decoded.isEmpty()) {
            text += HexByte(first);
            bytes.remove_prefix(1);
        } else {
            text += Visible(decoded);
            bytes.remove_prefix(length);
        }
    }
    return text;
}

QString ShortDisplayPath(const char* path, int width) {
    if (path == nullptr) {
        return {};
    }
    std::vector<char> shortened(static_cast<std::size_t>(width) + 1);
    return DisplayName(GetShortPath(path, shortened.data(), width) == 1 ? shortened.data() : path);
}
