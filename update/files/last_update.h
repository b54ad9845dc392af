#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace update {

/// Below the product directory, beside the sets of definitions.
inline constexpr char kLastUpdateFile[] = "defs/last-update.json";

/// How the last run ended that the updater made, for whomever: also one without a report, which was
/// stopped or found nothing valid.
struct LastUpdate {
    std::time_t time = 0;  ///< seconds since 1970
    int result = 0;        ///< UpdaterResult, whatever the source
    std::string text;      ///< in words, for who reads the file itself
};

/// The record as a JSON object, with a newline.
std::string LastUpdateText(const LastUpdate& update);

/// Writes the record into the open folder of definitions: a reader finds the old or the new one,
/// whole. False with the reason in errno. Any thread.
bool WriteLastUpdate(int folder, const LastUpdate& update);

/// The record in the file `path`, without its text. None for a missing file, a link, and whatever
/// the writer would not have written. Any thread.
std::optional<LastUpdate> ReadLastUpdate(const std::string& path);

/// The same of a record that has been read.
std::optional<LastUpdate> ParseLastUpdate(std::string_view text);

}  // namespace update
