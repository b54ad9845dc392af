#pragma once

#include <filesystem>
#include <string>
#include <vector>

// Reads the #include lines of every source file below `root` and returns one line of text for each
// rule of the house that is broken; empty when none is.
//
// - Nothing in a room without Qt includes Qt or a room with it. Without Qt are abi, common, the
// inner
//   rooms (common/given, reports/files, reports/virus_log, scan/run, update/files) and product.
// - An arrow from one room to another points down: app, then scan / update / schedule / help, then
//   reports, then widgets, then the inner rooms, then common, then abi.
// - Rooms on one floor may use each other, but never in a circle.
// - A folder below product/ uses itself and any room without Qt; nothing else uses it.
// - Nothing uses tests or bench but themselves.
// - A header of the project is named from the root of the repository, and exists.
std::vector<std::string> FindBrokenIncludeRules(const std::filesystem::path& root);
