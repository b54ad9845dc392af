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
common::FileDescriptor OpenToRead(const std::string& path) {
    common::FileDescriptor file = common::OpenOptionFile(path.c_str());
    if (!file) {
        file = common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kOnlyOfRoot);
    }
    return file;
}

tagUpdtOpts LoadOrMake(const tagUpdtOpts& defaults) {
    const std::string path = OptionsPath();
    tagUpdtOpts options{};
    if (const common::FileDescriptor file = OpenToRead(path)) {
        common::ReadFull(file.Get(), common::BytesOf(options));
    } else {
        options = defaults;
        if (const common::FileDescriptor made = common::CreateOptionFile(path.c_str())) {
            common::WriteAll(made.Get(), common::BytesOf(options));
        }
    }
    common::ShareWithEveryone(path.c_str());
    return options;
}

}  // namespace

tagUpdtOpts update::LoadUpdateOptionsAtStart() {
    return LoadOrMake(update::kStartUpdateOptions);
}

tagUpdtOpts update::LoadUpdateOptions() {
    return LoadOrMake(update::kPageUpdateOptions);
}

tagUpdtOpts update::StoredUpdateOptions() {
    const common::FileDescriptor file = OpenToRead(OptionsPath());
    if (!file) {
        return update::kPageUpdateOptions;
    }
    tagUpdtOpts options{};
    (void)common::ReadFull(file.Get(), common::BytesOf(options));  // what is missing of it is zero
    return options;
}

common::FileOutcome update::WriteUpdateOptions(const tagUpdtOpts& options) {
    const std::string path = OptionsPath();
    const common::FileDescriptor file = common::OpenOptionFile(path.c_str());
    if (!file) {
        return common::FileOutcome::kNotOpened;  // the mode stays, too
    }
    const bool written = common::WriteAll(file.Get(), common::BytesOf(options));
    common::ShareWithEveryone(path.c_str());
    return written ? common::FileOutcome::kDone : common::FileOutcome::kFailed;
}
