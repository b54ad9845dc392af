#include "product/schdlscn/wire.h"

#include <gtest/gtest.h>
#include <sstream>

#include "tests/unit/product/schdlscn/a_task.h"

// What the library and the service say to each other, byte by byte.

namespace {

using namespace schdlscn;
using Kind = Request::Kind;

constexpr char kTaskLines[] =
    "name=Homes\nfrequency=1\nstart=0\nhour=21\nminute=5\nsecond=59\nrepeats=1\ninterval=2\n"
    "repeat-value=90\nrepeat-unit=1\nweekday=6\naction=3\noptions=9\nowner=1000\n"
    "folder=/home\nfolder=/srv/%C3%A4 b\n";

Task Annas() {
    Task task = ATask();
    task.owner = 1000;
    return task;
}

Request Named(Kind kind, const std::string& name) {
    Request request{kind, {}};
    request.task.name = name;
    return request;
}

template <typename Reader>
Reading Read(const std::string& text, Reader& reader) {
    std::istringstream lines(text);
    Reading state = Reading::kMore;
    for (std::string line; std::getline(lines, line);) {
        state = reader.Take(line);
        if (state == Reading::kRefused) {
            break;
        }
    }
    return state;
}

Reading ReadRequest(const std::string& text) {
    RequestReader reader;
    return Read(text, reader);
}

Reading ReadAnswer(const std::string& text) {
    AnswerReader reader;
    return Read(text, reader);
}

TEST(ScheduleWireTest, RequestsAreWrittenAndRead) {
    const std::pair<Request, std::string> requests[] = {
        {{Kind::kAdd, Annas()}, std::string("add\n") + kTaskLines + "end\n"},
        {{Kind::kModify, Annas()}, std::string("modify\n") + kTaskLines + "end\n"},
        {Named(Kind::kCheckName, "a b\n"), "check-name\nname=a b%0A\nend\n"},
        {Named(Kind::kGet, "a"), "get\nname=a\nend\n"},
        {Named(Kind::kDelete, "a"), "delete\nname=a\nend\n"},
        {{Kind::kList, {}}, "list\nend\n"},
        {Named(Kind::kState, "a"), "state\nname=a\nend\n"},
        {Named(Kind::kState, ""), "state\nname=\nend\n"},
        {Named(Kind::kRun, "a"), "run\nname=a\nend\n"},
        {Named(Kind::kDeleteReport, "a"), "delete-report\nname=a\nend\n"},
    };
    for (const auto& [request, text] : requests) {
        EXPECT_EQ(RequestText(request), text);
        RequestReader reader;
        ASSERT_EQ(Read(text, reader), Reading::kWhole) << text;
        EXPECT_EQ(reader.Taken().kind, request.kind);
        EXPECT_EQ(reader.Taken().task, request.task);
    }
}

TEST(ScheduleWireTest, AnswersAreWrittenAndRead) {
    Task other = Annas();
    other.name = "b";
    other.folders.clear();
    const Answer answer{kScheduleNameTaken, {Annas(), other}};
    const std::string text = AnswerText(answer);
    EXPECT_EQ(text.substr(0, 26), "error=1019\ntask\nname=Homes");
    EXPECT_EQ(text.substr(text.size() - 15), "owner=1000\nend\n");
    AnswerReader reader;
    ASSERT_EQ(Read(text, reader), Reading::kWhole);
    EXPECT_EQ(reader.Taken().error, kScheduleNameTaken);
    EXPECT_EQ(reader.Taken().tasks, answer.tasks);
    EXPECT_EQ(AnswerText({}), "error=0\nend\n");
    EXPECT_EQ(ReadAnswer("error=0\nend\n"), Reading::kWhole);
}

constexpr char kStateLines[] =
    "flags=3\nnext-run=1795608000\nlast-start=1795521600\nlast-end=1795521660\nlast-result=2\n"
    "last-reason=5\ninfected=7\nunread=8\nreport=schd0001.rpt\ndetail=no%0A%C3%A4 room\n";

TaskState AState() {
    return {.flags = 3,
            .nextRun = 1795608000,
            .last = {.start = 1795521600,
                     .end = 1795521660,
                     .result = 2,
                     .reason = 5,
                     .infected = 7,
                     .unread = 8,
                     .report = "schd0001.rpt",
                     .detail = "no\n\xC3\xA4 room"}};
}

TEST(ScheduleWireTest, AStateIsWrittenAndRead) {
    const std::string text = AnswerText({.state = AState()});
    EXPECT_EQ(text, std::string("error=0\nstate\n") + kStateLines + "end\n");
    AnswerReader reader;
    ASSERT_EQ(Read(text, reader), Reading::kWhole);
    EXPECT_EQ(reader.Taken().state, AState());
    EXPECT_TRUE(reader.Taken().tasks.empty());
}

TEST(ScheduleWireTest, NoLineOfAStateMayBeMissingDoubledOrChanged) {
    std::vector<std::string> lines;
    std::istringstream all(kStateLines);
    for (std::string line; std::getline(all, line);) {
        lines.push_back(line);
    }
    ASSERT_EQ(lines.size(), 10U);
    const std::string begin = "error=0\nstate\n";
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string missing = begin;
        std::string doubled = begin;
        std::string changed = begin;
        for (std::size_t j = 0; j < lines.size(); ++j) {
            missing += i == j ? "" : lines[j] + "\n";
            doubled += lines[j] + "\n" + (i == j ? lines[j] + "\n" : "");
            changed += i == j ? "x" + lines[j] + "\n" : lines[j] + "\n";
        }
        EXPECT_EQ(ReadAnswer(missing + "end\n"), Reading::kRefused) << i;
        EXPECT_EQ(ReadAnswer(doubled + "end\n"), Reading::kRefused) << i;
        EXPECT_EQ(ReadAnswer(changed + "end\n"), Reading::kRefused) << i;
    }
    const std::string whole = begin + kStateLines;
    EXPECT_EQ(ReadAnswer(whole), Reading::kMore);
    EXPECT_EQ(ReadAnswer(whole + "state\n" + kStateLines + "end\n"), Reading::kRefused);
    EXPECT_EQ(ReadAnswer(whole + "task\n" + kTaskLines + "end\n"), Reading::kRefused);
    EXPECT_EQ(
        ReadAnswer(std::string("error=0\ntask\n") + kTaskLines + "state\n" + kStateLines + "end\n"),
        Reading::kRefused);
}

// Nothing longer than its field in the record is sent.
TEST(ScheduleWireTest, TextsOfAStateAreCutToTheirFields) {
    TaskState state = AState();
    state.last.report.assign(300, 'r');
    state.last.detail.assign(300, 'd');
    AnswerReader reader;
    ASSERT_EQ(Read(AnswerText({.state = state}), reader), Reading::kWhole);
    EXPECT_EQ(reader.Taken().state->last.report, std::string(255, 'r'));
    EXPECT_EQ(reader.Taken().state->last.detail, std::string(255, 'd'));
    EXPECT_EQ(
        ReadAnswer(
            std::string("error=0\nstate\n") +
            std::string(kStateLines).substr(0, std::string_view(kStateLines).find("detail=")) +
            "detail=" + std::string(256, 'd') + "\nend\n"),
        Reading::kRefused);
}

TEST(ScheduleWireTest, ATextThatIsCutIsNotWhole) {
    const std::string request = RequestText({Kind::kAdd, Annas()});
    const std::string answer = AnswerText({kScheduleOk, {Annas()}});
    for (std::size_t end = request.find('\n') + 1; end < request.size() - 4;
         end = request.find('\n', end) + 1) {
        EXPECT_EQ(ReadRequest(request.substr(0, end)), Reading::kMore) << end;
    }
    for (std::size_t end = answer.find('\n') + 1; end < answer.size() - 4;
         end = answer.find('\n', end) + 1) {
        EXPECT_EQ(ReadAnswer(answer.substr(0, end)), Reading::kMore) << end;
    }
}

TEST(ScheduleWireTest, NoLineMayBeMissingDoubledOrChanged) {
    std::vector<std::string> lines;
    std::istringstream all(kTaskLines);
    for (std::string line; std::getline(all, line);) {
        lines.push_back(line);
    }
    for (std::size_t i = 0; i < 14; ++i) {
        std::string missing = "add\n";
        std::string doubled = "add\n";
        std::string changed = "add\n";
        for (std::size_t j = 0; j < lines.size(); ++j) {
            missing += i == j ? "" : lines[j] + "\n";
            doubled += lines[j] + "\n" + (i == j ? lines[j] + "\n" : "");
            changed += i == j ? "x" + lines[j] + "\n" : lines[j] + "\n";
        }
        EXPECT_EQ(ReadRequest(missing + "end\n"), Reading::kRefused) << i;
        EXPECT_EQ(ReadRequest(doubled + "end\n"), Reading::kRefused) << i;
        EXPECT_EQ(ReadRequest(changed + "end\n"), Reading::kRefused) << i;
    }
}

TEST(ScheduleWireTest, NumbersStandAsTheyAreWritten) {
    const std::string before = std::string("add\n") + kTaskLines;
    const auto with = [&](const std::string& number) {
        std::string text = before + "end\n";
        return ReadRequest(text.replace(text.find("hour=21"), 7, "hour=" + number));
    };
    EXPECT_EQ(with("-1"), Reading::kWhole);
    EXPECT_EQ(with("2147483647"), Reading::kWhole);
    for (const char* number :
         {"", "+1", "01", "1 ", " 1", "1x", "2147483648", "-0", "0x1", "1.0"}) {
        EXPECT_EQ(with(number), Reading::kRefused) << number;
    }
    const auto ofOwner = [&](const std::string& number) {
        std::string text = before + "end\n";
        return ReadRequest(text.replace(text.find("owner=1000"), 10, "owner=" + number));
    };
    EXPECT_EQ(ofOwner("4294967295"), Reading::kWhole);
    EXPECT_EQ(ofOwner("4294967296"), Reading::kRefused);
    EXPECT_EQ(ofOwner("-1"), Reading::kRefused);
}

TEST(ScheduleWireTest, WhatIsNoRequestIsRefused) {
    for (const char* text : {"", "add ", "ADD", "x\nend", "list\nname=a\nend", "get\nend",
                             "get\nname=a\nname=a\nend", "get\nname=%\nend", "get\nname=a\tb\nend",
                             "get\nname=%00\nend", "add\nend", "get\nfolder=/\nend", "state\nend",
                             "run\nend", "end", "list\nend\nlist", "list\nend\nend"}) {
        EXPECT_EQ(ReadRequest(std::string(text) + "\n"), Reading::kRefused) << text;
    }
    for (const char* text : {"", "end", "error=", "error=-1", "error=10000", "error=0\nerror=0",
                             "error=0\nname=a", "error=0\ntask\nend", "error=0\ntask\ntask",
                             "error=0\nend\nend", "state", "error=0\nstate\nend"}) {
        EXPECT_EQ(ReadAnswer(std::string(text) + "\n"), Reading::kRefused) << text;
    }
}

// One byte, and one folder, more than can be kept is taken, so that its code can be told.
TEST(ScheduleWireTest, NothingIsTakenThatIsMuchTooLong) {
    EXPECT_EQ(ReadRequest("get\nname=" + std::string(256, 'a') + "\nend\n"), Reading::kWhole);
    EXPECT_EQ(ReadRequest("get\nname=" + std::string(257, 'a') + "\nend\n"), Reading::kRefused);
    Task task = Annas();
    task.folders = {std::string(1024, '/')};
    EXPECT_EQ(ReadRequest(RequestText({Kind::kAdd, task})), Reading::kWhole);
    task.folders = {std::string(1025, '/')};
    EXPECT_EQ(ReadRequest(RequestText({Kind::kAdd, task})), Reading::kRefused);
    task.folders.assign(101, "/");
    EXPECT_EQ(ReadRequest(RequestText({Kind::kAdd, task})), Reading::kWhole);
    task.folders.assign(102, "/");
    EXPECT_EQ(ReadRequest(RequestText({Kind::kAdd, task})), Reading::kRefused);
}

TEST(ScheduleWireTest, TheLargestRequestFits) {
    Task task = Annas();
    task.name.assign(256, '\xFF');
    task.folders.assign(101, std::string(1024, '\xFF'));
    EXPECT_LT(RequestText({Kind::kModify, task}).size(), kMostBytesOfRequest);
}

}  // namespace
