#pragma once

#include <string>

#include "product/fetch/fetch.h"

namespace fetch {

/// Whether mirrors can be reached, and if not, what is in the way.
enum class Connection {
    kOk,
    kNameNotFound,         ///< of the server or of the proxy
    kRefused,              ///< nothing listens there
    kProxyAuthentication,  ///< the proxy asks for another user or password
    kCertificate,          ///< the server's is not trusted
    kNoAnswer,             ///< within ten seconds
    kFailed,               ///< ConnectionResult::words say how
};

struct ConnectionResult {
    Connection connection = Connection::kFailed;
    std::string words;
};

/// "ok", "name-not-found", "refused", "proxy-authentication", "certificate", "no-answer" and
/// "failed", as `corvane-update --test` prints them.
const char* NameOf(Connection connection);

/// Asks the mirror at `address` for its index, once, through `proxy`; official ones, which refuse
/// this client, only for any answer. Ends after ten seconds at the latest, or when the listener
/// asks for it. Nothing is kept. For one thread.
ConnectionResult TestConnection(const Proxy& proxy, const std::string& address,
                                const OfficialMirrors& official, Listener& listener);

}  // namespace fetch
