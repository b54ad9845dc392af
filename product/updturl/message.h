#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "abi/updturl.h"

// What a run of the updater answers, line by line, on the standard output of `corvane-update`: any
// number of messages and a result at the end. An end without a result is kUpdaterFailed. Any
// thread.

namespace updturl {

enum class MessageKind {
    kStatus,     ///< `number` is an UpdateStatus; with kUpdateLoadingNamedFile `text` is the name
    kLog,        ///< `text` is for the logs and shown to nobody
    kCandidate,  ///< `text` is the folder that holds what is to be installed
    kSwitching,  ///< from here on nothing stops the run: the result comes soon
    kResult,     ///< `number` is an UpdaterResult; nothing follows
};

struct Message {
    MessageKind kind = MessageKind::kLog;
    std::uint16_t number = 0;
    std::string text;

    bool operator==(const Message&) const = default;
};

// The lines with their newline. A text that does not fit into kLongestLine is cut.

std::string StatusLine(std::uint16_t status, std::string_view fileName = {});
std::string LogLine(std::string_view text);
std::string SwitchingLine();
std::string ResultLine(int result);

/// None for a folder that does not fit: cut, it would be another one.
std::optional<std::string> CandidateLine(std::string_view folder);

/// Reads a line without its newline. None for anything that is not written above; a line that is
/// not understood means nothing.
std::optional<Message> ReadMessage(std::string_view line);

}  // namespace updturl
