#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "common/paths.h"
#include "common/times.h"
#include "product/definitions/rollback.h"
#include "product/libdbmod/admin/update_commands.h"

namespace dbmod {

namespace {

std::string AgeOf(const tagZQVERINFO& version, std::time_t now) {
    constexpr std::time_t kDay = 86400;  // seconds
    std::tm local{};
    SystemTimeToTm(&version.databaseDate, &local);
    const std::time_t days = std::max<std::time_t>(0, now - std::mktime(&local)) / kDay;
    return std::to_string(days) + (days == 1 ? " day" : " days");
}

void Print(const definitions::SetSummary& set, std::time_t now) {
    const auto& [major, minor, date] = set.version;
    const std::string name = definitions::NameOfSet(set.number);
    const char* state = set.isCurrent ? "in use" : set.isHeldBack ? "held back" : "kept";
    if (date.year == 0) {
        std::printf("%-8s without a version  %s\n", name.c_str(), state);
        return;
    }
    std::printf("%-8s %u.%02u  %04u-%02u-%02u %02u:%02u:%02u  %s old  %s\n", name.c_str(), major,
                minor, date.year, date.month, date.day, date.hour, date.minute, date.second,
                AgeOf(set.version, now).c_str(), state);
}

}  // namespace

std::string ShowDefinitions() {
    const auto folder = definitions::DefinitionFolder::Open(common::InProductDirectory({}));
    if (!folder) {
        return std::string("the folder of the definitions cannot be opened: ") +
               std::strerror(errno);
    }
    const auto sets = definitions::ListSets(folder);
    if (sets.empty()) {
        std::puts("There are no definitions but those that came with the product.");
    }
    for (const auto& set : sets) {
        Print(set, std::time(nullptr));
    }
    return {};
}

std::string RollDefinitionsBack() {
    const auto result = definitions::RollBack(common::InProductDirectory({}));
    if (result.outcome == definitions::Outcome::kLocked && result.holder > 0) {
        return result.why + ": process " + std::to_string(result.holder);
    }
    if (result.outcome == definitions::Outcome::kInstalled) {
        std::puts("The definitions before are in use again, until newer ones come.");
    }
    return result.why;
}

}  // namespace dbmod
