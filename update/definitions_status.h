#pragma once

#include <optional>
#include <string>

#include <QCoreApplication>
#include <QDate>

#include "abi/system_time.h"

/// How old the virus definitions are and how the last update ended, in words; plain text. GUI
/// thread only.
class DefinitionsStatus {
    Q_DECLARE_TR_FUNCTIONS(DefinitionsStatus)

public:
    /// Definitions of more days than this are out of date.
    static constexpr qint64 kMostDays = 7;

    struct Line {
        QString text;
        bool isOutOfDate = false;
    };
    /// The definitions of `version`, seen on the day `today`. A version of 0 means that none is
    /// known.
    static Line Definitions(const tagZQVERINFO& version, QDate today);

    /// The last update that the index of update reports lists.
    static QString LastUpdate();

private:
    static QString Age(qint64 days);
    static QString Day(QDate date);
    static QString When(const std::string& finished);
    static QString Result(const std::string& subject);
};
