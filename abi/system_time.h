#pragma once

#include <cstddef>
#include <cstdint>

/// A date and time as it is stored in files and exchanged with the product's libraries.
struct tagSYSTEMTIME {
    std::uint16_t year;       ///< full year, e.g. 2026
    std::uint16_t month;      ///< 1 to 12
    std::uint16_t dayOfWeek;  ///< see the function that fills the record
    std::uint16_t day;        ///< 1 to 31
    std::uint16_t hour;
    std::uint16_t minute;
    std::uint16_t second;
    std::uint16_t milliseconds;
};
using tagZQSYSTEMTIME = tagSYSTEMTIME;

static_assert(sizeof(tagSYSTEMTIME) == 16);
static_assert(offsetof(tagSYSTEMTIME, year) == 0);
static_assert(offsetof(tagSYSTEMTIME, month) == 2);
static_assert(offsetof(tagSYSTEMTIME, dayOfWeek) == 4);
static_assert(offsetof(tagSYSTEMTIME, day) == 6);
static_assert(offsetof(tagSYSTEMTIME, hour) == 8);
static_assert(offsetof(tagSYSTEMTIME, minute) == 10);
static_assert(offsetof(tagSYSTEMTIME, second) == 12);
static_assert(offsetof(tagSYSTEMTIME, milliseconds) == 14);

/// The version record of the virus database: the first 20 bytes of "scanver.cnf", and what the scan
/// engine's version entry point fills in. Shown as "%u.%02u".
struct tagZQVERINFO {
    std::uint16_t major;
    std::uint16_t minor;
    tagZQSYSTEMTIME databaseDate;
};

static_assert(sizeof(tagZQVERINFO) == 20);
static_assert(offsetof(tagZQVERINFO, major) == 0);
static_assert(offsetof(tagZQVERINFO, minor) == 2);
static_assert(offsetof(tagZQVERINFO, databaseDate) == 4);
