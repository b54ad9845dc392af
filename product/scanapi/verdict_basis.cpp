#include "product/scanapi/verdict_basis.h"

#include <clamav.h>
#include <dlfcn.h>
#include <span>
#include <sys/stat.h>

#include "product/definitions/engine_databases.h"
#include "product/scanning/scan_profile.h"
#include "product/signed_index/sha256.h"

namespace scanapi {

namespace {

// To be raised with every change to how a verdict comes about.
constexpr int kVerdictRules = 1;

std::string Text(const timespec& time) {
    return std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
}

// A corrected library may bear the old version.
std::string PathOfLibrary() {
    Dl_info library{};
    return dladdr(reinterpret_cast<const void*>(&cl_retver), &library) != 0 &&
                   library.dli_fname != nullptr
               ? library.dli_fname
               : "";
}

bool AddFile(const std::string& path, std::string& text) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return false;
    }
    // The place in the file system, too: what is put there anew may bear the old times.
    text += path + '\0' + std::to_string(status.st_dev) + " " + std::to_string(status.st_ino) +
            " " + std::to_string(status.st_size) + " " + Text(status.st_mtim) + " " +
            Text(status.st_ctim) + '\0';
    return true;
}

}  // namespace

std::optional<std::string> VerdictBasis(const std::vector<std::string>& files) {
    std::string text = std::string(cl_retver()) + " " + std::to_string(cl_retflevel()) + " " +
                       CORVANE_VERSION + " " + std::to_string(kVerdictRules);
    for (const long long bound :
         {static_cast<long long>(definitions::kEngineLoadOptions), scanning::kMaxFileSize,
          scanning::kMaxScanSize, scanning::kMaxNesting, scanning::kMaxMembers,
          scanning::kMaxScanMilliseconds}) {
        text += " " + std::to_string(bound);
    }
    text += '\0';
    if (!AddFile(PathOfLibrary(), text)) {
        return std::nullopt;
    }
    for (const std::string& path : files) {
        if (!AddFile(path, text)) {
            return std::nullopt;
        }
    }
    signed_index::Sha256 digest;
    digest.Add(std::as_bytes(std::span(text)));
    return digest.Finish();
}

}  // namespace scanapi
