#include "product/shellscan/say.h"

#include <string>
#include <unistd.h>

#include "common/escaped_text.h"
#include "common/io.h"

namespace shellscan {

void Say(std::string_view line) {
    (void)common::WriteAll(STDERR_FILENO, "corvane-scan: " + std::string(line) + "\n");
}

void SayUnread(std::string_view path, std::string_view reason) {
    std::string line = "not read: " + common::Escaped(path);
    if (!reason.empty()) {
        line += ": " + common::Escaped(reason);
    }
    Say(line);
}

}  // namespace shellscan
