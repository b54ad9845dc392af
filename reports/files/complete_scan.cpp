#include "reports/files/complete_scan.h"

#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "common/io.h"
#include "common/run_state.h"
#include "common/shared_file.h"
#include "common/text_field.h"
#include "common/times.h"

void WriteCmpScnRptforAdmin() {
    const std::string path = std::string(FieldText(g_szAppPath)) + "reports/CmplScn.dat";
    const FileDescriptor file = OpenSharedFile(path.c_str(), O_RDWR, 0600);
    if (!file) {
        return;
    }
    tagSYSTEMTIME now{};
    GetLocalTime(&now);
    WriteAll(file.Get(), BytesOf(std::as_const(now)));
    (void)::fchmod(file.Get(), 0666);
}
