#pragma once

#include <sys/types.h>

namespace scanapi {

/// While it lives, nobody opens the file for writing, or cuts it, without that being seen here: who
/// tries waits until it is gone, for as long as the system lets it (45 seconds unless set).
///
/// The system tells of such a try by a signal whose default ends the program. Nobody gets it: it is
/// for a thread that has ended. So nothing of the program around is changed.
///
/// One that this open file bears already is used along, and left to whoever took it. Once that one
/// is given back, it counts as broken.
class ReadLease {
public:
    /// Of a file open for reading, which stays the caller's and outlives this.
    explicit ReadLease(int file);
    /// The same, cheaper: the signal is for the thread `quiet`, which lives and blocks every
    /// signal.
    ReadLease(int file, pid_t quiet);
    ~ReadLease();
    ReadLease(const ReadLease&) = delete;
    ReadLease& operator=(const ReadLease&) = delete;

    /// Somebody had the file open for writing already.
    [[nodiscard]] bool IsRefusedByWriter() const { return m_isRefusedByWriter; }

    /// False where there is none to be had: of another user's file, without CAP_LEASE, and on some
    /// file systems.
    [[nodiscard]] bool IsHeld() const { return m_isHeld; }

    /// Somebody has tried to open the file for writing since. Never true where it is not held.
    [[nodiscard]] bool IsBroken() const;

private:
    void Take();

    int m_file;
    bool m_isHeld = false;
    bool m_isToGiveBack = false;
    bool m_isRefusedByWriter = false;
};

}  // namespace scanapi
