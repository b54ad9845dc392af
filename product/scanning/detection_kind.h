#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace scanning {

/// Values of tagZQFILEINFO::detectionClass. 4 and 6 are left out on purpose: the program doubts
/// some kinds of these two classes late in a run, and a signature match is never doubtful.
enum DetectionClass : std::uint16_t {
    kClassMalware = 1,
    kClassUnwanted = 2,
    kClassHeuristic = 3,
    kClassTestFile = 5,
};

struct DetectionKind {
    std::uint16_t detectionClass = kClassMalware;
    std::uint16_t subClass = 0;  ///< a digest of the name: one value a kind of virus
};

DetectionKind KindOf(std::string_view virusName);

/// Potentially unwanted, reported only when the user asked for adware.
bool IsUnwanted(std::string_view virusName);

/// Not a virus but the library's way to say that it did not see all of the file.
bool MeansNotWholeScanned(std::string_view virusName);

/// The name as the program is told it. Names go through as they are, but for the two forms by
/// which the program would take an exact match for a guess and dismiss it.
std::string NameForProgram(std::string_view virusName, std::string_view fileName);

}  // namespace scanning
