#include "scan/run/detection_filters.h"

#include <algorithm>
#include <string_view>

#include "common/run_state.h"
#include "common/text_field.h"

namespace {

/// Clean files in a row from which on a weak kind is no longer trusted.
constexpr std::int32_t kTrustedCleanFiles = 16;

/// How much of a file name is searched for the wizard extension.
constexpr std::size_t kSearchedNameLength = kEngineFileNameSize - 1;

constexpr std::uint16_t kWeakOfClass4[] = {39, 45, 49, 51, 55, 58, 59, 60,
                                           61, 64, 69, 71, 72, 73, 76};
constexpr std::uint16_t kWeakOfClass6[] = {2, 44, 49};

bool Contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

/// Only a to z count: a file name is bytes, of no known encoding.
char UpperAscii(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

bool IsWizardTemplate(std::string_view fileName) {
    constexpr std::string_view kExtension = ".WIZ";
    const std::string_view searched = fileName.substr(0, kSearchedNameLength);
    return std::search(searched.begin(), searched.end(), kExtension.begin(), kExtension.end(),
                       [](char c, char wanted) { return UpperAscii(c) == wanted; }) !=
           searched.end();
}

bool IsWeakKind(std::uint16_t detectionClass, std::uint16_t subClass) {
    switch (detectionClass) {
        case 4:
            return std::ranges::find(kWeakOfClass4, subClass) != std::end(kWeakOfClass4);
        case 6:
            return std::ranges::find(kWeakOfClass6, subClass) != std::end(kWeakOfClass6);
        default:
            return false;
    }
}

}  // namespace

int ReportUnknownMacroVirus(const tagZQFILEINFO* info, const tagSCANAPI_OPTIONS* options) {
    if (info == nullptr || options == nullptr) {
        return 0;
    }
    const std::string_view virus = common::FieldText(info->virusName);
    // "WM." is looked for first: a name that also holds "Unknown " is reported.
    if ((options->extraFlags & kLabScanFlag) != 0 || Contains(virus, "WM.")) {
        return 1;
    }
    if (Contains(virus, "Unknown ")) {
        return 0;
    }
    if (!Contains(virus, "W97M.")) {
        return 1;
    }
    return IsWizardTemplate(common::FieldText(info->fileName)) ? 0 : 1;
}

int ReportWeakPolyVirus(const tagZQFILEINFO* info) {
    if (info == nullptr) {
        return 0;
    }
    // Early in a run, and (at -1) after a first real detection, weak kinds are trusted.
    if (g_iCleanFileSeqCnt < kTrustedCleanFiles) {
        return 1;
    }
    return IsWeakKind(info->detectionClass, info->detectionSubClass) ? 0 : 1;
}

void DecideLabScanFlag(const tagZQFILEINFO* info, tagSCANAPI_OPTIONS* /*options*/) {
    if (info == nullptr) {
        return;
    }
    const std::int32_t count = g_iCntLabViruses;
    if (count >= common::kLabDetectionKinds) {
        return;
    }
    const auto end = g_LabScanData.begin() + count;
    const bool known =
        std::any_of(g_LabScanData.begin(), end, [info](const common::LabDetectionKind& kind) {
            return kind.subClass == info->detectionSubClass &&
                   kind.detectionClass == info->detectionClass;
        });
    if (!known) {
        *end = {info->detectionSubClass, info->detectionClass};
        g_iCntLabViruses = count + 1;
    }
}
