#include "overview/overview_lines.h"

#include "update/definitions_status.h"
#include "widgets/display_name.h"
#include "widgets/moments.h"

/// How a scan ended, whoever started it.
struct OverviewLines::Ending {
    bool isKnown = true;
    bool isWhole = true;
    std::uint32_t infected = 0;
    std::uint32_t unread = 0;
};

OverviewLine OverviewLines::Definitions(const tagZQVERINFO& version, QDate today) {
    const DefinitionsStatus::Line line = DefinitionsStatus::Definitions(version, today);
    if (version.major == 0 && version.minor == 0) {
        return {Mark::kDanger, line.text};
    }
    const QDate date(version.databaseDate.year, version.databaseDate.month,
                     version.databaseDate.day);
    if (date.isValid() && date.daysTo(today) > kMostDefinitionDays) {
        return {Mark::kDanger, line.text};
    }
    return {date.isValid() && !line.isOutOfDate ? Mark::kWell : Mark::kAttention, line.text};
}

OverviewLine OverviewLines::LastScan(const std::optional<reports::LastScan>& onDemand,
                                     const ScheduleNews* news, QDate today) {
    const QDateTime asked = onDemand ? Moments::OfReport(onDemand->finished) : QDateTime();
    if (news != nullptr && news->lastEnd != 0) {
        const QDateTime planned = QDateTime::fromSecsSinceEpoch(news->lastEnd);
        if (!asked.isValid() || planned > asked) {
            return Ended(planned, Moments::Minute(planned), EndingOf(news->last), today);
        }
    }
    if (!onDemand) {
        return {Mark::kAttention, tr("Last scan: none yet")};
    }
    Ending ending;
    ending.isKnown = onDemand->ending.has_value();
    if (onDemand->ending) {
        ending.isWhole = !onDemand->ending->isInterrupted;
        ending.infected = onDemand->ending->infected;
        ending.unread = onDemand->ending->unreadable;
    }
    return Ended(asked, asked.isValid() ? Moments::Minute(asked) : DisplayName(onDemand->finished),
                 ending, today);
}

OverviewLines::Ending OverviewLines::EndingOf(const tagSCHEDULE_TASK_STATE& state) {
    Ending ending;
    ending.isWhole = state.lastResult == kScheduleRunClean ||
                     state.lastResult == kScheduleRunFound ||
                     state.lastResult == kScheduleRunUnread;
    ending.infected = state.infected;
    ending.unread = state.unread;
    return ending;
}

OverviewLine OverviewLines::Ended(const QDateTime& when, const QString& words, const Ending& ending,
                                  QDate today) {
    if (!ending.isKnown) {
        return {Mark::kAttention, tr("Last scan: %1, its report is not there any more").arg(words)};
    }
    if (ending.infected != 0) {
        return {Mark::kDanger, tr("Last scan: %1, %n infected file(s) found", "",
                                  static_cast<int>(ending.infected))
                                   .arg(words)};
    }
    if (!ending.isWhole) {
        return {Mark::kAttention, tr("Last scan: %1, ended early, nothing found").arg(words)};
    }
    if (ending.unread != 0) {
        return {Mark::kAttention, tr("Last scan: %1, nothing found, %n file(s) not read", "",
                                     static_cast<int>(ending.unread))
                                      .arg(words)};
    }
    if (!when.isValid() || when.date().daysTo(today) > kMostScanDays) {
        return {Mark::kAttention, tr("Last scan: %1, nothing found, long ago").arg(words)};
    }
    return {Mark::kWell, tr("Last scan: %1, nothing found").arg(words)};
}

OverviewLine OverviewLines::NextScan(const ScheduleNews* news) {
    if (news == nullptr) {
        return {Mark::kUnknown, tr("Next scheduled scan: being looked up")};
    }
    if (!news->isTold) {
        return {Mark::kAttention, tr("Next scheduled scan: not known")};
    }
    if (news->error == kScheduleServiceSilent || !news->serviceRuns) {
        return {news->tasks == 0 ? Mark::kAttention : Mark::kDanger,
                tr("Next scheduled scan: none, the service of the scheduler does not run")};
    }
    if (news->error != kScheduleOk) {
        return {Mark::kDanger, tr("Next scheduled scan: the list of scans cannot be read")};
    }
    if (news->tasks == 0) {
        return {Mark::kAttention, tr("Next scheduled scan: none is planned")};
    }
    if (news->isRunning) {
        return {Mark::kWell, tr("Next scheduled scan: one is running now")};
    }
    if (news->nextRun == 0) {
        return {Mark::kWell, tr("Next scheduled scan: when the computer is started")};
    }
    return {Mark::kWell, tr("Next scheduled scan: %1, %2", "when, and the name of the scan")
                             .arg(Moments::Minute(QDateTime::fromSecsSinceEpoch(news->nextRun)),
                                  DisplayName(news->next))};
}

OverviewLine OverviewLines::AutomaticUpdates(const tagUpdtOpts& options) {
    return (options.flags & kUpdateAutomatically) != 0
               ? OverviewLine{Mark::kWell, tr("Automatic updates: on")}
               : OverviewLine{Mark::kAttention, tr("Automatic updates: off")};
}

QString OverviewLines::Meaning(Mark mark) {
    switch (mark) {
        case Mark::kWell:
            return tr("All is well");
        case Mark::kAttention:
            return tr("Wants attention");
        case Mark::kDanger:
            return tr("Danger");
        case Mark::kUnknown:
            break;
    }
    return tr("Not known yet");
}
