// fetch_official_once ADDRESS PRODUCT DOWNLOAD CURRENT: one download of the database "test" from a
// server that is taken for an official mirror, for the tests that kill its processes. The exit
// status is the UpdaterResult.

#include <cstdio>

#include "product/fetch/fetch.h"

namespace {

class Listener : public fetch::Listener {
public:
    void Status(std::uint16_t /*status*/, std::string_view /*name*/) override {}
    void Log(std::string_view text) override {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
    }
    bool IsStopping() override { return false; }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        return 99;
    }
    fetch::Request request;
    request.addresses = {argv[1]};
    request.productDirectory = argv[2];
    request.downloadDirectory = argv[3];
    request.currentSet = argv[4];
    request.official.domain = "127.0.0.1";
    request.official.databases = {"test"};
    request.official.dnsServer.clear();
    Listener listener;
    return static_cast<int>(fetch::Fetch(request, listener).result);
}
