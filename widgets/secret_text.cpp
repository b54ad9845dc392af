#include "widgets/secret_text.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace {

// Not through the container's own functions, which would copy a shared text and wipe the copy.
template <typename Text>
void Wipe(Text& text) {
    if (text.data_ptr().isMutable()) {  // a literal's characters are the program's own
        using Character = std::remove_pointer_t<decltype(text.data())>;
        explicit_bzero(const_cast<Character*>(text.constData()),
                       static_cast<std::size_t>(text.size()) * sizeof(Character));
    }
    text.clear();
}

}  // namespace

void WipeSecret(QString& text) {
    Wipe(text);
}

void WipeSecret(QByteArray& bytes) {
    Wipe(bytes);
}
