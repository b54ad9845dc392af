#include "product/virlog/output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "common/io.h"

namespace {

constexpr std::size_t kPieceSize = 65536;

}  // namespace

bool Output::Pass() {
    return m_buffer.size() < kPieceSize ? m_error == 0 : Finish();
}

bool Output::Finish() {
    if (m_error == 0 && !common::WriteAll(m_fd, m_buffer)) {
        m_error = errno;
    }
    m_buffer.clear();
    return m_error == 0;
}

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
