#include "product/virlog/formats.h"

#include <algorithm>

namespace {

void AppendPadded(std::string& out, unsigned int number, std::size_t digits) {
    const std::string text = std::to_string(number);
    out.append(digits - std::min(digits, text.size()), '0');
    out += text;
}

}  // namespace

std::optional<Format> FormatOfName(std::string_view name) {
    if (name == "table") {
        return Format::kTable;
    }
    if (name == "csv") {
        return Format::kCsv;
    }
    return name == "json" ? std::optional(Format::kJson) : std::nullopt;
}

std::unique_ptr<RecordWriter> MakeWriter(Format format,
                                         std::span<const virus_log::VirusLogEntry> entries) {
    switch (format) {
        case Format::kCsv:
            return MakeCsvWriter();
        case Format::kJson:
            return MakeJsonWriter();
        case Format::kTable:
            break;
    }
    return MakeTableWriter(entries);
}

void AppendTime(std::string& out, const tagSYSTEMTIME& time, char separator) {
    AppendPadded(out, time.year, 4);
    out += '-';
    AppendPadded(out, time.month, 2);
    out += '-';
    AppendPadded(out, time.day, 2);
    out += separator;
    AppendPadded(out, time.hour, 2);
    out += ':';
    AppendPadded(out, time.minute, 2);
    out += ':';
    AppendPadded(out, time.second, 2);
}
