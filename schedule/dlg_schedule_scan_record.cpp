// What stands in the record of a scheduled scan and what the wizard's controls show: each in the
// other's terms.

#include <array>

#include <QTime>

#include "ui_dlg_schedule_scan.h"

#include "common/scan_settings.h"
#include "common/text_field.h"
#include "schedule/dlg_schedule_scan.h"
#include "schedule/schedule_texts.h"
#include "widgets/display_name.h"

namespace {

constexpr int kDaysInWeek = 7;

// The unit list begins with minutes, which are stored as 1.
constexpr int kMinutesIndex = 0;
constexpr int kHoursIndex = 1;

// At noon more computers are on than at midnight.
constexpr int kUsualHour = 12;

struct OptionBox {
    QCheckBox* box;
    std::uint8_t bit;
};

std::array<OptionBox, 4> OptionBoxes(const Ui::dlgschedulescan& ui) {
    return {{{ui.chkSccmp, kScheduleArchives},
             {ui.chkScadsp, kScheduleAdware},
             {ui.chkScdmb, kScheduleDumb},
             {ui.chkPack, kSchedulePacked}}};
}

std::uint8_t FlagOf(bool isOn) {
    return isOn ? std::uint8_t{1} : std::uint8_t{0};
}

}  // namespace

void dlgschedulescan::init() {
    m_entry.record.frequency = kScheduleDaily;
    m_entry.record.startMode = kScheduleAtTime;
    m_entry.record.hour = kUsualHour;
    m_entry.record.interval = 1;
    m_entry.record.repeats = 0;
    m_entry.record.repeatValue = 1;
    m_entry.record.repeatUnit = kScheduleMinutes;
    m_entry.record.weekday = 1;
    m_entry.record.action = common::kDefaultScanSettings.action;
    m_entry.record.options = common::kDefaultScanSettings.flags;
    ShowTimes();
    ShowOptions();
    EnableRemoving();
}

// ---- Into the record

void dlgschedulescan::TakeTimes() {
    tagSCHEDULE_SCAN_ENTRY& record = m_entry.record;
    const QTime start = m_ui->timStart->time();
    record.frequency = static_cast<std::uint8_t>(m_ui->cmbFrequency->currentIndex());
    record.interval = static_cast<std::int16_t>(m_ui->spnInterval->value());
    record.weekday = static_cast<std::uint8_t>(m_ui->cmbWeekday->currentIndex() + 1);
    record.startMode = m_ui->rdoFirstBoot->isChecked() ? kScheduleAtFirstBoot : kScheduleAtTime;
    record.hour = static_cast<std::int16_t>(start.hour());
    record.minute = static_cast<std::int16_t>(start.minute());
    record.second = static_cast<std::int16_t>(start.second());
    record.repeats = FlagOf(m_ui->chkRepeat->isChecked());
    record.repeatUnit =
        m_ui->cmbRepeatUnit->currentIndex() == kMinutesIndex ? kScheduleMinutes : kScheduleHours;
    record.repeatValue = static_cast<std::int16_t>(m_ui->spnRepeat->value());
}

void dlgschedulescan::TakeOptions() {
    m_entry.record.options = 0;
    for (const auto& [box, bit] : OptionBoxes(*m_ui)) {
        if (box->isChecked()) {
            m_entry.record.options = static_cast<std::uint8_t>(m_entry.record.options | bit);
        }
    }
    m_entry.record.action = static_cast<std::uint16_t>(m_ui->actioncomboBox->currentIndex());
}

// ---- Onto the pages

void dlgschedulescan::ShowRecord() {
    m_ui->edtScanName->setText(DisplayName(common::FieldText(m_entry.record.name)));
    m_ui->edtScanName->setEnabled(false);
    ShowTimes();
    ShowOptions();
    m_ui->lstScanLocation->clear();
    for (const tagSCAN_ITEM& folder : common::FoldersOf(m_entry.record)) {
        AppendFolder(common::FieldText(folder.path));
    }
    EnableRemoving();
}

// A value that no control can show leaves the control as it is.
void dlgschedulescan::ShowTimes() {
    const tagSCHEDULE_SCAN_ENTRY& record = m_entry.record;
    const bool isWeekly = record.frequency == kScheduleWeekly;
    m_ui->cmbFrequency->setCurrentIndex(isWeekly ? kScheduleWeekly : kScheduleDaily);
    OnFrequencyChange(m_ui->cmbFrequency->currentIndex());
    m_ui->spnInterval->setValue(record.interval);
    if (isWeekly && record.weekday >= 1 && record.weekday <= kDaysInWeek) {
        m_ui->cmbWeekday->setCurrentIndex(record.weekday - 1);
    }

    if (record.startMode == kScheduleAtFirstBoot) {
        m_ui->rdoFirstBoot->setChecked(true);
        OnStartAtBootClick();
    } else {
        m_ui->rdoStartAt->setChecked(true);
        OnStartAtClick();
        if (const QTime start(record.hour, record.minute, record.second); start.isValid()) {
            m_ui->timStart->setTime(start);
        }
    }

    m_ui->chkRepeat->setChecked(record.repeats != 0);
    OnRepScnCheckChange();
    m_ui->cmbRepeatUnit->setCurrentIndex(record.repeatUnit == kScheduleMinutes ? kMinutesIndex
                                                                               : kHoursIndex);
    OnRepScnComboChange(m_ui->cmbRepeatUnit->currentIndex());
    m_ui->spnRepeat->setValue(record.repeatValue);
}

void dlgschedulescan::ShowOptions() {
    for (const auto& [box, bit] : OptionBoxes(*m_ui)) {
        box->setChecked((m_entry.record.options & bit) != 0);
    }
    if (m_entry.record.action < m_ui->actioncomboBox->count()) {
        m_ui->actioncomboBox->setCurrentIndex(m_entry.record.action);
    }
}

void dlgschedulescan::ShowSummary() {
    const tagSCHEDULE_SCAN_ENTRY& record = m_entry.record;
    m_ui->lblSummaryName->setText(ScheduleTexts::ShortName(common::FieldText(record.name)));
    m_ui->lblSummaryFrequency->setText(record.frequency == kScheduleWeekly ? tr("Weekly")
                                                                           : tr("Daily"));
    m_ui->lblSummaryStart->setText(record.startMode == kScheduleAtFirstBoot
                                       ? tr("First Boot")
                                       : QTime(record.hour, record.minute, record.second)
                                             .toString(QStringLiteral("HH:mm:ss")));
    const QString value = QString::number(record.repeatValue);
    if (record.repeats == 0) {
        m_ui->lblSummaryRepeat->setText(tr("No Repeat"));
    } else if (record.repeatUnit == kScheduleMinutes) {
        m_ui->lblSummaryRepeat->setText(tr("%1 Min").arg(value));
    } else {
        m_ui->lblSummaryRepeat->setText(tr("%1 Hrs").arg(value));
    }
    m_ui->lstSummaryFolders->clear();
    for (const tagSCAN_ITEM& folder : common::FoldersOf(record)) {
        m_ui->lstSummaryFolders->addItem(DisplayName(common::FieldText(folder.path)));
    }
    m_ui->lblNoFolders->setVisible(m_ui->lstSummaryFolders->count() == 0);
}
