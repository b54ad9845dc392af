#include "update/edited_text.h"

#include <QLineEdit>

#include "widgets/display_name.h"

void ShowBytes(QLineEdit& line, std::string_view bytes) {
    line.setText(DisplayName(bytes));
}

std::string EditedBytes(const QLineEdit& line, std::string_view shown) {
    if (line.text() == DisplayName(shown).left(line.maxLength())) {
        return std::string(shown);
    }
    return line.text().toStdString();
}
