#include "widgets/moments.h"

#include <QLocale>

QString Moments::Day(QDate date) {
    return QLocale(tr("en_GB", "the language that dates are written in"))
        .toString(date, tr("d MMMM yyyy", "how a date is written"));
}

QString Moments::Minute(const QDateTime& time) {
    return tr("%1, %2", "date and time of day")
        .arg(Day(time.date()), time.time().toString(QStringLiteral("HH:mm")));
}

QDateTime Moments::OfReport(std::string_view finished) {
    return QLocale::c().toDateTime(
        QString::fromUtf8(finished.data(), static_cast<qsizetype>(finished.size())),
        QStringLiteral("dd MMM, yyyy, hh:mm:ss AP"));
}
