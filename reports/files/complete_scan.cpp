#include "reports/files/complete_scan.h"

#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <utility>

#include "common/io.h"
#include "common/paths.h"
#include "common/shared_file.h"
#include "common/times.h"

void WriteCmpScnRptforAdmin() {
    const std::string path = common::InProgramDirectory("reports/CmplScn.dat");
    const common::FileDescriptor file = common::OpenSharedFile(path.c_str(), O_RDWR, 0600);
    if (!file) {
        return;
    }
    // Whole seconds: whoever reads the record compares it with times that have no milliseconds.
    const std::tm parts = common::LocalTm(std::time(nullptr));
    tagSYSTEMTIME now{};
    TmToSystemTime(&parts, &now);
    common::WriteAll(file.Get(), common::BytesOf(std::as_const(now)));
    (void)::fchmod(file.Get(), 0666);
}
