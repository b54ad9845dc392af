#include "product/scanapi/clamd_config.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <map>
#include <span>
#include <strings.h>
#include <sys/stat.h>

#include "common/io.h"
#include "common/regular_file.h"

namespace scanapi {

namespace {

constexpr std::size_t kMostBytes = std::size_t{64} << 10U;
constexpr std::string_view kBlanks = " \t\r";
constexpr std::uint64_t kMiB = std::uint64_t{1} << 20U;
// Nobody is waited for longer, whatever it allows itself.
constexpr std::uint64_t kMostMilliseconds = 600'000;

struct IgnoringCase {
    bool operator()(const std::string& left, const std::string& right) const {
        return strcasecmp(left.c_str(), right.c_str()) < 0;
    }
};
using Options = std::map<std::string, std::string, IgnoringCase>;

std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

// Of an option that is there twice the first counts, as it does for clamd.
Options OptionsIn(std::string_view text) {
    Options options;
    while (!text.empty()) {
        const std::string_view whole = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(whole.size() + 1, text.size()));
        const std::string_view line = Trimmed(whole);
        const std::string_view name = line.substr(0, line.find_first_of(kBlanks));
        if (!name.empty() && !name.starts_with('#')) {
            options.emplace(name, Trimmed(line.substr(name.size())));
        }
    }
    return options;
}

std::string TextOf(const Options& options, const std::string& name) {
    const auto found = options.find(name);
    return found == options.end() ? std::string() : found->second;
}

bool IsOn(const Options& options, const std::string& name, bool otherwise) {
    const auto found = options.find(name);
    if (found == options.end()) {
        return otherwise;
    }
    const char* const value = found->second.c_str();
    return strcasecmp(value, "yes") == 0 || strcasecmp(value, "true") == 0 ||
           strcasecmp(value, "1") == 0;
}

// A size with "K", "M" or "G" after it, or none; 0 means that there is no bound. What is no number
// keeps clamd from starting, so that it cannot be what the running one has read.
std::uint64_t NumberOf(const Options& options, const std::string& name, std::uint64_t otherwise) {
    const auto found = options.find(name);
    if (found == options.end()) {
        return otherwise;
    }
    const std::string& value = found->second;
    std::uint64_t number = 0;
    const char* const end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, number);
    const std::string_view unit(stop, static_cast<std::size_t>(end - stop));
    const std::size_t power = unit.empty() ? 0 : std::string_view("kKmMgG").find(unit) / 2 + 1;
    if (error != std::errc() || unit.size() > 1 || power > 3 ||
        number > (std::uint64_t{1} << 62U) >> (10 * power)) {
        return 1;
    }
    return number == 0 ? std::numeric_limits<std::uint64_t>::max() / 4 : number << (10 * power);
}

// What makes plain files clean that are not, when it is off.
constexpr std::array<const char*, 9> kNeeded{"ScanPE",
                                             "ScanELF",
                                             "ScanHTML",
                                             "ScanImage",
                                             "PhishingSignatures",
                                             "PhishingScanURLs",
                                             "AlgorithmicDetection",
                                             "HeuristicAlerts",
                                             "Bytecode"};

}  // namespace

ClamdLimits UnknownClamd() {
    return ReadClamdLimits({});
}

ClamdLimits ReadClamdLimits(std::string_view text) {
    const Options options = OptionsIn(text);
    ClamdLimits limits;
    limits.socket = TextOf(options, "LocalSocket");
    limits.user = TextOf(options, "User");
    // Some files are looked at in several forms, each of which counts. Where nobody is told that
    // the bound was reached, they have to stay far below it.
    const std::uint64_t scanSize = NumberOf(options, "MaxScanSize", 100 * kMiB);
    limits.fileSize = std::min({NumberOf(options, "MaxFileSize", 25 * kMiB),
                                NumberOf(options, "StreamMaxLength", 25 * kMiB),
                                IsOn(options, "AlertExceedsMax", false) ? scanSize : scanSize / 4});
    limits.rewriteSize = std::min({NumberOf(options, "MaxHTMLNormalize", 10 * kMiB),
                                   NumberOf(options, "MaxHTMLNoTags", 2 * kMiB),
                                   NumberOf(options, "MaxScriptNormalize", 5 * kMiB),
                                   NumberOf(options, "MaxEmbeddedPE", 10 * kMiB),
                                   NumberOf(options, "PCREMaxFileSize", 25 * kMiB)});
    limits.milliseconds = static_cast<std::int64_t>(
        std::min(NumberOf(options, "MaxScanTime", 120'000), kMostMilliseconds));
    limits.findsUnwanted = IsOn(options, "DetectPUA", false) && !options.contains("ExcludePUA") &&
                           !options.contains("IncludePUA");
    for (const char* name : kNeeded) {
        if (!IsOn(options, name, true)) {
            limits.missing = name;
        }
    }
    if (IsOn(options, "OfficialDatabaseOnly", false)) {
        limits.missing = "OfficialDatabaseOnly";
    }
    return limits;
}

std::optional<ClamdLimits> LoadClamdLimits(const std::string& path, std::string& why) {
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kNoSymbolic);
    struct stat status {};
    if (!file || fstat(file.Get(), &status) != 0) {
        why = std::strerror(errno);
        return std::nullopt;
    }
    if (status.st_uid != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        why = "it is not root's, or others may write to it";
        return std::nullopt;
    }
    std::string text(kMostBytes, '\0');
    const auto got = common::ReadFull(file.Get(), std::as_writable_bytes(std::span(text)));
    if (got < 0 || static_cast<std::size_t>(got) == kMostBytes) {
        why = got < 0 ? std::strerror(errno) : "it is too long";
        return std::nullopt;
    }
    text.resize(static_cast<std::size_t>(got));
    return ReadClamdLimits(text);
}

}  // namespace scanapi
