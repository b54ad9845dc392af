#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "abi/updturl.h"
#include "update/files/update_options.h"
#include "update/run/update_events.h"
#include "update/run/update_state.h"

namespace update {

class UpdaterLibrary;

/// One update of the virus definitions and all that it changes: the outcome, the last progress, the
/// stop flag. Needs no window: it tells a listener what happens. What keeps two updates apart, and
/// what follows from the outcome, is the caller's.
class UpdateRun {
public:
    /// The listener outlives the run. `context` is what the updater is given with its callback; who
    /// makes it known with LiveUpdate lets UpdtCallBack find this run. The outcome is
    /// kUpdaterUpdated until the run knows better.
    UpdateRun(UpdateListener& listener, void* context);
    UpdateRun(const UpdateRun&) = delete;
    UpdateRun& operator=(const UpdateRun&) = delete;

    // One thread.

    /// Carries the update out, as "zqupdate.opt" and "zqinet.opt" in the application directory say.
    /// The last thing it tells is kEvtUpdateFinished, or kEvtUpdateNotStarted with the outcome left
    /// as it was. It tells nothing at all when the updater's library cannot be loaded; see
    /// IsSilent(). Why it could not start goes to g_szLogFile.
    void Run() noexcept;

    // Any thread.

    /// What the updater is answered to a message. Throws nothing into it.
    UpdateReply Reply(const tagUPDATEINFO& info) noexcept;

    /// Asks the updater to stop, which it is told when it next calls back. An update from a path
    /// never does.
    void Stop() { m_isStopped = true; }
    [[nodiscard]] bool IsStopped() const { return m_isStopped; }

    /// Whether the run has ended, or is about to, without telling it.
    [[nodiscard]] bool IsSilent() const { return m_isSilent; }

    /// What the updater said last, which may be later than the event that is being looked at.
    [[nodiscard]] tagUPDATEINFO LastInfo();

    /// For the thread of the run, and for who has waited for that.
    [[nodiscard]] UpdateState& State() { return m_state; }

private:
    void Update();
    [[nodiscard]] bool ReadOptions(tagUpdtOpts& options);
    int UpdateFromSite(UpdaterLibrary& library, const tagUpdtOpts& options,
                       const tagZQINETCONFIG& settings);
    int UpdateFromPath(UpdaterLibrary& library, const tagUpdtOpts& options,
                       const tagZQINETCONFIG& settings);

    UpdateListener& m_listener;
    void* m_context;
    UpdateState m_state;
    std::mutex m_lastInfoMutex;
    std::atomic<bool> m_isStopped{false};
    std::atomic<bool> m_isSilent{false};
    std::string m_applicationDirectory;
    std::string m_downloadDirectory;
};

}  // namespace update
