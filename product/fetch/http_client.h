#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "product/fetch/progress.h"

namespace fetch {

/// The proxy that the settings name. Proxies that the environment names are never used.
struct Proxy {
    std::string server;      ///< empty for none; may begin with http://, https://, socks5(h)://
    std::uint16_t port = 0;  ///< 0: the one that `server` names, or the usual one
    std::string user;        ///< with one, the proxy is asked to authenticate
    std::string password;
};

/// False when the text before "://" in the server is none of http, https, socks5 and socks5h.
bool IsKnownProxy(const Proxy& proxy);

/// How long a transfer may take.
struct Limits {
    std::chrono::seconds connect{20};
    std::chrono::seconds whole{7200};  ///< for one transfer
    std::chrono::seconds slow{30};     ///< this long below `slowBytes` a second ends it
    long slowBytes = 500;
    std::chrono::milliseconds firstPause{1000};  ///< before the second try; the third waits thrice
    std::chrono::milliseconds otherRun{3000};    ///< waited for another run to end
};

/// How a transfer ended.
enum class HttpEnd {
    kAnswered,  ///< with HttpAnswer::status
    kStopped,   ///< the listener asked for it
    kBadAddress,
    kNameNotFound,
    kRefused,  ///< nothing listens there
    kProxyAuthentication,
    kCertificate,
    kNoAnswer,  ///< in time
    kTooSlow,
    kCut,                ///< before all had come
    kForbiddenRedirect,  ///< to http, or to a page that sends on and on
    kSinkFailed,         ///< HttpSink said no
    kFailed,
};

/// What the server says before the data.
struct HttpHead {
    long status = 0;                           ///< 200 or 206
    std::optional<std::uint64_t> length;       ///< of what comes, in bytes
    std::optional<std::uint64_t> rangeBegins;  ///< of 206: where in the file it begins
};

/// Takes what is downloaded. False ends the transfer with kSinkFailed.
class HttpSink {
public:
    virtual ~HttpSink() = default;
    virtual bool Begin(const HttpHead& head) = 0;
    virtual bool Take(std::span<const std::byte> bytes) = 0;
};

struct HttpRequest {
    std::string address;
    std::uint64_t from = 0;  ///< asks for what begins at this byte
    std::string etag;        ///< asks only for what has another one; empty: unconditional
    std::string modified;    ///< asks only for what is newer; empty: unconditional
};

struct HttpAnswer {
    HttpEnd end = HttpEnd::kFailed;
    long status = 0;
    std::string etag;
    std::string modified;
    std::chrono::seconds retryAfter{0};  ///< what the server asks for, 0 for nothing
    std::string words;                   ///< what went wrong, for a log
};

/// Downloads by http and https, one transfer after the other, over connections that are kept.
/// Certificates are checked, redirects followed as MayRedirect allows. For one thread.
class HttpClient {
public:
    HttpClient(Proxy proxy, Limits limits, Progress& progress);
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    /// Downloads into `sink`, which sees only bodies of status 200 and 206.
    HttpAnswer Get(const HttpRequest& request, HttpSink& sink);

private:
    struct Transfer;
    struct Handles;

    void SetUp(Transfer& transfer, const HttpRequest& request);
    void SetUpProxy();
    HttpAnswer GetOnce(const HttpRequest& request, HttpSink& sink, std::string& redirect);
    bool Perform(Transfer& transfer);
    HttpAnswer AnswerOf(const Transfer& transfer);
    bool IsRefusedByProxy(const HttpRequest& request);

    Proxy m_proxy;
    Limits m_limits;
    Progress& m_progress;
    std::unique_ptr<Handles> m_handles;
};

}  // namespace fetch
