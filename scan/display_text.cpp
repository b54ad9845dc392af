#include "scan/display_text.h"

#include <cstddef>
#include <vector>

#include "common/paths.h"

namespace {

bool IsHarmful(QChar character) {
    switch (character.category()) {
        case QChar::Other_Control:
        case QChar::Other_Format:  // the marks that turn the reading direction are among these
        case QChar::Separator_Line:
        case QChar::Separator_Paragraph:
            return true;
        default:
            return false;
    }
}

}  // namespace

QString DisplayText(std::string_view bytes) {
    QString text = QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
    for (QChar& character : text) {
        if (IsHarmful(character)) {
            character = QChar(QChar::ReplacementCharacter);
        }
    }
    return text;
}

QString ShortDisplayPath(const char* path, int width) {
    if (path == nullptr) {
        return {};
    }
    std::vector<char> shortened(static_cast<std::size_t>(width) + 1);
    return DisplayText(GetShortPath(path, shortened.data(), width) == 1 ? shortened.data() : path);
}
