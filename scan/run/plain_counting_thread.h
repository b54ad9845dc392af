#pragma once

#include <thread>

#include "scan/run/scan_run.h"

namespace scan {

/// The counting thread of a program without Qt.
class PlainCountingThread : public CountingThread {
public:
    /// The run outlives it.
    explicit PlainCountingThread(ScanRun& run) : m_run(run) {}
    ~PlainCountingThread() override { PlainCountingThread::Join(); }
    PlainCountingThread(const PlainCountingThread&) = delete;
    PlainCountingThread& operator=(const PlainCountingThread&) = delete;

    void Start() override {
        m_thread = std::thread([this] { m_run.Count(); });
    }
    void Join() override {
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }

private:
    ScanRun& m_run;
    std::thread m_thread;
};

}  // namespace scan
