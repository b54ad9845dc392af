#include "tests/unit/scan/engine_callback_fixture.h"

std::vector<LogRecord> logRecords;
bool reportedBefore = false;

// The linker sends the program's calls of ZQVRAddRecVirusReport here (--wrap).
bool WrappedAddRecord(unsigned int component, const char* file, const char* virus,
                      const char* action) asm("__wrap__Z21ZQVRAddRecVirusReportjPKcS0_S0_");
bool WrappedAddRecord(unsigned int component, const char* file, const char* virus,
                      const char* action) {
    logRecords.push_back({component, file, virus, action});
    return true;
}
