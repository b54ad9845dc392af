#include "common/output.h"

#include <cerrno>

#include "common/io.h"

namespace common {

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

}  // namespace common
