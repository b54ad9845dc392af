#pragma once

#include <optional>

#include <QCoreApplication>
#include <QDateTime>
#include <QString>

#include "abi/system_time.h"
#include "overview/schedule_news.h"
#include "reports/files/last_scan.h"
#include "update/files/update_options.h"

/// How well something stands. The manual states the rule of each line; it is made here.
enum class Mark {
    kUnknown,    ///< not known yet
    kWell,       ///< green
    kAttention,  ///< amber: something is to be done some time
    kDanger,     ///< red: something is to be done now
};

struct OverviewLine {
    Mark mark = Mark::kUnknown;
    QString text;  ///< plain
};

/// What the first page says, in words. GUI thread only.
class OverviewLines {
    Q_DECLARE_TR_FUNCTIONS(OverviewLines)

public:
    /// Definitions of more days than this are a danger; from DefinitionsStatus::kMostDays on they
    /// want attention.
    static constexpr qint64 kMostDefinitionDays = 30;
    /// The last scan of more days than this ago wants attention.
    static constexpr qint64 kMostScanDays = 30;

    static OverviewLine Definitions(const tagZQVERINFO& version, QDate today);

    /// The newest scan, on demand or scheduled. `news` is null until it is known.
    static OverviewLine LastScan(const std::optional<reports::LastScan>& onDemand,
                                 const ScheduleNews* news, QDate today);

    /// `news` is null until it is known.
    static OverviewLine NextScan(const ScheduleNews* news);

    static OverviewLine AutomaticUpdates(const tagUpdtOpts& options);

    /// What a mark says to somebody who does not see its colour.
    static QString Meaning(Mark mark);

private:
    struct Ending;
    static OverviewLine Ended(const QDateTime& when, const QString& words, const Ending& ending,
                              QDate today);
    static Ending EndingOf(const tagSCHEDULE_TASK_STATE& state);
};
