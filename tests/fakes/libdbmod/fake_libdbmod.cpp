// A settings database that answers as its script says. The script is the file named by
// FAKE_LIBDBMOD_SCRIPT, four numbers: result of reading the setting, its "password set" field,
// result of the password check, its outcome code. Without a script: readable, no password.
// The calls are written to the file named by FAKE_LIBDBMOD_LOG.

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <string>

#include "abi/libdbmod.h"
#include "common/file_descriptor.h"
#include "common/io.h"

namespace {

struct Script {
    int readResult = 1;
    std::uint32_t passwordSet = 0;
    int checkResult = 1;
    std::uint32_t outcome = kDbPasswordRefused;
};

Script ReadScript() {
    Script script;
    if (const char* path = std::getenv("FAKE_LIBDBMOD_SCRIPT"); path != nullptr) {
        std::ifstream(path) >> script.readResult >> script.passwordSet >> script.checkResult >>
            script.outcome;
    }
    return script;
}

void Note(const std::string& line) {
    if (const char* path = std::getenv("FAKE_LIBDBMOD_LOG"); path != nullptr) {
        const common::FileDescriptor log(
            open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        common::WriteAll(log.Get(), line + "\n");
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int AvGetClientSettingData(
    unsigned int category, unsigned int value, tagCLIENTSETTINGDATA* data, tagDBRESULT* result) {
    const Script script = ReadScript();
    Note("get " + std::to_string(category) + " " + std::to_string(value));
    data->passwordSet = script.passwordSet;
    result->code = script.readResult != 0 ? kDbOk : kDbUnreadable;
    return script.readResult;
}

extern "C" __attribute__((visibility("default"))) int AvVerfiyPassword(const char* password,
                                                                       tagPASSWORDRECORD* record,
                                                                       tagDBRESULT* result) {
    const Script script = ReadScript();
    Note(std::string("verify ") + password);
    record->isSet = script.passwordSet;
    result->code = script.outcome;
    return script.checkResult;
}
