#pragma once

#include <atomic>

#include <QThread>

#include "abi/updturl.h"

class UpdateDialog;

/// The dialog that the events of the update are posted to; null while there is no UpdThrd.
extern std::atomic<UpdateDialog*> g_receiver;

/// Carries out one update, that of its receiver. One at a time.
class UpdThrd : public QThread {
public:
    /// The receiver, which outlives the thread, becomes g_receiver.
    explicit UpdThrd(UpdateDialog* receiver);
    ~UpdThrd() override;

    /// Waits until the thread has ended, with no time limit.
    void Join();

    /// Reads how the Internet is reached, as ReadUpdaterSettings does. 1, or 0 without settings and
    /// for a null pointer.
    static int GetUpdateinfo(tagZQINETCONFIG* settings);

protected:
    void run() override;

private:
    UpdateDialog* m_receiver;
    // QThread::wait() orders memory too, but where the thread sanitizer cannot see it.
    std::atomic<bool> m_ended{false};
};
