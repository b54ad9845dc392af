#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "abi/scanapi.h"

namespace scan {

/// A file that a run has not read, as bytes: its path, and what the engine said of the reason.
struct UnreadFile {
    std::string path;
    std::string reason;
};

/// The files that a run has not read whole. One thread at a time.
class UnreadFiles {
public:
    /// Of so many it is known which they are: those that came first.
    static constexpr std::size_t kMaxKnown = 10'000;

    void Clear();
    void Add(const tagZQFILEINFO& info);

    /// How many there are.
    [[nodiscard]] std::size_t Count() const { return m_count; }
    [[nodiscard]] const std::vector<UnreadFile>& Known() const { return m_known; }

private:
    std::vector<UnreadFile> m_known;
    std::size_t m_count = 0;
};

}  // namespace scan
