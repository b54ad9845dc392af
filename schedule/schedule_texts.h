#pragma once

#include <string_view>

#include <QCoreApplication>
#include <QString>

#include "abi/schdlscn.h"

/// What the user is told about scheduled scans. Plain texts; names and paths among the arguments
/// are bytes. GUI thread only.
class ScheduleTexts {
    Q_DECLARE_TR_FUNCTIONS(ScheduleTexts)

public:
    /// Why a new scan may not be called so. `error` is a ScheduleError, as everywhere here.
    static QString NameRefused(unsigned int error);

    /// Why a folder cannot be scanned at a scheduled time.
    static QString FolderRefused(std::string_view path, unsigned int error);

    /// Why the scheduler did not do what it was asked for.
    static QString WhyFailed(unsigned int error);

    /// The name of a scan where there is little room: one of 16 characters or more as its first 12
    /// and "...".
    static QString ShortName(std::string_view name);

    /// When the scan runs next.
    static QString NextRun(const tagSCHEDULE_TASK_STATE& state, bool isAtFirstBoot);

    /// When and why it ran last, and how that ended.
    static QString LastRun(const tagSCHEDULE_TASK_STATE& state);

    /// That no scan runs without the service, and how that is started here.
    static QString NoService();

private:
    static QString Moment(std::int64_t seconds);
    static QString Reason(std::uint32_t reason);
    static QString Result(const tagSCHEDULE_TASK_STATE& state);
};
