#pragma once

#include <optional>
#include <string>

#include <QCoreApplication>
#include <QDateTime>

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

    /// The last update: the one that the index of update reports lists, or a later run of the
    /// updater that has no report.
    static QString LastUpdate();

private:
    static QString Age(qint64 days);
    static QString Result(const std::string& subject);
    static QString Result(int updaterResult);
};
