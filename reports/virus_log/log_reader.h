#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "abi/system_time.h"

namespace virus_log {

/// One record of the virus log, its texts as bytes: UTF-8 as far as the names were.
struct VirusLogEntry {
    std::uint32_t component;
    std::string virusName;
    std::string action;
    tagSYSTEMTIME time;  ///< local
    std::string userName;
    std::string filePath;
    std::string domainName;
};

/// A virus log as it was read.
struct VirusLogContents {
    int majorVersion = 0;  ///< of the virus database, when the newest record was added
    int minorVersion = 0;
    std::string computerName;
    std::vector<VirusLogEntry> entries;  ///< oldest first
    std::uint64_t damagedBytes = 0;      ///< bytes between records that belong to none
    std::uint32_t missing = 0;           ///< of a torn log: records counted and not found
};

enum class ReadLogResult {
    kOk,
    kCannotOpen,  ///< errno tells why
    kNotALog,     ///< shorter than its head, or its head contradicts its size
};

/// Reads the copy at `path` that ZQVRGetVirusReportFile has made.
///
/// The file is not trusted: a torn record, and one with impossible lengths, is passed over and told
/// about, and reading goes on at the next record that the table of offsets names. Where all records
/// are whole the count in the head is not looked at. Any thread.
ReadLogResult ReadVirusLogCopy(const char* path, VirusLogContents& out);

/// The same with the copy open for reading; it stays the caller's.
ReadLogResult ReadVirusLogCopy(int fd, VirusLogContents& out);

/// The same with the first `size` bytes of an open record file, which has no table: a torn record
/// ends what can be read of it.
ReadLogResult ReadRecordFile(int fd, std::uint64_t size, VirusLogContents& out);

}  // namespace virus_log
