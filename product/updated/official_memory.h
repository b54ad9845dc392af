#pragma once

#include <ctime>
#include <optional>
#include <string>

#include "common/file_descriptor.h"

namespace updated {

/// What came of the last time that the official mirrors were asked, for quarter of an hour, in
/// which ordinary users are not to have them asked again. Kept in a file, too: a service that is
/// started anew still knows. For one thread.
class OfficialMemory {
public:
    /// `folder` is made where it is missing, and its owner's alone. Without it, and with a file in
    /// it that is damaged, nothing is known, which is logged of the folder.
    explicit OfficialMemory(const std::string& folder);

    /// They were asked at `now` (seconds since 1970), with that UpdaterResult. On the disk when
    /// this returns, unless that fails, which is logged.
    void Remember(std::time_t now, int result);

    /// The result that is still remembered at `now`. What was asked later than that comes from a
    /// clock that was wrong, and is none.
    [[nodiscard]] std::optional<int> Recall(std::time_t now) const;

private:
    struct Asked {
        std::time_t when;
        int result;
    };

    void Read();
    [[nodiscard]] bool Write() const;

    common::FileDescriptor m_folder;
    std::optional<Asked> m_last;
};

}  // namespace updated
