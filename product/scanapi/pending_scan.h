#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "product/scanapi/scan_recorder.h"
#include "product/scanapi/target_file.h"
#include "product/scanapi/wakeup.h"
#include "product/scanning/library_scan.h"

namespace scanapi {

enum class Urgency {
    kNow,    ///< somebody waits for it
    kAhead,  ///< somebody will, perhaps
};

/// The scan of one file by a pool, shared by the pool and whoever waits for it. Any thread.
class PendingScan {
public:
    /// `pool` is woken when it is given up.
    PendingScan(std::shared_ptr<TargetFile> file, const scanning::ScanProfile& profile,
                Urgency urgency, std::shared_ptr<Wakeup> pool);

    /// One that no pool has to do with any more: what was found out about the file.
    static std::shared_ptr<PendingScan> Finished(std::shared_ptr<TargetFile> file,
                                                 const scanning::ScanProfile& profile,
                                                 std::vector<std::string> members,
                                                 scanning::ScanOutcome outcome);

    // For whoever waits.

    struct News {
        std::vector<std::string> members;  ///< scanning of these has begun, "member/inner member"
        bool finished = false;             ///< no more will come
    };
    /// What has happened since the last call; waits for something at most `limit`.
    News WaitForNews(std::chrono::milliseconds limit);

    [[nodiscard]] bool IsFinished();

    /// What the names of all members that were told of take, in bytes.
    [[nodiscard]] std::size_t ToldBytes();

    /// The result, once finished; once. Of a file whose size or times are others after the scan
    /// than when it was opened, none but a find is believed. Asks a file that is not local for
    /// them, which may take as long as it likes.
    scanning::ScanOutcome TakeOutcome();

    /// Nobody waits any more. What has not begun never will; what is under way is broken off with
    /// `force`, and its result thrown away without.
    void Abandon(bool force);

    // For the pool.

    [[nodiscard]] const TargetFile& File() const { return *m_file; }
    [[nodiscard]] const scanning::ScanProfile& Profile() const { return m_profile; }
    [[nodiscard]] Urgency HowUrgent() const { return m_urgency; }

    /// Passes a member's name on. False when there are more, or longer ones, than any scan has.
    [[nodiscard]] bool Tell(std::string member);

    /// The scan ended early through no fault of this file and begins anew: the members that were
    /// told of are not told again.
    void BeginAgain();
    [[nodiscard]] int TimesBegunAgain();

    /// Has `recorder` look on; before the scan is anybody else's.
    void Record(std::unique_ptr<ScanRecorder> recorder);

    // Around the reading of the file, on the pool's thread. Without an end to it the file is read
    // until it is finished, and meanwhile whoever wants to write to it is let pass.
    void BeginReading();
    void EndReading();
    void LetWriterPass();

    /// Only the first call counts.
    void Finish(scanning::ScanOutcome outcome);
    void FinishUnread(std::string_view reason);
    void FinishStopped();

    [[nodiscard]] bool IsAbandoned();
    [[nodiscard]] bool IsToBreakOff();

private:
    const std::shared_ptr<TargetFile> m_file;
    const scanning::ScanProfile m_profile;
    const Urgency m_urgency;
    const std::shared_ptr<Wakeup> m_pool;  ///< null when it has nothing to do with this

    std::mutex m_mutex;  ///< guards what follows
    std::condition_variable m_changed;
    std::vector<std::string> m_members;  ///< not yet taken
    std::size_t m_told = 0;
    std::size_t m_toldBytes = 0;
    std::size_t m_toSkip = 0;
    int m_timesBegunAgain = 0;
    bool m_finished = false;
    bool m_abandoned = false;
    bool m_toBreakOff = false;
    scanning::ScanOutcome m_outcome;
    std::unique_ptr<ScanRecorder> m_recorder;  ///< null where nothing is to be remembered
};

}  // namespace scanapi
