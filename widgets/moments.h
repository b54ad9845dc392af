#pragma once

#include <string_view>

#include <QCoreApplication>
#include <QDateTime>

/// How the program writes dates and times of day, in the language that it speaks. GUI thread only.
class Moments {
    Q_DECLARE_TR_FUNCTIONS(Moments)

public:
    static QString Day(QDate date);
    /// The day and the minute.
    static QString Minute(const QDateTime& time);

    /// When a report was finished, as the indexes "main.rpt" and "updt.rpt" say it: in English,
    /// whatever language the program speaks. Not valid for other texts.
    static QDateTime OfReport(std::string_view finished);
};
