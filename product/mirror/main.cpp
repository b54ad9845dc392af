// corvane-mirror: makes a mirror of virus databases that any web server can serve.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <span>
#include <string>
#include <vector>

#include "common/escaped_text.h"
#include "common/io.h"
#include "common/regular_file.h"
#include "product/mirror/options.h"
#include "product/mirror/publish.h"
#include "product/mirror/sources.h"
#include "product/signed_index/index.h"
#include "product/signed_index/secret_key.h"

namespace {

using signed_index::Refusal;

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

int Fail(const std::string& problem, ExitStatus status = kExitFailed) {
    std::fprintf(stderr, "corvane-mirror: %s\n", common::Escaped(problem).c_str());
    return status;
}

int Print(const char* text) {
    const bool isPrinted = std::fputs(text, stdout) >= 0 && std::fflush(stdout) == 0;
    return isPrinted ? kExitOk : Fail(std::string("standard output: ") + std::strerror(errno));
}

bool ReadKey(const std::string& path, signed_index::SecretKey& key, std::string& problem) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kFollow);
    std::string text(signed_index::kMaxKeySize, '\0');
    const auto length =
        file ? common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text))) : -1;
    if (length < 0) {
        problem = path + ": " + std::strerror(errno);
        return false;
    }
    text.resize(static_cast<std::size_t>(length));
    const Refusal refusal = key.Parse(text);
    if (refusal != Refusal::kNone) {
        problem = path + ": " + WordsFor(refusal);
    }
    return refusal == Refusal::kNone;
}

std::string TextOf(const Published& published) {
    return std::to_string(published.files) + (published.files == 1 ? " database" : " databases") +
           ", serial " + std::to_string(published.serial) + ", expires " +
           signed_index::FormatUtcTime(published.expires) + "\n";
}

int Publish(const MirrorOptions& options) {
    std::string problem;
    signed_index::SecretKey key;
    if (!options.key.empty() && !ReadKey(options.key, key, problem)) {
        return Fail(problem);
    }
    Published published;
    if (options.isSigned) {
        return PublishSigned(options.folder, std::time(nullptr), published, problem)
                   ? Print(TextOf(published).c_str())
                   : Fail(problem);
    }
    std::vector<SourceDatabase> databases;
    if (options.from.empty()) {
        databases = DatabasesOfThisMachine();
    } else if (!DatabasesIn(options.from, databases, problem)) {
        return Fail(problem);
    }
    if (!PublishMirror(options.folder, databases, options.key.empty() ? nullptr : &key,
                       std::time(nullptr), options.days.value_or(kUsualDays), published, problem)) {
        return Fail(problem);
    }
    std::string text = TextOf(published);
    if (options.key.empty()) {
        const std::string folder = options.folder + "/" + kUnsignedFolder + "/";
        text += "The index is not signed yet, and the mirror as it was before: minisign -S -m " +
                folder + signed_index::kIndexName + " && corvane-mirror --signed " +
                options.folder + "\n";
    }
    return Print(text.c_str());
}

int Run(std::span<char* const> arguments) {
    MirrorOptions options;
    std::string problem;
    if (!ParseMirrorOptions(arguments, options, problem)) {
        (void)Fail(problem);
        std::fputs("Try \"corvane-mirror --help\".\n", stderr);
        return kExitUsage;
    }
    switch (options.command) {
        case MirrorCommand::kHelp:
            return Print(kMirrorUsage);
        case MirrorCommand::kVersion:
            return Print("corvane-mirror " CORVANE_VERSION "\n");
        case MirrorCommand::kPublish:
            break;
    }
    return Publish(options);
}

}  // namespace

int main(int argc, char** argv) {
    // A file-size limit is answered like any other failure to write.
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return Run({argv, static_cast<std::size_t>(argc)});
    } catch (const std::exception& error) {
        return Fail(error.what());
    }
}
