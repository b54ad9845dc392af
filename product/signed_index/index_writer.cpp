#include <nlohmann/json.hpp>

#include "product/signed_index/index.h"

namespace signed_index {

std::string FormatIndex(const Index& index) {
    nlohmann::ordered_json files = nlohmann::ordered_json::array();
    for (const IndexedFile& file : index.files) {
        files.push_back({{"name", file.name},
                         {"size", file.size},
                         {"sha256", file.sha256},
                         {"version", file.version}});
    }
    const nlohmann::ordered_json document = {{"format", 1},
                                             {"serial", index.serial},
                                             {"made", FormatUtcTime(index.made)},
                                             {"expires", FormatUtcTime(index.expires)},
                                             {"files", std::move(files)}};
    constexpr int kIndent = 1;
    using Json = nlohmann::ordered_json;
    // A name of any bytes is written somehow; no reader accepts it.
    return document.dump(kIndent, ' ', true, Json::error_handler_t::replace) + "\n";
}

}  // namespace signed_index
