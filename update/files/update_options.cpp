#include "update/files/update_options.h"

#include <fcntl.h>
#include <string>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"

namespace {

std::string OptionsPath() {
    return common::InProgramDirectory("zqupdate.opt");
}

// An update by root leaves the file with mode 0644. Who can only read it is told what holds, too.
FileDescriptor OpenToRead(const std::string& path) {
    FileDescriptor file = OpenOptionFile(path.c_str());
    if (!file) {
        file = common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kOnlyOfRoot);
    }
    return file;
}

tagUpdtOpts LoadOrMake(const tagUpdtOpts& defaults) {
    const std::string path = OptionsPath();
    tagUpdtOpts options{};
    if (const FileDescriptor file = OpenToRead(path)) {
        ReadFull(file.Get(), BytesOf(options));
    } else {
        options = defaults;
        if (const FileDescriptor made = CreateOptionFile(path.c_str())) {
            WriteAll(made.Get(), BytesOf(options));
        }
    }
    ShareWithEveryone(path.c_str());
    return options;
}

}  // namespace

tagUpdtOpts LoadUpdateOptionsAtStart() {
    return LoadOrMake(kStartUpdateOptions);
}

tagUpdtOpts LoadUpdateOptions() {
    return LoadOrMake(kPageUpdateOptions);
}

tagUpdtOpts StoredUpdateOptions() {
    const FileDescriptor file = OpenToRead(OptionsPath());
    if (!file) {
        return kPageUpdateOptions;
    }
    tagUpdtOpts options{};
    (void)ReadFull(file.Get(), BytesOf(options));  // what is missing of it is zero
    return options;
}

FileOutcome WriteUpdateOptions(const tagUpdtOpts& options) {
    const std::string path = OptionsPath();
    const FileDescriptor file = OpenOptionFile(path.c_str());
    if (!file) {
        return FileOutcome::kNotOpened;  // the mode stays, too
    }
    const bool written = WriteAll(file.Get(), BytesOf(options));
    ShareWithEveryone(path.c_str());
    return written ? FileOutcome::kDone : FileOutcome::kFailed;
}
