#pragma once

#include <ctime>
#include <ostream>
#include <string>

#include "product/signed_index/refusal.h"

namespace signed_index {

/// How a failed test names a refusal.
inline void PrintTo(Refusal refusal, std::ostream* out) {
    *out << WordsFor(refusal);
}

}  // namespace signed_index

// A key made for these tests by `minisign -G -W`, and what it signed.

inline constexpr char kTestPublicKey[] =
    "untrusted comment: minisign public key 33BF1955D20595CA\n"
    "RWTKlQXSVRm/M9ochfyufL+2ZLxOeaTdFMvszZsSVSMFbJzUYEu5QRGX\n";

inline constexpr char kTestSecretKey[] =
    "untrusted comment: minisign encrypted secret key\n"
    "RWQAAEIyAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAypUF0lUZvzNJexjumUqBjE"
    "dw"
    "MsLHVoA6xTAxA5F81iKmEd+fGVZHc9ochfyufL+"
    "2ZLxOeaTdFMvszZsSVSMFbJzUYEu5QRGXAAAAAAAAAAAAAAAAAAAAAAAA"
    "AAAAAAAAAAAAAAAAAAA=\n";

/// Another machine's key, which signed nothing here.
inline constexpr char kOtherPublicKey[] =
    "untrusted comment: minisign public key 0102030405060708\n"
    "RWQIBwYFBAMCAdochfyufL+2ZLxOeaTdFMvszZsSVSMFbJzUYEu5QRGX\n";

inline constexpr char kSignedText[] = "hello\n";

inline constexpr char kDigestSignature[] =
    "untrusted comment: signature from minisign secret key\n"
    "RUTKlQXSVRm/M1Vi13ctf0Fzu/0qfS0tEcj8RKJdeqDl+wTylOm9RH8F/tSygd7gJTXCVPZUxRoSy7vEqjJhoi3A//"
    "GqAP85"
    "zwM=\n"
    "trusted comment: trusted\n"
    "uJdfWqrxUiPx1Q8RovhBEpYwG3lGVyXptZVmPknTUhyZc2iSuVCvxg8D2GDLoHwjk4HyEmKYi0cSR/D4SV+xCw==\n";

inline constexpr char kLegacySignature[] =
    "untrusted comment: signature from minisign secret key\n"
    "RWTKlQXSVRm/M7af9HlUE7Pch2XRxnV7NXiymTce3v0nhVaAxuRwV+8FFG/"
    "Z+PqMaWpXGk8dP7kk5KMckk7Z+abnpwtQHxq5"
    "OgY=\n"
    "trusted comment: timestamp:1795315685\tfile:f\n"
    "Cpoo/nd1MxprTvaebmlka4QCjhdxF94/GVOujo/SzOlAH2jEQpovSpxnjzGR+/MiPtkNMpPKAMMyN1VA+e+QCw==\n";

inline const std::string kDigestA(64, 'a');
inline const std::string kDigestB(64, 'b');

/// A sound index of two files.
inline const std::string kGoodIndex =
    R"({"format": 1, "serial": 7, "made": "2026-11-22T03:00:00Z", "expires": "2026-12-22T03:00:00Z", )"
    R"("files": [{"name": "daily.cvd", "size": 512, "sha256": ")" +
    kDigestA + R"(", "version": 27000}, {"name": "own.hdb", "size": 9, "sha256": ")" + kDigestB +
    R"(", "version": 0}]})";

inline constexpr std::time_t kGoodMade = 1795316400;     // 2026-11-22T03:00:00Z
inline constexpr std::time_t kGoodExpires = 1797908400;  // 2026-12-22T03:00:00Z
