#include "product/fetch/connection_test.h"

#include "product/fetch/address.h"
#include "product/signed_index/index.h"

namespace fetch {

namespace {

constexpr std::chrono::seconds kLimit{10};

// That something comes is all that is asked.
class AnySink : public HttpSink {
public:
    bool Begin(const HttpHead& /*head*/) override {
        m_hasBegun = true;
        return false;
    }
    bool Take(std::span<const std::byte> /*bytes*/) override { return false; }

    [[nodiscard]] bool HasBegun() const { return m_hasBegun; }

private:
    bool m_hasBegun = false;
};

Connection ConnectionOf(HttpEnd end) {
    switch (end) {
        case HttpEnd::kNameNotFound:
            return Connection::kNameNotFound;
        case HttpEnd::kRefused:
            return Connection::kRefused;
        case HttpEnd::kProxyAuthentication:
            return Connection::kProxyAuthentication;
        case HttpEnd::kCertificate:
            return Connection::kCertificate;
        case HttpEnd::kNoAnswer:
        case HttpEnd::kTooSlow:
            return Connection::kNoAnswer;
        default:
            return Connection::kFailed;
    }
}

}  // namespace

const char* NameOf(Connection connection) {
    switch (connection) {
        case Connection::kOk:
            return "ok";
        case Connection::kNameNotFound:
            return "name-not-found";
        case Connection::kRefused:
            return "refused";
        case Connection::kProxyAuthentication:
            return "proxy-authentication";
        case Connection::kCertificate:
            return "certificate";
        case Connection::kNoAnswer:
            return "no-answer";
        case Connection::kFailed:
            break;
    }
    return "failed";
}

ConnectionResult TestConnection(const Proxy& proxy, const std::string& address,
                                const OfficialMirrors& official, Listener& listener) {
    if (!PartsOf(address)) {
        return {Connection::kFailed, "this is no address of a web server"};
    }
    Progress progress(listener);
    Limits limits;
    limits.connect = kLimit;
    limits.whole = kLimit;
    HttpClient client(proxy, limits, progress);
    AnySink sink;
    const HttpAnswer answer =
        client.Get({InFolder(address, signed_index::kIndexName), 0, {}, {}}, sink);
    const bool isOfficial = IsOfficial(address, official.domain);
    if (sink.HasBegun() || (isOfficial && answer.end == HttpEnd::kAnswered)) {
        return {Connection::kOk, {}};
    }
    return {ConnectionOf(answer.end), answer.words};
}

}  // namespace fetch
