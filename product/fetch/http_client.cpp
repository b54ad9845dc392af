#include "product/fetch/http_client.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <curl/curl.h>
#include <mutex>
#include <string_view>
#include <utility>

#include "common/string_algorithms.h"
#include "product/fetch/address.h"

namespace fetch {

namespace {

constexpr int kMaxRedirects = 5;
constexpr std::size_t kMaxHeaderValue = 1024;
constexpr std::size_t kMaxErrorPage = std::size_t{64} * 1024;
constexpr char kProxyRefuses[] = "the proxy asks for another user or password";

void InitializeCurl() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::optional<std::uint64_t> NumberOf(std::string_view text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

// "bytes 100-199/200"
std::optional<std::uint64_t> RangeBegin(std::string_view text) {
    constexpr std::string_view kUnit = "bytes ";
    if (!text.starts_with(kUnit)) {
        return std::nullopt;
    }
    text.remove_prefix(kUnit.size());
    return NumberOf(text.substr(0, text.find('-')));
}

// Seconds from now, by a number of them or by a date.
std::chrono::seconds RetryAfter(std::string_view text) {
    constexpr std::uint64_t kLongest = 86'400;
    if (const auto seconds = NumberOf(text)) {
        return std::chrono::seconds(std::min(*seconds, kLongest));
    }
    const std::time_t moment = curl_getdate(std::string(text).c_str(), nullptr);
    const std::time_t now = std::time(nullptr);
    if (moment <= now) {
        return {};
    }
    return std::chrono::seconds(std::min(static_cast<std::uint64_t>(moment - now), kLongest));
}

bool IsSocks(const Proxy& proxy) {
    return text::EqualsIgnoringCase(std::string_view(proxy.server).substr(0, 5), "socks");
}

constexpr long kAuthenticate = 407;
constexpr long kUnauthorized = 401;

/// Whether the proxy opens no tunnel because of who asks: the status of the tunnel is its own.
bool IsTunnelRefused(CURL* easy, bool hasUser) {
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_HTTP_CONNECTCODE, &status);
    return status == kAuthenticate || (hasUser && status == kUnauthorized);
}

/// Who wants to know who asks.
enum class Asking { kNobody, kProxy, kProxyOrServer };

Asking WhoAuthenticates(CURL* easy, CURLcode code, const Proxy& proxy) {
    if (proxy.server.empty()) {
        return Asking::kNobody;
    }
    if (IsSocks(proxy)) {
        // What it says to a wrong password, to none, and by leaving without a word. Any status is
        // the server's.
        long why = 0;
        curl_easy_getinfo(easy, CURLINFO_PROXY_ERROR, &why);
        const bool isAsked =
            code == CURLE_PROXY &&
            (why == CURLPX_USER_REJECTED || why == CURLPX_NO_AUTH || why == CURLPX_RECV_AUTH);
        return isAsked ? Asking::kProxy : Asking::kNobody;
    }
    // Some proxies answer a wrong password as if they were the server.
    const bool hasUser = !proxy.user.empty();
    const char* scheme = nullptr;
    curl_easy_getinfo(easy, CURLINFO_SCHEME, &scheme);
    if (scheme != nullptr && text::EqualsIgnoringCase(scheme, "https")) {
        // Through the tunnel only the server answers.
        return IsTunnelRefused(easy, hasUser) ? Asking::kProxy : Asking::kNobody;
    }
    long status = 0;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &status);
    if (status == kAuthenticate) {
        return Asking::kProxy;
    }
    return hasUser && status == kUnauthorized ? Asking::kProxyOrServer : Asking::kNobody;
}

HttpEnd EndOf(CURLcode code) {
    switch (code) {
        case CURLE_OK:
            return HttpEnd::kAnswered;
        case CURLE_URL_MALFORMAT:
        case CURLE_UNSUPPORTED_PROTOCOL:
            return HttpEnd::kBadAddress;
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return HttpEnd::kNameNotFound;
        case CURLE_COULDNT_CONNECT:
            return HttpEnd::kRefused;
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CERTPROBLEM:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
            return HttpEnd::kCertificate;
        case CURLE_OPERATION_TIMEDOUT:
            return HttpEnd::kNoAnswer;
        case CURLE_PARTIAL_FILE:
        case CURLE_GOT_NOTHING:
        case CURLE_RECV_ERROR:
        case CURLE_HTTP2_STREAM:
            return HttpEnd::kCut;
        default:
            return HttpEnd::kFailed;
    }
}

}  // namespace

struct HttpClient::Handles {
    CURL* easy = curl_easy_init();
    CURLM* multi = curl_multi_init();
    ~Handles() {
        curl_easy_cleanup(easy);
        curl_multi_cleanup(multi);
    }
    Handles() = default;
    Handles(const Handles&) = delete;
    Handles& operator=(const Handles&) = delete;
};

// One transfer: what libcurl is given and what it tells.
struct HttpClient::Transfer {
    explicit Transfer(CURL* handle, HttpSink& target) : easy(handle), sink(target) {}
    ~Transfer() { curl_slist_free_all(headers); }
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    void AddHeader(const std::string& line) { headers = curl_slist_append(headers, line.c_str()); }

    static std::size_t OnHeader(char* data, std::size_t /*one*/, std::size_t size, void* self) {
        static_cast<Transfer*>(self)->TakeHeader({data, size});
        return size;
    }

    static std::size_t OnData(char* data, std::size_t /*one*/, std::size_t size, void* self) {
        const std::span<const char> bytes(data, size);
        return static_cast<Transfer*>(self)->TakeData(std::as_bytes(bytes)) ? size : 0;
    }

    void TakeHeader(std::string_view line) {
        if (line.starts_with("HTTP/")) {
            // Of a proxy, of a redirect, and at last of what was asked for.
            answer.etag.clear();
            answer.modified.clear();
            rangeBegins.reset();
            return;
        }
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) {
            return;
        }
        const std::string_view name = line.substr(0, colon);
        const std::string_view value = Trimmed(line.substr(colon + 1)).substr(0, kMaxHeaderValue);
        if (text::EqualsIgnoringCase(name, "etag")) {
            answer.etag = value;
        } else if (text::EqualsIgnoringCase(name, "last-modified")) {
            answer.modified = value;
        } else if (text::EqualsIgnoringCase(name, "content-range")) {
            rangeBegins = RangeBegin(value);
        } else if (text::EqualsIgnoringCase(name, "retry-after")) {
            answer.retryAfter = RetryAfter(value);
        }
    }

    // Read to its end, where it is short: the connection can then be used again.
    bool TakeUnwanted(std::size_t size) {
        unwantedSize += size;
        return unwantedSize <= kMaxErrorPage;
    }

    bool TakeData(std::span<const std::byte> bytes) {
        if (isUnwanted) {
            return TakeUnwanted(bytes.size());
        }
        if (!hasBegun) {
            hasBegun = true;
            HttpHead head;
            curl_off_t length = -1;
            curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &head.status);
            curl_easy_getinfo(easy, CURLINFO_CONTENT_LENGTH_DOWNLOAD_T, &length);
            isUnwanted = head.status != 200 && head.status != 206;
            if (isUnwanted) {
                return TakeUnwanted(bytes.size());
            }
            if (length >= 0) {
                head.length = static_cast<std::uint64_t>(length);
            }
            head.rangeBegins = rangeBegins;
            hasSinkFailed = !sink.Begin(head);
        }
        hasSinkFailed = hasSinkFailed || !sink.Take(bytes);
        return !hasSinkFailed;
    }

    CURL* easy;
    HttpSink& sink;
    curl_slist* headers = nullptr;
    std::array<char, CURL_ERROR_SIZE> error{};
    std::optional<std::uint64_t> rangeBegins;
    bool hasBegun = false;
    bool hasSinkFailed = false;
    bool isUnwanted = false;  // an error page
    std::size_t unwantedSize = 0;
    bool isStopped = false;
    CURLcode code = CURLE_FAILED_INIT;
    HttpAnswer answer;
};

bool IsKnownProxy(const Proxy& proxy) {
    const std::size_t end = proxy.server.find("://");
    if (end == std::string::npos) {
        return true;
    }
    constexpr std::array<std::string_view, 4> kSchemes{"http", "https", "socks5", "socks5h"};
    const std::string_view scheme = std::string_view(proxy.server).substr(0, end);
    return std::any_of(kSchemes.begin(), kSchemes.end(), [scheme](std::string_view known) {
        return text::EqualsIgnoringCase(scheme, known);
    });
}

HttpClient::HttpClient(Proxy proxy, Limits limits, Progress& progress)
    : m_proxy(std::move(proxy)), m_limits(limits), m_progress(progress) {
    InitializeCurl();
    m_handles = std::make_unique<Handles>();
}

HttpClient::~HttpClient() = default;

void HttpClient::SetUpProxy() {
    CURL* easy = m_handles->easy;
    // Set even when empty: else the environment would name the proxy and the exceptions.
    curl_easy_setopt(easy, CURLOPT_PROXY, m_proxy.server.c_str());
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "");
    if (m_proxy.server.empty()) {
        return;
    }
    if (m_proxy.port != 0) {
        curl_easy_setopt(easy, CURLOPT_PROXYPORT, static_cast<long>(m_proxy.port));
    }
    if (!m_proxy.user.empty()) {
        curl_easy_setopt(easy, CURLOPT_PROXYUSERNAME, m_proxy.user.c_str());
        curl_easy_setopt(easy, CURLOPT_PROXYPASSWORD, m_proxy.password.c_str());
        curl_easy_setopt(easy, CURLOPT_PROXYAUTH, CURLAUTH_ANY);
    }
}

void HttpClient::SetUp(Transfer& transfer, const HttpRequest& request) {
    CURL* easy = m_handles->easy;
    curl_easy_reset(easy);
    SetUpProxy();
    curl_easy_setopt(easy, CURLOPT_URL, request.address.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);  // by MayRedirect
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    curl_easy_setopt(easy, CURLOPT_USERAGENT, "corvane-update");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);  // no waiting for a name that was asked for
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 1L);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, transfer.error.data());
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, static_cast<long>(m_limits.connect.count()));
    curl_easy_setopt(easy, CURLOPT_TIMEOUT, static_cast<long>(m_limits.whole.count()));
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, static_cast<long>(m_limits.slow.count()));
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, m_limits.slowBytes);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, 256L * 1024);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::OnHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, &transfer);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::OnData);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &transfer);
    curl_easy_setopt(easy, CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    if (request.from > 0) {
        // As a header: libcurl itself would take an answer from the start for an error.
        transfer.AddHeader("Range: bytes=" + std::to_string(request.from) + "-");
    }
    if (!request.etag.empty()) {
        transfer.AddHeader("If-None-Match: " + request.etag);
    }
    if (!request.modified.empty()) {
        transfer.AddHeader("If-Modified-Since: " + request.modified);
    }
    curl_easy_setopt(easy, CURLOPT_HTTPHEADER, transfer.headers);
}

bool HttpClient::Perform(Transfer& transfer) {
    CURLM* multi = m_handles->multi;
    if (curl_multi_add_handle(multi, m_handles->easy) != CURLM_OK) {
        return false;
    }
    int running = 1;
    while (running > 0) {
        if (!m_progress.GoesOn()) {
            transfer.isStopped = true;
            break;
        }
        if (curl_multi_perform(multi, &running) != CURLM_OK ||
            (running > 0 &&
             curl_multi_poll(multi, nullptr, 0, static_cast<int>(Progress::kBeat.count()),
                             nullptr) != CURLM_OK)) {
            break;
        }
    }
    int waiting = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi, &waiting)) {
        if (message->msg == CURLMSG_DONE) {
            transfer.code = message->data.result;
        }
    }
    curl_multi_remove_handle(multi, m_handles->easy);
    return !transfer.isStopped;
}

HttpAnswer HttpClient::AnswerOf(const Transfer& transfer) {
    HttpAnswer answer = transfer.answer;
    CURL* easy = m_handles->easy;
    curl_easy_getinfo(easy, CURLINFO_RESPONSE_CODE, &answer.status);
    answer.end = EndOf(transfer.code);
    answer.words =
        transfer.error[0] != '\0' ? transfer.error.data() : curl_easy_strerror(transfer.code);
    if (transfer.isStopped) {
        answer.end = HttpEnd::kStopped;
        answer.words = "stopped";
    } else if (WhoAuthenticates(easy, transfer.code, m_proxy) == Asking::kProxy) {
        answer.end = HttpEnd::kProxyAuthentication;
        answer.words = kProxyRefuses;
    } else if (transfer.isUnwanted) {
        answer.end = HttpEnd::kAnswered;
    } else if (transfer.hasSinkFailed) {
        answer.end = HttpEnd::kSinkFailed;
    } else if (transfer.code == CURLE_OPERATION_TIMEDOUT && transfer.hasBegun) {
        answer.end = HttpEnd::kTooSlow;
    }
    if (answer.end == HttpEnd::kAnswered) {
        answer.words = "the server answered with status " + std::to_string(answer.status);
    }
    return answer;
}

HttpAnswer HttpClient::GetOnce(const HttpRequest& request, HttpSink& sink, std::string& redirect) {
    Transfer transfer(m_handles->easy, sink);
    SetUp(transfer, request);
    Perform(transfer);
    HttpAnswer answer = AnswerOf(transfer);
    char* target = nullptr;
    curl_easy_getinfo(m_handles->easy, CURLINFO_REDIRECT_URL, &target);
    if (answer.end == HttpEnd::kAnswered && target != nullptr) {
        redirect = target;
    }
    if (answer.end == HttpEnd::kAnswered &&
        WhoAuthenticates(m_handles->easy, transfer.code, m_proxy) == Asking::kProxyOrServer &&
        IsRefusedByProxy(request)) {
        answer = {HttpEnd::kProxyAuthentication, answer.status, {}, {}, {}, kProxyRefuses};
    }
    return answer;
}

// What a proxy passes on and what it says itself looks alike, but for a tunnel it answers itself.
bool HttpClient::IsRefusedByProxy(const HttpRequest& request) {
    class NoSink : public HttpSink {
        bool Begin(const HttpHead& /*head*/) override { return false; }
        bool Take(std::span<const std::byte> /*bytes*/) override { return false; }
    };
    NoSink sink;
    Transfer transfer(m_handles->easy, sink);
    SetUp(transfer, {request.address, 0, {}, {}});
    curl_easy_setopt(m_handles->easy, CURLOPT_HTTPPROXYTUNNEL, 1L);
    curl_easy_setopt(m_handles->easy, CURLOPT_CONNECT_ONLY, 1L);
    return Perform(transfer) && IsTunnelRefused(m_handles->easy, true);
}

HttpAnswer HttpClient::Get(const HttpRequest& request, HttpSink& sink) {
    if (!IsKnownProxy(m_proxy)) {
        HttpAnswer answer;
        answer.words = "the proxy is of an unknown kind: " + m_proxy.server;
        return answer;
    }
    HttpRequest current = request;
    for (int redirects = 0;; ++redirects) {
        std::string target;
        HttpAnswer answer = GetOnce(current, sink, target);
        if (target.empty()) {
            return answer;
        }
        if (redirects == kMaxRedirects || !MayRedirect(current.address, target)) {
            answer.end = HttpEnd::kForbiddenRedirect;
            answer.words = redirects == kMaxRedirects
                               ? "the server redirects on and on"
                               : "the server redirects to a place that is not allowed: " + target;
            return answer;
        }
        current.address = target;
    }
}

}  // namespace fetch
