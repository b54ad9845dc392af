#include "common/scan_options_file.h"

#include <string>

#include "common/io.h"
#include "common/log.h"
#include "common/option_file.h"
#include "common/run_state.h"

namespace {

std::string ScanOptionsPath() {
    return std::string(g_szAppPath) + "zqscn.opt";
}

}  // namespace

bool LoadScanOptionsFile(tagSCNOPTS* options) {
    if (options == nullptr) {
        WriteToLog(kCommonLog, "LoadScnOptions: NULL parameter pscnopts");
        return false;
    }
    *options = kDefaultScanSettings;
    const std::string path = ScanOptionsPath();
    FileDescriptor file = OpenOptionFile(path.c_str());
    if (file) {
        // Bytes that the file lacks keep their defaults, and no value is rejected.
        ReadFull(file.Get(), BytesOf(*options));
    } else {
        file = CreateOptionFile(path.c_str());
        if (file) {
            WriteAll(file.Get(), BytesOf(kDefaultScanSettings));
        }
    }
    ShareWithEveryone(file);
    return true;
}

FileOutcome ReadScanOptionsFile(tagSCNOPTS& options) {
    options = {};
    const FileDescriptor file = OpenOptionFile(ScanOptionsPath().c_str());
    if (!file) {
        return FileOutcome::kNotOpened;
    }
    const bool read = ReadFull(file.Get(), BytesOf(options)) >= 0;
    ShareWithEveryone(file);
    return read ? FileOutcome::kDone : FileOutcome::kFailed;
}

FileOutcome WriteScanOptionsFile(const tagSCNOPTS& options) {
    const FileDescriptor file = OpenOptionFile(ScanOptionsPath().c_str());
    if (!file) {
        return FileOutcome::kNotOpened;
    }
    const bool written = WriteAll(file.Get(), BytesOf(options));
    ShareWithEveryone(file);
    return written ? FileOutcome::kDone : FileOutcome::kFailed;
}
