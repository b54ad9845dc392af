#pragma once

#include <string>
#include <string_view>

/// What HandleService does with a service.
enum ServiceOperation : int {
    kServiceStart = 1,
    kServiceRestart = 2,
    kServiceStop = 3,
    kServiceStatus = 4,
};

/// Why HandleService did nothing.
enum ServiceError : unsigned int {
    kServiceMissing = 120,
    kServiceUnknownOperation = 121,
};

namespace common {

/// The path of the script of the service `name`: in "/etc/init.d/rc.d/" when it is there, else in
/// "/etc/init.d/". Empty when there is none, and for a name that is no file name. Any thread.
std::string ServiceScript(std::string_view name);

}  // namespace common

/// Runs the script of the service `name`, from "/etc/init.d/rc.d/" or else "/etc/init.d/", through
/// the shell with the word of `operation`, and waits for it.
///
/// 1 whatever the script's exit status, with `*error` 0. 0 with a ServiceError in `*error` when
/// nothing was run, and for a null argument. Any thread but the GUI's should the script be slow.
int HandleService(const char* name, int operation, unsigned int* error);
