// add_one_record DIRECTORY PATH: adds one record to the log below the program directory DIRECTORY.
// Asks for its parent just before and just after, which marks the place in a trace of system calls.

#include <span>
#include <unistd.h>

#include "common/run_state.h"
#include "common/text_field.h"
#include "reports/virus_log/virus_log.h"

int main(int argc, char** argv) {
    if (argc != 3 || !common::CopyToField(g_szAppPath, argv[1])) {
        return 2;
    }
    (void)::getppid();
    const bool added =
        ZQVRAddRecVirusReport(virus_log::kScannerUiComponent, argv[2], "Virus", "File is skipped");
    (void)::getppid();
    return added ? 0 : 1;
}
