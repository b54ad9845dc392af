#include "product/vault/listing.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <vector>

#include "common/escaped_text.h"
#include "common/times.h"
#include "common/users.h"

namespace vault {

namespace {

constexpr std::size_t kColumns = 6;
constexpr std::size_t kSizeColumn = 3;
using Row = std::array<std::string, kColumns>;

// Any number may stand in an item; the calendar ends somewhere.
std::string TimeText(std::int64_t seconds) {
    std::int64_t year = 0;
    const auto time = static_cast<std::time_t>(seconds);
    std::tm probe{};
    if (localtime_r(&time, &probe) != nullptr) {
        year = std::int64_t{probe.tm_year} + 1900;
    }
    return year < 1 || year > 9999 ? std::to_string(seconds) + " seconds after 1970"
                                   : common::FormatTime("%Y-%m-%d %H:%M:%S", common::LocalTm(time));
}

std::string UserText(uid_t user) {
    const auto name = common::UserName(user);
    return name ? common::Escaped(*name) : std::to_string(user);
}

std::string ModeText(mode_t mode) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%04o", static_cast<unsigned int>(mode));
    return text.data();
}

// Bytes, not places on a screen: names that others have chosen stand in the last column only.
void Append(std::string& out, const Row& row, const std::array<std::size_t, kColumns>& widths) {
    for (std::size_t i = 0; i < kColumns; ++i) {
        const std::string padding(widths[i] - std::min(widths[i], row[i].size()), ' ');
        out += i == kSizeColumn ? padding + row[i] : row[i];
        if (i + 1 < kColumns) {
            out += (i == kSizeColumn ? "" : padding) + "  ";
        }
    }
    out += '\n';
}

}  // namespace

std::string TableOf(const Collection& collection, std::size_t& damaged) {
    std::vector<Row> rows{{"ITEM", "KEPT", "OWNER", "SIZE", "VIRUS", "PATH"}};
    damaged = 0;
    for (const PlacedItem& item : collection.Items()) {
        Row row{item.entry.name, TimeText(item.entry.kept), UserText(item.owner), "?", "?", ""};
        std::string why;
        if (const auto reader = collection.Read(item, why)) {
            row[kSizeColumn] = std::to_string(reader->Facts().size);
            row[4] = common::Escaped(reader->Facts().virusName);
            row[5] = common::Escaped(reader->Facts().path);
        } else {
            row[5] = "(" + why + ")";
            ++damaged;
        }
        rows.push_back(std::move(row));
    }
    std::array<std::size_t, kColumns> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i + 1 < kColumns; ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string out;
    for (const Row& row : rows) {
        Append(out, row, widths);
    }
    return out;
}

std::string JsonOf(const Collection& collection, std::size_t& damaged) {
    std::string out;
    damaged = 0;
    for (const PlacedItem& item : collection.Items()) {
        nlohmann::ordered_json object{
            {"item", item.entry.name}, {"kept", item.entry.kept}, {"owner", UserText(item.owner)}};
        std::string why;
        if (const auto reader = collection.Read(item, why)) {
            object["size"] = reader->Facts().size;
            object["virus"] = common::Escaped(reader->Facts().virusName);
            object["path"] = common::Escaped(reader->Facts().path);
        } else {
            object["problem"] = common::Escaped(why);
            ++damaged;
        }
        out += object.dump();
        out += '\n';
    }
    return out;
}

std::string DescriptionOf(const std::string& name, const ItemFacts& facts) {
    const auto group = std::to_string(facts.group);
    std::string out = "Item:      " + name + "\n";
    out += "Path:      " + common::Escaped(facts.path) + "\n";
    out += "Virus:     " + common::Escaped(facts.virusName) + "\n";
    out += "Database:  " + common::Escaped(facts.database) + "\n";
    out += "Kept:      " + TimeText(facts.kept) + "\n";
    out += "Size:      " + std::to_string(facts.size) + "\n";
    out += "SHA-256:   " + facts.sha256 + "\n";
    out += "Owner:     " + UserText(facts.owner) + ", group " + group + "\n";
    out += "Mode:      " + ModeText(facts.mode) + "\n";
    out += "Modified:  " + TimeText(facts.modified.tv_sec) + "\n";
    out += "Accessed:  " + TimeText(facts.accessed.tv_sec) + "\n";
    for (const ExtendedAttribute& attribute : facts.attributes) {
        out += "Attribute: " + common::Escaped(attribute.name) + ", " +
               std::to_string(attribute.value.size()) +
               (attribute.value.size() == 1 ? " byte\n" : " bytes\n");
    }
    return out;
}

}  // namespace vault
