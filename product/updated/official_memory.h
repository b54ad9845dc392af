#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "common/file_descriptor.h"

namespace updated {

/// When the official mirrors were asked last, and the last result that is known: ordinary users are
/// not to have them asked again for quarter of an hour. Kept in a file, too: a service that is
/// started anew still knows, also one that was killed in a run. For one thread.
class OfficialMemory {
public:
    struct Known {
        std::optional<int> result;    ///< the last UpdaterResult; none when none is known
        bool isOfTimeBefore = false;  ///< nothing is known of the last time, but of one before it
    };

    /// `folder` is made where it is missing, and its owner's alone. Without it, and with a file in
    /// it that is damaged, nothing is known, which is logged of the folder.
    explicit OfficialMemory(const std::string& folder);

    /// They are about to be asked at `now` (seconds since 1970); what comes of it is not known yet.
    /// Here and below, what is new is on the disk on return, unless that fails, which is logged.
    void Begin(std::time_t now);

    /// They were not asked after all: what was before the last Begin is so again.
    void Withdraw();

    /// They were asked until `now`, with that UpdaterResult.
    void Remember(std::time_t now, int result);

    /// What is known at `now` of mirrors that were asked less than quarter of an hour ago; nothing
    /// when that is longer ago. What was asked later than `now` comes from a clock that was wrong,
    /// and is none.
    [[nodiscard]] std::optional<Known> Recall(std::time_t now) const;

private:
    struct Asked {
        std::time_t when;
        Known known;
    };

    static std::optional<Asked> AskedOf(std::string_view text);
    void Read();
    void Keep();
    [[nodiscard]] bool Write() const;
    [[nodiscard]] bool Remove(const char* name) const;

    common::FileDescriptor m_folder;
    std::optional<Asked> m_last;
    std::optional<Asked> m_beforeBegin;
};

}  // namespace updated
