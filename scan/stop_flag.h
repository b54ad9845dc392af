#pragma once

#include <atomic>

#include <QDialog>

/// Tells the scan that the user wants it to end, or that it is over. Any thread.
class StopFlag {
public:
    [[nodiscard]] bool IsSet() const noexcept { return m_value == 1; }
    void Set() noexcept { m_value = 1; }
    void Clear() noexcept { m_value = 0; }

private:
    std::atomic<unsigned char> m_value{0};
};

/// What the scan threads and the engine's callback know of the progress dialog: a receiver of
/// events with a stop flag. It travels through the engine as the `void*` of its `QDialog*`.
class ScanDialog : public QDialog {
public:
    using QDialog::QDialog;

    StopFlag m_stop;
};
