#include "reports/files/new_report.h"

#include <array>
#include <cerrno>
#include <fcntl.h>

#include "common/paths.h"
#include "common/regular_file.h"

namespace reports {

namespace {

// How often another process may take the name we have just found free.
constexpr int kMaxAttempts = 16;

}  // namespace

NewReport CreateNewReport(const std::string& directory, const char* prefix, const char* extension) {
    for (int attempt = 0; attempt < kMaxAttempts; ++attempt) {
        std::array<char, 256> name{};
        if (GetUniqueFileName(directory.c_str(), prefix, extension, name.data()) == 0) {
            break;
        }
        const std::string path = directory + name.data();
        if (path.size() >= kReportPathSize) {
            break;  // whoever keeps it in a field would cut it into another file's path
        }
        common::FileDescriptor file = common::OpenRegularFile(
            path.c_str(), O_RDWR | O_CREAT | O_EXCL, common::Links::kNone, 0600);
        if (file) {
            return {std::move(file), name.data(), path};
        }
        if (errno != EEXIST) {
            break;
        }
    }
    return {};
}

NewReport CreateNewReport(const char* prefix) {
    return CreateNewReport(common::InProgramDirectory("reports/"), prefix, "log");
}

}  // namespace reports
