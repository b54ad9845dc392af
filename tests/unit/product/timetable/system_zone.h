#pragma once

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "product/timetable/zone.h"

// The zones that are installed here, as this product reads them and as the C library does.

inline std::string ZoneBytes(const std::string& name) {
    std::ifstream file("/usr/share/zoneinfo/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline timetable::Zone ZoneNamed(const std::string& name) {
    auto zone = timetable::Zone::FromFile(ZoneBytes(name));
    if (!zone) {
        throw std::runtime_error("no zone " + name);
    }
    return *zone;
}

/// Makes the C library use a zone, and UTC again at the end.
class LibraryZone {
public:
    explicit LibraryZone(const std::string& name) { Set(":" + name); }
    ~LibraryZone() { Set("UTC"); }
    LibraryZone(const LibraryZone&) = delete;
    LibraryZone& operator=(const LibraryZone&) = delete;

    /// Local time at a moment, as seconds since 1970 of a clock on the wall.
    static std::int64_t LocalOf(std::time_t moment) {
        std::tm local{};
        ::localtime_r(&moment, &local);
        return moment + local.tm_gmtoff;
    }

private:
    static void Set(const std::string& name) {
        ::setenv("TZ", name.c_str(), 1);
        ::tzset();
    }
};

/// A moment, written as "2011-03-27 02:30:00" of UTC.
inline std::chrono::sys_seconds Utc(const std::string& text) {
    std::tm time{};
    if (::strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &time) == nullptr) {
        throw std::runtime_error("no time: " + text);
    }
    return std::chrono::sys_seconds(std::chrono::seconds(::timegm(&time)));
}

inline std::chrono::local_seconds Local(const std::string& text) {
    return std::chrono::local_seconds(Utc(text).time_since_epoch());
}

inline std::chrono::local_days Day(const std::string& text) {
    return std::chrono::floor<std::chrono::days>(Local(text + " 00:00:00"));
}
