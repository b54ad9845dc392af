#include "tests/support/noted_syslog.h"

#include <array>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <utility>

namespace {

std::mutex noting;
std::string noted;

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming,cert-dcl37-c,bugprone-reserved-identifier,cert-dcl50-cpp)
extern "C" void __wrap_syslog(int priority, const char* format, ...) {
    std::array<char, 4096> text{};
    std::va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    const std::scoped_lock lock(noting);
    noted += std::to_string(priority) + " " + text.data() + "\n";
}

std::string TakeNotedSyslog() {
    const std::scoped_lock lock(noting);
    return std::exchange(noted, {});
}
