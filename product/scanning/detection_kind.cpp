#include "product/scanning/detection_kind.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace scanning {

namespace {

bool StartsWithAny(std::string_view text, const auto& prefixes) {
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [text](std::string_view prefix) { return text.starts_with(prefix); });
}

std::uint16_t Digest(std::string_view text) {
    std::uint32_t hash = 2166136261U;
    for (const char byte : text) {
        hash = (hash ^ static_cast<unsigned char>(byte)) * 16777619U;
    }
    return static_cast<std::uint16_t>((hash >> 16U) ^ (hash & 0xFFFFU));
}

bool ContainsFolded(std::string_view text, std::string_view upper) {
    const auto found = std::search(text.begin(), text.end(), upper.begin(), upper.end(),
                                   [](char left, char right) {
                                       return std::toupper(static_cast<unsigned char>(left)) ==
                                              static_cast<unsigned char>(right);
                                   });
    return found != text.end();
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

}  // namespace

DetectionKind KindOf(std::string_view virusName) {
    static constexpr std::array<std::string_view, 2> kGuesses{"Heuristics.", "BC.Heuristics."};
    static constexpr std::array<std::string_view, 3> kTests{"Eicar", "Win.Test.EICAR",
                                                            "Clamav.Test"};
    DetectionKind kind;
    kind.subClass = Digest(virusName);
    if (IsUnwanted(virusName)) {
        kind.detectionClass = kClassUnwanted;
    } else if (StartsWithAny(virusName, kGuesses)) {
        kind.detectionClass = kClassHeuristic;
    } else if (StartsWithAny(virusName, kTests)) {
        kind.detectionClass = kClassTestFile;
    }
    return kind;
}

bool IsUnwanted(std::string_view virusName) {
    return virusName.starts_with("PUA.");
}

bool MeansNotWholeScanned(std::string_view virusName) {
    static constexpr std::array<std::string_view, 2> kIncomplete{"Heuristics.Limits.Exceeded",
                                                                 "Heuristics.Encrypted."};
    return StartsWithAny(virusName, kIncomplete);
}

std::string NameForProgram(std::string_view virusName, std::string_view fileName) {
    std::string name(virusName);
    ReplaceAll(name, "Unknown ", "Unknown_");
    if (ContainsFolded(fileName, ".WIZ")) {
        ReplaceAll(name, "W97M.", "W97M/");
    }
    return name;
}

}  // namespace scanning
