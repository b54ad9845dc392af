#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <QString>

class NameLabel;
class QLabel;
class QProgressBar;

/// Holds back what the progress dialog's labels and bar are to show, so that a flood of events
/// costs no painting: every value is kept as of its event and shown with the next Show().
class ProgressView {
public:
    enum Label : std::size_t {
        kCurrentFile,
        kLastInfected,
        kLastVirus,
        kScanned,
        kInfected,
        kRepaired,
        kDeleted,
        kSkipped,
        kLabels,
    };

    /// The widgets outlive this object. Paths and texts go to a NameLabel, counts to a QLabel.
    void Attach(Label label, NameLabel* widget);
    void Attach(Label label, QLabel* widget);
    void Attach(QProgressBar* bar) { m_bar = bar; }

    /// A path, shown shortened to `width` bytes; the label has the whole of it too.
    void SetPath(Label label, const char* path, int width);
    void SetText(Label label, std::string_view text);
    void SetCount(Label label, std::uint32_t count);

    /// Back to no progress towards `total`.
    void ResetBar(std::uint64_t total);
    void SetTotal(std::uint64_t total);
    void SetProgress(std::uint64_t progress);
    void Advance() { SetProgressValue(m_progress + 1); }

    [[nodiscard]] bool IsHoldingBack() const { return m_changed; }

    /// Shows what was held back.
    void Show();

private:
    struct Field {
        NameLabel* name = nullptr;
        QLabel* number = nullptr;
        std::string text;
        int width = 0;  // 0: shown whole
        std::uint32_t count = 0;
        bool changed = false;
    };

    static void ShowField(const Field& field);
    void SetProgressValue(std::int64_t progress);
    void ShowBar();

    std::array<Field, kLabels> m_fields;
    QProgressBar* m_bar = nullptr;
    std::int64_t m_progress = -1;
    std::uint64_t m_total = 0;
    bool m_barChanged = false;
    bool m_changed = false;
};
