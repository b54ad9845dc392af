#include "product/updturl/request.h"

#include <algorithm>
#include <charconv>

#include "common/percent_text.h"
#include "common/text_field.h"

namespace updturl {
namespace {

constexpr std::string_view kAddressKey = "address";
constexpr std::string_view kNoAddressesKey = "no-addresses";

class RequestWriter {
public:
    void Add(std::string_view key, std::string_view value) {
        std::string line(key);
        line.append(" ").append(common::PercentEncoded(value)).append("\n");
        m_fits =
            m_fits && line.size() <= kLongestLine && value.find('\0') == std::string_view::npos;
        m_text += line;
    }

    void AddUnlessEmpty(std::string_view key, std::string_view value) {
        if (!value.empty()) {
            Add(key, value);
        }
    }

    std::optional<std::string> Finish() {
        m_text.append(kGoLine).append("\n");
        if (!m_fits || m_text.size() > kLargestRequest) {
            return std::nullopt;
        }
        return std::move(m_text);
    }

private:
    std::string m_text;
    bool m_fits = true;
};

std::optional<std::uint16_t> NumberOf(std::string_view text) {
    std::uint16_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc{} || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

bool TakeFlag(const std::string& value, bool& flag) {
    flag = value == "1";
    return flag || value == "0";
}

bool TakePort(const std::string& value, std::uint16_t& port) {
    const auto number = NumberOf(value);
    port = number.value_or(0);
    return number.has_value();
}

bool TakeSource(const std::string& value, Source& source) {
    source = value == "index" ? Source::kIndex : Source::kSite;
    return value == "index" || value == "site";
}

/// The field that a key fills with any text; null for every other key.
std::string* TextField(Request& request, std::string_view key) {
    if (key == "backup") {
        return &request.backupFolder.emplace();
    }
    if (key == "folder") {
        return &request.folder;
    }
    if (key == "application") {
        return &request.applicationDirectory;
    }
    if (key == "download") {
        return &request.downloadDirectory;
    }
    if (key == "proxy-server") {
        return &request.proxy.server;
    }
    if (key == "proxy-user") {
        return &request.proxy.user;
    }
    return key == "proxy-password" ? &request.proxy.password : nullptr;
}

}  // namespace

Proxy ProxyOf(const tagZQINETCONFIG& settings) {
    if (settings.useProxy == 0) {
        return {};
    }
    return {
        .server = std::string(common::FieldText(settings.server)),
        .port = settings.port,
        .user = std::string(common::FieldText(settings.user)),
        .password = std::string(common::FieldText(settings.password)),
    };
}

std::optional<std::string> RequestText(const Request& request) {
    RequestWriter writer;
    writer.Add("source", request.source == Source::kIndex ? "index" : "site");
    writer.Add("administrator", request.isFromAdministrator ? "1" : "0");
    if (request.backupFolder) {
        writer.Add("backup", *request.backupFolder);
    }
    writer.AddUnlessEmpty("folder", request.folder);
    writer.AddUnlessEmpty("application", request.applicationDirectory);
    writer.AddUnlessEmpty("download", request.downloadDirectory);
    writer.AddUnlessEmpty("proxy-server", request.proxy.server);
    writer.Add("proxy-port", std::to_string(request.proxy.port));
    writer.AddUnlessEmpty("proxy-user", request.proxy.user);
    writer.AddUnlessEmpty("proxy-password", request.proxy.password);
    if (!request.addresses) {
        writer.Add(kNoAddressesKey, "1");
        return writer.Finish();
    }
    for (const std::string& address : *request.addresses) {
        writer.Add(kAddressKey, address);
    }
    return writer.Finish();
}

RequestReader::State RequestReader::Add(std::string_view line) {
    if (m_state != State::kReading) {
        return m_state;
    }
    if (line == kGoLine) {
        const bool hasNone = !IsNew(kNoAddressesKey);
        if (hasNone && m_request.addresses) {
            return Refuse(kNoAddressesKey);
        }
        if (!hasNone && !m_request.addresses) {
            m_request.addresses.emplace();
        }
        m_state = State::kWhole;
        return m_state;
    }
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) {
        return Refuse(line);
    }
    const std::string_view key = line.substr(0, blank);
    const auto value = common::PercentDecoded(line.substr(blank + 1));
    if (!value || (key != kAddressKey && !IsNew(key)) || !Take(key, *value)) {
        return Refuse(key);
    }
    return m_state;
}

bool RequestReader::IsNew(std::string_view key) {
    if (std::find(m_keysSeen.begin(), m_keysSeen.end(), key) != m_keysSeen.end()) {
        return false;
    }
    m_keysSeen.emplace_back(key);
    return true;
}

bool RequestReader::Take(std::string_view key, const std::string& value) {
    if (key == "source") {
        return TakeSource(value, m_request.source);
    }
    if (key == "administrator") {
        return TakeFlag(value, m_request.isFromAdministrator);
    }
    if (key == "proxy-port") {
        return TakePort(value, m_request.proxy.port);
    }
    if (key == kNoAddressesKey) {
        return value == "1";
    }
    if (key == kAddressKey) {
        if (!m_request.addresses) {
            m_request.addresses.emplace();
        }
        m_request.addresses->push_back(value);
        return true;
    }
    std::string* const field = TextField(m_request, key);
    if (field == nullptr) {
        return false;
    }
    *field = value;
    return true;
}

RequestReader::State RequestReader::Refuse(std::string_view line) {
    m_state = State::kRefused;
    // Of the line no more than its key: what stands behind it may be a password.
    m_reason =
        "the request is not understood at \"" + common::PercentEncodedWithin(line, 40) + "\"";
    return m_state;
}

}  // namespace updturl
