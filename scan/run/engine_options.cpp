#include "scan/run/engine_options.h"

#include <cstdint>
#include <string>

#include "common/text_field.h"

namespace scan {

namespace {

constexpr std::uint16_t kAdwareOn = 7;
// With adware off an engine that starts is told 0, one that runs is told 3: the two differ on
// purpose.
constexpr std::uint16_t kAdwareOffAtStart = 0;
constexpr std::uint16_t kAdwareOffLater = 3;

std::uint16_t FlagWord(const tagSCNOPTS& settings, ScanFlag flag, std::uint16_t on,
                       std::uint16_t off) {
    return (settings.flags & flag) != 0 ? on : off;
}

void TakeSettings(tagSCANAPI_OPTIONS& options, const tagSCNOPTS& settings,
                  std::uint16_t adwareOff) {
    options.scanArchives = FlagWord(settings, kScanArchives, 1, 0);
    options.adwareLevel = FlagWord(settings, kScanAdware, kAdwareOn, adwareOff);
    options.dumbScan = FlagWord(settings, kScanDumb, 1, 0);
    options.scanPacked = FlagWord(settings, kScanPacked, 1, 0);
}

}  // namespace

bool BuildEngineOptions(tagSCANAPI_OPTIONS& options, const tagSCNOPTS& settings,
                        std::string_view applicationDirectory) {
    options = {};
    options.size = sizeof(options);
    options.fixed1 = 1;
    options.fixed2 = 5;
    TakeSettings(options, settings, kAdwareOffAtStart);
    // The application directory ends in "/" already: the engine has always been given "//tmp".
    const std::string temporaryDirectory = std::string(applicationDirectory) + "/tmp";
    return common::CopyToField(options.engineDirectory, applicationDirectory) &&
           common::CopyToField(options.temporaryDirectory, temporaryDirectory);
}

void RefreshEngineOptions(tagSCANAPI_OPTIONS& options, const tagSCNOPTS& settings) {
    TakeSettings(options, settings, kAdwareOffLater);
}

}  // namespace scan
