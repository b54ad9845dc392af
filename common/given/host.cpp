#include "common/given/host.h"

#include <string>
#include <sys/utsname.h>

#include "common/text_field.h"

int GetOSDetail(char* buffer) {
    utsname system{};
    if (buffer == nullptr || ::uname(&system) != 0) {
        return 0;
    }
    std::string text(common::FieldText(system.sysname));
    // The cut, wrong as it is from release 10 of a branch on, is what servers know the system by.
    text.append("-").append(common::FieldText(system.release).substr(0, 3));
    common::CopyToField({buffer, kOsDetailSize}, text);
    return 1;
}
