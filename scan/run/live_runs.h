#pragma once

class ScanRun;

// Which scans are there, by the context that the engine was given with their files. The engine may
// call back when the scan and all that it owned are gone.

/// Makes a run known by its context, as long as this lives.
class LiveRun {
public:
    LiveRun(const void* context, ScanRun& run);
    /// Waits until nobody uses the run through RunInUse. It has been abandoned, so no one waits
    /// in it.
    ~LiveRun();
    LiveRun(const LiveRun&) = delete;
    LiveRun& operator=(const LiveRun&) = delete;

private:
    const void* m_context;
};

/// Keeps the run of a context from going away. Any thread.
class RunInUse {
public:
    explicit RunInUse(const void* context);
    ~RunInUse();
    RunInUse(const RunInUse&) = delete;
    RunInUse& operator=(const RunInUse&) = delete;

    /// Null when there is no such run, or no more.
    [[nodiscard]] ScanRun* Get() const { return m_run; }

private:
    const void* m_context;
    ScanRun* m_run = nullptr;
};
