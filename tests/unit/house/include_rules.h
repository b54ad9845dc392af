#pragma once

#include <filesystem>
#include <string>
#include <vector>

// Reads the #include lines of every source file below `root` and returns one line of text for each
// rule of the house that is broken; empty when none is.
//
// - An arrow from one room to another points down: app, then scan / update / schedule / help, then
//   reports, then widgets, then common, then abi.
// - Rooms on one floor may use each other, but never in a circle.
// - A folder below product/ uses itself, common and abi.
// - Nothing uses tests or bench but themselves.
// - common, abi and reports/virus_log use no Qt.
// - product/virlog may use reports/virus_log, which is a room of its own.
// - A header of the project is named from the root of the repository, and exists.
std::vector<std::string> FindBrokenIncludeRules(const std::filesystem::path& root);
