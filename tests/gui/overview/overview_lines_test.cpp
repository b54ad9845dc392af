// What each line of the overview says, and with which mark.

#include "overview/overview_lines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "overview/mark_icon.h"
#include "widgets/house_style.h"

namespace {

const QDate kToday(2026, 11, 22);

void ExpectLine(const OverviewLine& line, Mark mark, const char* text) {
    EXPECT_EQ(line.text.toStdString(), text);
    EXPECT_EQ(line.mark, mark) << text;
}

tagZQVERINFO DefinitionsOf(QDate day) {
    return {17,
            5,
            {static_cast<std::uint16_t>(day.year()), static_cast<std::uint16_t>(day.month()), 0,
             static_cast<std::uint16_t>(day.day()), 0, 0, 0, 0}};
}

Mark MarkOfDefinitions(int days) {
    return OverviewLines::Definitions(DefinitionsOf(kToday.addDays(-days)), kToday).mark;
}

TEST(OverviewLine, DefinitionsAreMarkedByTheirAge) {
    ExpectLine(OverviewLines::Definitions(DefinitionsOf(kToday.addDays(-2)), kToday), Mark::kWell,
               "Definitions: version 17.05, 20 November 2026, 2 days old");
    EXPECT_EQ(MarkOfDefinitions(-1), Mark::kWell);
    EXPECT_EQ(MarkOfDefinitions(7), Mark::kWell);
    EXPECT_EQ(MarkOfDefinitions(8), Mark::kAttention);
    EXPECT_EQ(MarkOfDefinitions(30), Mark::kAttention);
    EXPECT_EQ(MarkOfDefinitions(31), Mark::kDanger);
    ExpectLine(OverviewLines::Definitions({}, kToday), Mark::kDanger, "Definitions: not known");
    ExpectLine(OverviewLines::Definitions({17, 5, {}}, kToday), Mark::kAttention,
               "Definitions: version 17.05, date not known");
}

reports::LastScan OnDemand(const char* finished, const reports::ScanEnding& ending) {
    return {finished, ending};
}

constexpr char kYesterday[] = "21 Nov, 2026, 09:05:00 PM";

TEST(OverviewLine, TheLastScanIsMarkedByItsEnding) {
    const auto line = [](const reports::LastScan& scan) {
        return OverviewLines::LastScan(scan, nullptr, kToday);
    };
    ExpectLine(line(OnDemand(kYesterday, {})), Mark::kWell,
               "Last scan: 21 November 2026, 21:05, nothing found");
    ExpectLine(line(OnDemand(kYesterday, {false, 3, 2})), Mark::kDanger,
               "Last scan: 21 November 2026, 21:05, 3 infected file(s) found");
    ExpectLine(line(OnDemand(kYesterday, {true, 1, 0})), Mark::kDanger,
               "Last scan: 21 November 2026, 21:05, 1 infected file(s) found");
    ExpectLine(line(OnDemand(kYesterday, {true, 0, 2})), Mark::kAttention,
               "Last scan: 21 November 2026, 21:05, ended early, nothing found");
    ExpectLine(line(OnDemand(kYesterday, {false, 0, 2})), Mark::kAttention,
               "Last scan: 21 November 2026, 21:05, nothing found, 2 file(s) not read");
    ExpectLine(line({kYesterday, std::nullopt}), Mark::kAttention,
               "Last scan: 21 November 2026, 21:05, its report is not there any more");
    ExpectLine(line(OnDemand("some <b>day</b>\n", {})), Mark::kAttention,
               "Last scan: some <b>day</b>\\n, nothing found, long ago");
    ExpectLine(OverviewLines::LastScan(std::nullopt, nullptr, kToday), Mark::kAttention,
               "Last scan: none yet");
}

TEST(OverviewLine, AScanOfLongAgoWantsAttention) {
    const auto line = [](const char* finished) {
        return OverviewLines::LastScan(OnDemand(finished, {}), nullptr, kToday);
    };
    ExpectLine(line("23 Oct, 2026, 01:00:00 AM"), Mark::kWell,
               "Last scan: 23 October 2026, 01:00, nothing found");
    ExpectLine(line("22 Oct, 2026, 11:59:00 PM"), Mark::kAttention,
               "Last scan: 22 October 2026, 23:59, nothing found, long ago");
}

std::int64_t At(QDate day, int hour) {
    return QDateTime(day, QTime(hour, 30)).toSecsSinceEpoch();
}

ScheduleNews Ran(QDate day, std::uint32_t result, std::uint32_t infected, std::uint32_t unread) {
    ScheduleNews news;
    news.isTold = true;
    news.lastEnd = At(day, 22);
    news.last.lastResult = result;
    news.last.infected = infected;
    news.last.unread = unread;
    return news;
}

TEST(OverviewLine, TheLastScanMayBeAScheduledOne) {
    const reports::LastScan asked = OnDemand(kYesterday, {});
    const auto line = [&](const ScheduleNews& news) {
        return OverviewLines::LastScan(asked, &news, kToday);
    };
    ExpectLine(line(Ran(kToday.addDays(-1), kScheduleRunFound, 2, 0)), Mark::kDanger,
               "Last scan: 21 November 2026, 22:30, 2 infected file(s) found");
    ExpectLine(line(Ran(kToday.addDays(-2), kScheduleRunFound, 2, 0)), Mark::kWell,
               "Last scan: 21 November 2026, 21:05, nothing found");
    ExpectLine(line(Ran(kToday.addDays(-1), kScheduleRunClean, 0, 0)), Mark::kWell,
               "Last scan: 21 November 2026, 22:30, nothing found");
    ExpectLine(line(Ran(kToday.addDays(-1), kScheduleRunUnread, 0, 4)), Mark::kAttention,
               "Last scan: 21 November 2026, 22:30, nothing found, 4 file(s) not read");
    for (const std::uint32_t result : {kScheduleRunNotStarted, kScheduleRunInterrupted,
                                       kScheduleRunTookTooLong, kScheduleRunNoOwner}) {
        ExpectLine(line(Ran(kToday.addDays(-1), result, 0, 0)), Mark::kAttention,
                   "Last scan: 21 November 2026, 22:30, ended early, nothing found");
    }
    const ScheduleNews only = Ran(kToday, kScheduleRunClean, 0, 0);
    ExpectLine(OverviewLines::LastScan(std::nullopt, &only, kToday), Mark::kWell,
               "Last scan: 22 November 2026, 22:30, nothing found");
    const ScheduleNews none;
    ExpectLine(OverviewLines::LastScan(asked, &none, kToday), Mark::kWell,
               "Last scan: 21 November 2026, 21:05, nothing found");
}

TEST(OverviewLine, TheNextScanIsToldOrWhyThereIsNone) {
    const auto line = [](const ScheduleNews& news) { return OverviewLines::NextScan(&news); };
    ExpectLine(OverviewLines::NextScan(nullptr), Mark::kUnknown,
               "Next scheduled scan: being looked up");
    ScheduleNews news;
    ExpectLine(line(news), Mark::kAttention, "Next scheduled scan: not known");
    news.isTold = true;
    ExpectLine(line(news), Mark::kAttention,
               "Next scheduled scan: none, the service of the scheduler does not run");
    news.tasks = 1;
    ExpectLine(line(news), Mark::kDanger,
               "Next scheduled scan: none, the service of the scheduler does not run");
    news.serviceRuns = true;
    news.error = kScheduleListUnusable;
    ExpectLine(line(news), Mark::kDanger, "Next scheduled scan: the list of scans cannot be read");
    news.error = kScheduleOk;
    ExpectLine(line(news), Mark::kWell, "Next scheduled scan: when the computer is started");
    news.nextRun = At(QDate(2026, 12, 1), 9);
    news.next = "<i>weekly</i>\xE9";
    ExpectLine(line(news), Mark::kWell,
               "Next scheduled scan: 1 December 2026, 09:30, <i>weekly</i>\\xE9");
    news.isRunning = true;
    ExpectLine(line(news), Mark::kWell, "Next scheduled scan: one is running now");
    news.isRunning = false;
    news.tasks = 0;
    ExpectLine(line(news), Mark::kAttention, "Next scheduled scan: none is planned");
    news.error = kScheduleServiceSilent;
    ExpectLine(line(news), Mark::kAttention,
               "Next scheduled scan: none, the service of the scheduler does not run");
}

TEST(OverviewLine, AutomaticUpdatesAreOnOrOff) {
    ExpectLine(OverviewLines::AutomaticUpdates({kUpdateAutomatically, 1, {}, {}}), Mark::kWell,
               "Automatic updates: on");
    ExpectLine(OverviewLines::AutomaticUpdates({kUpdateFromInternet, 1, {}, {}}), Mark::kAttention,
               "Automatic updates: off");
}

TEST(OverviewLine, MarksDifferInShapeAndAreSeenOnLightAndDark) {
    std::vector<QImage> pictures;
    for (const Mark mark : {Mark::kUnknown, Mark::kWell, Mark::kAttention, Mark::kDanger}) {
        const QImage picture = MarkIcon(mark).pixmap(QSize(32, 32)).toImage();
        EXPECT_EQ(picture.size(), QSize(32, 32));
        // The shape alone, without colours.
        pictures.push_back(picture.convertToFormat(QImage::Format_Alpha8));
        const QColor body =
            picture.pixelColor(mark == Mark::kUnknown ? QPoint(16, 4) : QPoint(16, 27));
        EXPECT_EQ(body.alpha(), 255);
        EXPECT_GE(ContrastRatio(body, Qt::white), 3.0) << static_cast<int>(mark);
        EXPECT_GE(ContrastRatio(body, QColor(0x20, 0x20, 0x20)), 3.0) << static_cast<int>(mark);
    }
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        for (std::size_t j = i + 1; j < pictures.size(); ++j) {
            EXPECT_NE(pictures[i], pictures[j]) << i << " " << j;
        }
    }
    EXPECT_EQ(OverviewLines::Meaning(Mark::kDanger), "Danger");
}

}  // namespace
