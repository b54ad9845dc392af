#include "common/exception_log.h"

#include <exception>
#include <string>

#include "common/log.h"
#include "common/run_state.h"

namespace common {

namespace {

std::string ReasonOfCurrentException() {
    try {
        throw;
    } catch (const std::exception& exception) {
        return exception.what();
    } catch (...) {
        return "an exception of no known type";
    }
}

}  // namespace

void LogException(const char* where) noexcept {
    try {
        const std::string line = std::string("In ") + where + ": " + ReasonOfCurrentException();
        WriteToLog(g_szLogFile, line.c_str());
    } catch (...) {
        return;  // no memory for the line either
    }
}

}  // namespace common
