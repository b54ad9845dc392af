// corvane-virlog: lists the virus log for people, and removes locks that dead processes left on it.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <unistd.h>
#include <vector>

#include "product/virlog/filter.h"
#include "product/virlog/formats.h"
#include "product/virlog/log_source.h"
#include "product/virlog/options.h"
#include "product/virlog/output.h"
#include "product/virlog/unlock.h"
#include "reports/virus_log/log_files.h"

namespace {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

std::string Counted(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + (count == 1 ? one : many);
}

void WarnOfDamage(const VirusLogContents& contents) {
    if (contents.damagedBytes > 0) {
        Say("the virus log is damaged: " + Counted(contents.damagedBytes, " byte", " bytes") +
            " that belong to no record were passed over");
    }
    if (contents.missing > 0) {
        Say("the virus log is damaged: " +
            Counted(contents.missing, " record that it counts is", " records that it counts are") +
            " not in it");
    }
}

void TellOfWaiting(std::uint32_t count) {
    if (count > 0) {
        Say(Counted(count, " record waits in ", " records wait in ") +
            VirusLogPath(kSecondRecordFile) + " for a merge and " + (count == 1 ? "is" : "are") +
            " not listed");
    }
}

int Finish(Output& output) {
    if (output.Finish()) {
        return kExitOk;
    }
    ReportFailure(output);
    return kExitFailed;
}

int Print(std::string_view text) {
    Output output(STDOUT_FILENO);
    output.Buffer() = text;
    return Finish(output);
}

int List(const Options& options) {
    VirusLogContents contents;
    std::string problem;
    switch (FetchLog(contents, problem)) {
        case FetchResult::kFailed:
            Say(problem);
            return kExitFailed;
        case FetchResult::kNothingLogged:
            Say("nothing has been logged yet");
            break;
        case FetchResult::kOk:
            WarnOfDamage(contents);
            break;
    }
    // Before the output, which a slow reader may draw out until a merge.
    const std::uint32_t waiting = CountWaitingRecords();
    std::vector<VirusLogEntry>& entries = contents.entries;
    std::erase_if(entries, [&options](const VirusLogEntry& entry) {
        return !Matches(options.filter, entry);
    });
    Output output(STDOUT_FILENO);
    const auto writer = MakeWriter(options.format, entries);
    writer->Begin(output.Buffer());
    for (const VirusLogEntry& entry : entries) {
        writer->Record(output.Buffer(), entry);
        if (!output.Pass()) {
            break;
        }
    }
    writer->End(output.Buffer());
    const int status = Finish(output);
    if (status == kExitOk) {
        TellOfWaiting(waiting);
    }
    return status;
}

int Run(std::span<char* const> arguments) {
    Options options;
    std::string problem;
    if (!ParseOptions(arguments, options, problem)) {
        Say(problem);
        std::fputs("Try \"corvane-virlog --help\".\n", stderr);
        return kExitUsage;
    }
    switch (options.command) {
        case Command::kHelp:
            return Print(kUsage);
        case Command::kVersion:
            return Print("corvane-virlog " CORVANE_VERSION "\n");
        case Command::kUnlock:
            return Unlock();
        case Command::kList:
            break;
    }
    return List(options);
}

}  // namespace

int main(int argc, char** argv) {
    // A closed pipe and a file-size limit are answered like any other failure to write.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        const std::span<char* const> arguments(argv, static_cast<std::size_t>(argc));
        return Run(arguments.subspan(arguments.empty() ? 0 : 1));
    } catch (const std::exception& error) {
        Say(error.what());
        return kExitFailed;
    }
}
