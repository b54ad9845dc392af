#include "common/scan_options_file.h"

#include <string>

#include "common/io.h"
#include "common/log.h"
#include "common/paths.h"

namespace common {

namespace {

std::string ScanOptionsPath() {
    return common::InProgramDirectory("zqscn.opt");
}

}  // namespace

bool LoadScanOptionsFile(tagSCNOPTS* options) {
    if (options == nullptr) {
        WriteToLog(kCommonLog, "LoadScnOptions: NULL parameter pscnopts");
        return false;
    }
    *options = kDefaultScanSettings;
    const std::string path = ScanOptionsPath();
    if (const FileDescriptor file = OpenOptionFile(path.c_str())) {
        // Bytes that the file lacks keep their defaults, and no value is rejected.
        ReadFull(file.Get(), BytesOf(*options));
    } else if (const FileDescriptor made = CreateOptionFile(path.c_str())) {
        WriteAll(made.Get(), BytesOf(kDefaultScanSettings));
    }
    ShareWithEveryone(path.c_str());
    return true;
}

FileOutcome ReadScanOptionsFile(tagSCNOPTS& options) {
    options = {};
    const std::string path = ScanOptionsPath();
    const FileDescriptor file = OpenOptionFile(path.c_str());
    ShareWithEveryone(path.c_str());  // opened or not
    if (!file) {
        return FileOutcome::kNotOpened;
    }
    return ReadFull(file.Get(), BytesOf(options)) >= 0 ? FileOutcome::kDone : FileOutcome::kFailed;
}

FileOutcome WriteScanOptionsFile(const tagSCNOPTS& options) {
    const std::string path = ScanOptionsPath();
    const FileDescriptor file = OpenOptionFile(path.c_str());
    if (!file) {
        return FileOutcome::kNotOpened;  // and nothing else changes: the mode stays, too
    }
    const bool written = WriteAll(file.Get(), BytesOf(options));
    ShareWithEveryone(path.c_str());
    return written ? FileOutcome::kDone : FileOutcome::kFailed;
}

}  // namespace common
