// corvane-virlog: lists the virus log for people, cuts it, and removes locks that dead processes
// left on it.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <span>
#include <string>
#include <unistd.h>
#include <vector>

#include "product/virlog/filter.h"
#include "product/virlog/formats.h"
#include "product/virlog/keep.h"
#include "product/virlog/log_source.h"
#include "product/virlog/options.h"
#include "product/virlog/output.h"
#include "product/virlog/unlock.h"

namespace {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

void WarnOfDamage(const virus_log::VirusLogContents& contents) {
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
    virus_log::VirusLogContents contents;
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
    std::vector<virus_log::VirusLogEntry>& entries = contents.entries;
    std::erase_if(entries, [&options](const virus_log::VirusLogEntry& entry) {
        return !Matches(options.filter, entry);
    });
    Output output(STDOUT_FILENO);
    const auto writer = MakeWriter(options.format, entries);
    writer->Begin(output.Buffer());
    for (const virus_log::VirusLogEntry& entry : entries) {
        writer->Record(output.Buffer(), entry);
        if (!output.Pass()) {
            break;
        }
    }
    writer->End(output.Buffer());
    return Finish(output);
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
        case Command::kKeep:
            return Keep(options.keep);
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
        return Run(arguments);
    } catch (const std::exception& error) {
        Say(error.what());
        return kExitFailed;
    }
}
