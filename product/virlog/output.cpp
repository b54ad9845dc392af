#include "product/virlog/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

void Say(std::string_view line) {
    std::fprintf(stderr, "corvane-virlog: %.*s\n", static_cast<int>(line.size()), line.data());
}

std::string Counted(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + (count == 1 ? one : many);
}

void ReportFailure(const Output& output) {
    if (output.Error() != EPIPE) {
        Say(std::string("the output could not be written: ") + std::strerror(output.Error()));
    }
}
