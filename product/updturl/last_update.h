#pragma once

#include <ctime>
#include <string>

namespace updturl {

inline constexpr char kLastUpdateName[] = "last-update.json";

/// What the page shows of the last update.
struct LastUpdate {
    std::time_t time = 0;  ///< seconds since 1970
    int result = 0;        ///< UpdaterResult
    std::string text;      ///< in words
};

/// The record as a JSON object, with a newline.
std::string LastUpdateText(const LastUpdate& update);

/// Writes the record into the open folder of definitions: a reader finds the old or the new one,
/// whole. False with the reason in errno. Any thread.
bool WriteLastUpdate(int folder, const LastUpdate& update);

}  // namespace updturl
