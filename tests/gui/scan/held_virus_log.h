#pragma once

#include "common/named_mutex.h"

/// The virus log's mutex, taken by nobody who is still there, in a product directory that is laid
/// out. Only in the sandbox.
///
/// A program with one is linked with --wrap for GetMutexOwnerShip: see the CMakeLists.txt. One at a
/// time; taken and released in the thread of the test.
class HeldVirusLog {
public:
    HeldVirusLog();
    ~HeldVirusLog();
    HeldVirusLog(const HeldVirusLog&) = delete;
    HeldVirusLog& operator=(const HeldVirusLog&) = delete;

    bool IsHeld() const { return m_mutex.queueId != -1; }
    /// Whether anybody has begun to wait for it since it was taken. Any thread.
    static bool IsWaitedFor();
    void Release();

private:
    tagMUTEX_INFO m_mutex{-1, {}};
};
