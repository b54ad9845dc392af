#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "reports/virus_log/log_reader.h"

enum class Format { kTable, kCsv, kJson };

/// "table", "csv" or "json".
std::optional<Format> FormatOfName(std::string_view name);

/// Writes records as text, piece by piece: Begin, Record for each of them in order, End. All texts
/// of the log go through the rule of escape.h.
class RecordWriter {
public:
    RecordWriter() = default;
    virtual ~RecordWriter() = default;
    RecordWriter(const RecordWriter&) = delete;
    RecordWriter& operator=(const RecordWriter&) = delete;

    /// Each appends to `out`.
    virtual void Begin(std::string& out) = 0;
    virtual void Record(std::string& out, const virus_log::VirusLogEntry& entry) = 0;
    virtual void End(std::string& out) = 0;
};

/// Aligned columns: time, virus, action, user, path. The widths are those of `entries`, which are
/// the records to come.
std::unique_ptr<RecordWriter> MakeTableWriter(std::span<const virus_log::VirusLogEntry> entries);

/// RFC 4180 with a header line. A field that a spreadsheet would take for a formula begins with an
/// escape.
std::unique_ptr<RecordWriter> MakeCsvWriter();

/// RFC 8259: an array with one object a record, each in a line.
std::unique_ptr<RecordWriter> MakeJsonWriter();

std::unique_ptr<RecordWriter> MakeWriter(Format format,
                                         std::span<const virus_log::VirusLogEntry> entries);

/// Appends "YYYY-MM-DD" + `separator` + "HH:MM:SS". A time that does not exist is written with the
/// numbers it has.
void AppendTime(std::string& out, const tagSYSTEMTIME& time, char separator);
