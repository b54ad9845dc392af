#include "product/shellscan/progress_bar.h"

#include <algorithm>

#include "common/io.h"

namespace shellscan {

namespace {

constexpr std::size_t kWidth = 30;
constexpr char kEraseLine[] = "\r\033[K";

}  // namespace

std::string ProgressLine(std::uint64_t done, std::uint64_t total) {
    if (total == 0) {
        return std::to_string(done) + (done == 1 ? " file" : " files");
    }
    // More files may come into the tree than were counted in it.
    const std::uint64_t shown = std::min(done, total);
    const auto marks = static_cast<std::size_t>(shown * kWidth / total);
    std::string line = "[" + std::string(marks, '#') + std::string(kWidth - marks, ' ') + "] ";
    line += std::to_string(shown * 100 / total) + "% of " + std::to_string(total);
    return line + (total == 1 ? " file" : " files");
}

void ProgressBar::Draw(std::uint64_t done, std::uint64_t total) {
    (void)common::WriteAll(m_terminal, kEraseLine + ProgressLine(done, total));
    m_isDrawn = true;
}

void ProgressBar::Erase() {
    if (m_isDrawn) {
        (void)common::WriteAll(m_terminal, std::string_view(kEraseLine));
        m_isDrawn = false;
    }
}

}  // namespace shellscan
