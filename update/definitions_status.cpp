#include "update/definitions_status.h"

#include "abi/updturl.h"
#include "common/paths.h"
#include "reports/files/report_files.h"
#include "update/files/last_update.h"
#include "widgets/display_name.h"
#include "widgets/moments.h"

DefinitionsStatus::Line DefinitionsStatus::Definitions(const tagZQVERINFO& version, QDate today) {
    if (version.major == 0 && version.minor == 0) {
        return {tr("Definitions: not known"), false};
    }
    const QString number =
        QStringLiteral("%1.%2").arg(version.major).arg(version.minor, 2, 10, QLatin1Char('0'));
    const QDate date(version.databaseDate.year, version.databaseDate.month,
                     version.databaseDate.day);
    if (!date.isValid()) {
        return {tr("Definitions: version %1, date not known").arg(number), false};
    }
    const qint64 days = date.daysTo(today);
    QString text = tr("Definitions: version %1, %2, %3").arg(number, Moments::Day(date), Age(days));
    if (days > kMostDays) {
        return {tr("%1. They are out of date.").arg(text), true};
    }
    return {text, false};
}

QString DefinitionsStatus::Age(qint64 days) {
    if (days <= 0) {  // below 0 where a clock is wrong
        return tr("of today");
    }
    return days == 1 ? tr("1 day old") : tr("%1 days old").arg(days);
}

QString DefinitionsStatus::LastUpdate() {
    const auto reports = reports::ListReports(kUpdateReports, reports::IndexCount::kNoneMeansEmpty);
    const reports::ReportListing* const last =
        reports && !reports->empty() ? &reports->back() : nullptr;
    const QDateTime reported = last != nullptr ? Moments::OfReport(last->finished) : QDateTime();
    const auto run = update::ReadLastUpdate(common::InProgramDirectory(update::kLastUpdateFile));
    // One with a report has it a moment later.
    if (const QDateTime ended = QDateTime::fromSecsSinceEpoch(run ? run->time : 0);
        run && (!reported.isValid() || ended > reported)) {
        return tr("Last update: %1, %2").arg(Moments::Minute(ended), Result(run->result));
    }
    if (last == nullptr) {
        return reports ? tr("Last update: none yet") : tr("Last update: not known");
    }
    return tr("Last update: %1, %2")
        .arg(reported.isValid() ? Moments::Minute(reported) : DisplayName(last->finished),
             Result(last->subject));
}

QString DefinitionsStatus::Result(const std::string& subject) {
    if (subject == "UPDATED SUCCESSFULLY") {
        return tr("updated");
    }
    if (subject == "UP-TO-DATE") {
        return tr("nothing new");
    }
    if (subject == "UPDATE ERROR") {
        return tr("failed");
    }
    return DisplayName(subject);
}

QString DefinitionsStatus::Result(int updaterResult) {
    switch (updaterResult) {
        case kUpdaterUpdated:
            return tr("updated");
        case kUpdaterUpToDate:
            return tr("nothing new");
        case kUpdaterInterrupted:
            return tr("stopped");
        case kUpdaterInvalidFiles:
            return tr("no valid definition files");
        default:
            return tr("failed");
    }
}
