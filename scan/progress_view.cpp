#include "scan/progress_view.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include <QLabel>
#include <QProgressBar>

#include "widgets/display_name.h"
#include "widgets/name_label.h"

namespace {

// Nine digits at most are shown: a count of a thousand million or more loses its last one.
constexpr std::size_t kCountTextSize = 10;

QString CountText(std::uint32_t count) {
    std::array<char, kCountTextSize> text{};
    std::snprintf(text.data(), text.size(), "%u", count);
    return QString::fromLatin1(text.data());
}

}  // namespace

void ProgressView::Attach(Label label, NameLabel* widget) {
    m_fields[label].name = widget;
}

void ProgressView::Attach(Label label, QLabel* widget) {
    m_fields[label].number = widget;
}

void ProgressView::SetPath(Label label, const char* path, int width) {
    Field& field = m_fields[label];
    field.text = path != nullptr ? path : "";
    field.width = width;
    field.changed = m_changed = true;
}

void ProgressView::SetText(Label label, std::string_view text) {
    Field& field = m_fields[label];
    field.text = text;
    field.width = 0;
    field.changed = m_changed = true;
}

void ProgressView::SetCount(Label label, std::uint32_t count) {
    Field& field = m_fields[label];
    field.count = count;
    field.changed = m_changed = true;
}

void ProgressView::ResetBar(std::uint64_t total) {
    m_total = total;
    SetProgressValue(-1);
}

void ProgressView::SetTotal(std::uint64_t total) {
    m_total = total;
    m_barChanged = m_changed = true;
}

void ProgressView::SetProgress(std::uint64_t progress) {
    constexpr std::uint64_t kLargest = std::numeric_limits<std::int64_t>::max();
    SetProgressValue(static_cast<std::int64_t>(std::min(progress, kLargest)));
}

void ProgressView::SetProgressValue(std::int64_t progress) {
    m_progress = progress;
    m_barChanged = m_changed = true;
}

void ProgressView::ShowField(const Field& field) {
    if (field.number != nullptr) {
        field.number->setText(CountText(field.count));
    } else if (field.name != nullptr) {
        const QString whole = DisplayName(field.text);
        field.name->SetName(
            field.width > 0 ? ShortDisplayPath(field.text.c_str(), field.width) : whole, whole);
    }
}

void ProgressView::Show() {
    for (Field& field : m_fields) {
        if (field.changed) {
            ShowField(field);
        }
        field.changed = false;
    }
    if (m_barChanged && m_bar != nullptr) {
        ShowBar();
    }
    m_barChanged = m_changed = false;
}

void ProgressView::ShowBar() {
    // The bar counts in int: larger totals are shown in steps of several files.
    constexpr std::uint64_t kLargest = std::numeric_limits<int>::max();
    const std::uint64_t total = std::max<std::uint64_t>(m_total, 1);
    const std::uint64_t step = (total - 1) / kLargest + 1;
    m_bar->setMaximum(static_cast<int>(total / step));
    if (m_progress < 0) {
        m_bar->reset();
        return;
    }
    // A file that appeared after it was counted does not take the bar past its end.
    const std::uint64_t progress = std::min(static_cast<std::uint64_t>(m_progress), total);
    m_bar->setValue(static_cast<int>(progress / step));
}
