#include "update/files/update_options.h"

#include <string>

#include "common/io.h"
#include "common/option_file.h"
#include "common/run_state.h"

tagUpdtOpts LoadUpdateOptionsAtStart() {
    const std::string path = std::string(g_szAppPath) + "zqupdate.opt";
    tagUpdtOpts options{};
    FileDescriptor file = OpenOptionFile(path.c_str());
    if (file) {
        ReadFull(file.Get(), BytesOf(options));
    } else {
        options = kStartUpdateOptions;
        file = CreateOptionFile(path.c_str());
        if (file) {
            WriteAll(file.Get(), BytesOf(options));
        }
    }
    ShareWithEveryone(file);
    return options;
}
