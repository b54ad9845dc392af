#include "schedule/schedule_texts.h"

#include <QDateTime>
#include <QLocale>

#include "common/paths.h"
#include "common/text_field.h"
#include "widgets/display_name.h"

namespace {

constexpr qsizetype kLongestWholeName = 15;
constexpr qsizetype kKeptOfLongName = 12;

// It is there on a machine whose services systemd starts.
constexpr char kSystemdFolder[] = "/run/systemd/system";

}  // namespace

QString ScheduleTexts::NameRefused(unsigned int error) {
    switch (error) {
        case kScheduleNameTaken:
            return tr("Scan already scheduled.");
        case kScheduleNameCharacter:
            return tr("A Scan Name cannot contain any special character.");
        case kScheduleNameTakenByOther:
            return tr("Scan already scheduled by another user.");
        case kScheduleNameTooLong:
            return tr(
                "Scan Name should not be greater than 255 characters. Enter valid scheduled scan "
                "name.");
        case kScheduleNameEmpty:
            return tr("Scan Name is empty. Please enter valid scheduled scan name.");
        case kScheduleServiceSilent:
        case kScheduleListUnusable:
            return WhyFailed(error);  // not the name's fault
        default:
            return tr("Scan Name is not valid, Enter valid Scan Name.");
    }
}

QString ScheduleTexts::FolderRefused(std::string_view path, unsigned int error) {
    const QString shown = DisplayName(path);
    switch (error) {
        case kScheduleFolderNotFull:
            return tr("%1 is not allowed. Enter full path.").arg(shown);
        case kScheduleFolderMissing:
            return tr("%1 does not exist. Please enter valid path.").arg(shown);
        case kScheduleFolderIsFile:
            return tr("%1 is a file. Please enter directory path.").arg(shown);
        case kScheduleFolderForbidden:
            return tr("For directory %1 permission denied. Enter valid path.").arg(shown);
        case kScheduleFolderUnkeepable:
            return tr("%1 contains a semicolon, is not valid UTF-8 or is too long. It cannot be "
                      "scanned at a scheduled time.")
                .arg(shown);
        default:
            return tr("%1 cannot be scanned at a scheduled time (error %2).")
                .arg(shown, QString::number(error));
    }
}

QString ScheduleTexts::WhyFailed(unsigned int error) {
    switch (error) {
        case kScheduleServiceSilent:
            return tr("The service of the scheduler does not run or does not answer.");
        case kScheduleNoSuchTask:
            return tr("This scheduled scan is no longer there.");
        case kScheduleTooManyTasks:
            return tr("You have as many scheduled scans as are allowed. Remove one first.");
        case kScheduleBadRecord:
            return tr("The scheduler does not accept these settings.");
        case kScheduleListUnusable:
            return tr("The list of scheduled scans cannot be read or written.");
        case kScheduleAlreadyRunning:
            return tr("This scan is running already, or waits for its turn.");
        default:
            return tr("The scheduler reports error %1.").arg(error);
    }
}

QString ScheduleTexts::ShortName(std::string_view name) {
    // Characters beyond the first 65,536 are two units of a QString.
    const QList<uint> characters =
        QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size())).toUcs4();
    if (characters.size() <= kLongestWholeName) {
        return DisplayName(name);
    }
    const QString kept = QString::fromUcs4(
        reinterpret_cast<const char32_t*>(characters.constData()), kKeptOfLongName);
    return DisplayName(kept.toStdString()) + QStringLiteral("...");
}

QString ScheduleTexts::NextRun(const tagSCHEDULE_TASK_STATE& state, bool isAtFirstBoot) {
    if ((state.flags & kScheduleTaskWaits) != 0) {
        return tr("Next run: as soon as its turn comes");
    }
    if (state.nextRun != 0) {
        return tr("Next run: %1").arg(Moment(state.nextRun));
    }
    if ((state.flags & kScheduleServiceRuns) == 0) {
        return tr("Next run: not before the service of the scheduler runs");
    }
    return isAtFirstBoot ? tr("Next run: when the computer is first started on a due day")
                         : tr("Next run: not known");
}

QString ScheduleTexts::LastRun(const tagSCHEDULE_TASK_STATE& state) {
    if ((state.flags & kScheduleTaskRuns) != 0) {
        return tr("Last run: %1, going on").arg(Moment(state.lastStart));
    }
    if (state.lastResult == kScheduleNeverRun) {
        return tr("Last run: none yet");
    }
    const QString reason = Reason(state.lastReason);
    QString line = tr("Last run: %1").arg(Moment(state.lastStart));
    if (!reason.isEmpty()) {
        line = tr("%1 (%2)", "the last run and why it was made").arg(line, reason);
    }
    line = tr("%1: %2", "the last run and how it ended").arg(line, Result(state));
    const std::string_view detail = common::FieldText(state.detail);
    return detail.empty() ? line
                          : tr("%1. %2", "how the last run ended, and the system's words about it")
                                .arg(line, DisplayName(detail));
}

QString ScheduleTexts::NoService() {
    const QString command = IsDirectory(kSystemdFolder) != 0
                                ? QStringLiteral("systemctl start corvane-scheduler")
                                : QStringLiteral("/etc/init.d/corvane-scheduler start");
    return tr("No scheduled scan runs now, because the service of the scheduler does not run. An "
              "administrator starts it with: %1")
        .arg(command);
}

QString ScheduleTexts::Moment(std::int64_t seconds) {
    return QLocale(tr("en_GB", "the language that dates are written in"))
        .toString(QDateTime::fromSecsSinceEpoch(seconds),
                  tr("dddd, d MMMM yyyy, HH:mm", "how a moment is written"));
}

QString ScheduleTexts::Reason(std::uint32_t reason) {
    switch (reason) {
        case kScheduleReasonMissed:
            return tr("late, for a time when it could not run");
        case kScheduleReasonBoot:
            return tr("after the start of the computer");
        case kScheduleReasonRepeat:
            return tr("a repetition");
        case kScheduleReasonAsked:
            return tr("on request");
        default:
            return {};
    }
}

QString ScheduleTexts::Result(const tagSCHEDULE_TASK_STATE& state) {
    switch (state.lastResult) {
        case kScheduleRunClean:
            return tr("nothing found");
        case kScheduleRunFound:
            return state.infected == 1 ? tr("1 infected file")
                                       : tr("%1 infected files").arg(state.infected);
        case kScheduleRunUnread:
            return state.unread == 1
                       ? tr("nothing found, 1 file could not be read")
                       : tr("nothing found, %1 files could not be read").arg(state.unread);
        case kScheduleRunNotStarted:
            return tr("the scanner could not work");
        case kScheduleRunInterrupted:
            return tr("interrupted");
        case kScheduleRunTookTooLong:
            return tr("ended after 24 hours");
        case kScheduleRunNoOwner:
            return tr("not made, for its owner is no longer a user of this computer");
        case kScheduleRunNoReport:
            return tr("not made, for no report could be written");
        default:
            return tr("result %1").arg(state.lastResult);
    }
}
