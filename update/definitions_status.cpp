#include "update/definitions_status.h"

#include <QDateTime>
#include <QLocale>

#include "reports/files/report_files.h"
#include "widgets/display_name.h"

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
    QString text = tr("Definitions: version %1, %2, %3").arg(number, Day(date), Age(days));
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

QString DefinitionsStatus::Day(QDate date) {
    return QLocale(tr("en_GB", "the language that dates are written in"))
        .toString(date, tr("d MMMM yyyy", "how a date is written"));
}

QString DefinitionsStatus::LastUpdate() {
    const auto reports = reports::ListReports(kUpdateReports, reports::IndexCount::kNoneMeansEmpty);
    if (!reports) {
        return tr("Last update: not known");
    }
    if (reports->empty()) {
        return tr("Last update: none yet");
    }
    const reports::ReportListing& last = reports->back();
    return tr("Last update: %1, %2").arg(When(last.finished), Result(last.subject));
}

QString DefinitionsStatus::When(const std::string& finished) {
    // Reports are dated in English, whatever language the program speaks.
    const QDateTime time = QLocale::c().toDateTime(QString::fromStdString(finished),
                                                   QStringLiteral("dd MMM, yyyy, hh:mm:ss AP"));
    if (!time.isValid()) {
        return DisplayName(finished);
    }
    return tr("%1, %2", "date and time of day")
        .arg(Day(time.date()), time.time().toString(QStringLiteral("HH:mm")));
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
