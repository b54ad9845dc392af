#include "product/definitions/official_database.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <clamav.h>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/regular_file.h"
#include "product/definitions/database_head.h"
#include "product/definitions/quiet_library.h"

namespace definitions {

namespace {

// The status of the child that checks a database.
enum VerifyStatus : int {
    kVerified,
    kUnreadable,
    kBadSignature,
    kNotThisDatabase,
    kUnreadyLibrary,
};

int VerifyInChild(const std::string& path, int talk) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kNoSymbolic);
    if (!file) {
        return kUnreadable;
    }
    if (!StartQuietLibrary()) {
        return kUnreadyLibrary;
    }
    if (cl_cvdverify(path.c_str()) != CL_SUCCESS) {
        return kBadSignature;
    }
    const auto head = ReadHead(file.Get());
    const auto state = ReadSignedState(file.Get(), StemOf(path.substr(path.rfind('/') + 1)));
    if (!head || !state || head->version != state->version || head->built != state->built) {
        return kNotThisDatabase;
    }
    const std::string line =
        std::to_string(state->version) + " " + std::to_string(state->built) + "\n";
    return common::WriteAll(talk, line) ? kVerified : kUnreadable;
}

const char* WordsFor(int status) {
    switch (status) {
        case kUnreadable:
            return "it cannot be read";
        case kBadSignature:
            return "its signature is missing or wrong";
        case kNotThisDatabase:
            return "what is signed in it belongs to another database, or is not whole";
        default:
            return "the library that checks it does not start";
    }
}

std::optional<DatabaseState> StateOfLine(std::string_view line) {
    const auto blank = line.find(' ');
    if (blank == std::string_view::npos || !line.ends_with('\n')) {
        return std::nullopt;
    }
    const auto version = NumberOf<std::uint32_t>(line.substr(0, blank));
    const auto built = NumberOf<std::time_t>(line.substr(blank + 1, line.size() - blank - 2));
    return version && built ? std::optional(DatabaseState{*version, *built}) : std::nullopt;
}

}  // namespace

VerifiedDatabase VerifyOfficial(const std::string& path, const ChildLimits& limits,
                                const GoOn& goOn) {
    VerifiedDatabase verified;
    const ChildResult child = RunLimited(
        limits, [&](int talk) { return VerifyInChild(path, talk); }, goOn);
    verified.end = child.end;
    verified.why = child.why;
    if (child.end == ChildEnd::kSucceeded) {
        verified.state = StateOfLine(child.said);
    } else if (child.end == ChildEnd::kFailed) {
        verified.why = WordsFor(child.status);
    }
    return verified;
}

}  // namespace definitions
