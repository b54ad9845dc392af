#include "update/files/update_options.h"

#include <string>

#include "common/io.h"
#include "common/option_file.h"
#include "common/paths.h"

tagUpdtOpts LoadUpdateOptionsAtStart() {
    const std::string path = common::InProgramDirectory("zqupdate.opt");
    tagUpdtOpts options{};
    if (const FileDescriptor file = OpenOptionFile(path.c_str())) {
        ReadFull(file.Get(), BytesOf(options));
    } else {
        options = kStartUpdateOptions;
        if (const FileDescriptor made = CreateOptionFile(path.c_str())) {
            WriteAll(made.Get(), BytesOf(options));
        }
    }
    ShareWithEveryone(path.c_str());
    return options;
}
