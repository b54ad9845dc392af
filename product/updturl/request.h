#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "abi/updturl.h"
#include "product/updturl/line_reader.h"

// What a run of the updater is asked for, as it travels on the standard input of `corvane-update`:
// lines "key value", the value percent-encoded, and the line "go" at the end. Any thread.

namespace updturl {

enum class Source {
    kSite,   ///< the addresses
    kIndex,  ///< the definition files in a folder
};

/// An empty server means no proxy, an empty user one that asks for no password.
struct Proxy {
    std::string server;
    std::uint16_t port = 0;
    std::string user;
    std::string password;

    bool operator==(const Proxy&) const = default;
};

/// What a record of settings says of it.
Proxy ProxyOf(const tagZQINETCONFIG& settings);

struct Request {
    Source source = Source::kSite;
    bool isFromAdministrator = false;
    std::optional<std::string> backupFolder;
    std::string folder;  ///< of kIndex
    std::string applicationDirectory;
    std::string downloadDirectory;
    Proxy proxy;
    /// In the order in which they are tried; none when the list could not be read.
    std::optional<std::vector<std::string>> addresses;

    bool operator==(const Request&) const = default;
};

/// How many bytes a request may have in all.
inline constexpr std::size_t kLargestRequest = std::size_t{1024} * 1024;

inline constexpr std::string_view kGoLine = "go";
/// After the request: end what has begun. The end of the input means the same.
inline constexpr std::string_view kStopLine = "stop";

/// The request with its last line. None when it does not fit into kLongestLine or kLargestRequest,
/// or when a text holds a zero byte.
std::optional<std::string> RequestText(const Request& request);

/// Puts a request together from its lines, and believes none of them.
class RequestReader {
public:
    enum class State {
        kReading,  ///< "go" has not come yet
        kWhole,
        kRefused,  ///< a key that is unknown or stands twice, or a value out of its range
    };

    /// Takes the next line, without its newline. Nothing changes once the state is not kReading.
    State Add(std::string_view line);

    [[nodiscard]] State Now() const { return m_state; }

    /// What was read; texts whose key did not come are empty.
    [[nodiscard]] const Request& Get() const { return m_request; }

    /// In words, why the request was refused.
    [[nodiscard]] const std::string& Reason() const { return m_reason; }

private:
    State Refuse(std::string_view line);
    bool Take(std::string_view key, const std::string& value);
    bool IsNew(std::string_view key);

    State m_state = State::kReading;
    Request m_request;
    std::string m_reason;
    std::vector<std::string> m_keysSeen;
};

}  // namespace updturl
