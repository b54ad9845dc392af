#include "product/updturl/fetch_work.h"

#include <chrono>
#include <csignal>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <unistd.h>
#include <utility>

#include "common/percent_text.h"
#include "product/definitions/definition_folder.h"
#include "product/fetch/address.h"
#include "product/fetch/connection_test.h"
#include "product/fetch/fetch.h"
#include "product/updturl/account.h"
#include "product/updturl/confinement.h"
#include "product/updturl/message.h"
#include "product/updturl/service_connection.h"

namespace updturl {
namespace {

class FetchListener : public fetch::Listener {
public:
    explicit FetchListener(Asker& asker) : m_asker(asker) {}

    void Status(std::uint16_t status, std::string_view name) override {
        m_asker.Status(status, name);
        m_asker.Beat();
    }
    void Log(std::string_view text) override { m_asker.Log(text); }
    bool IsStopping() override {
        m_asker.Beat();
        return m_asker.IsStopping();
    }

private:
    Asker& m_asker;
};

/// Ends this process with who started it. For after a change of user, which takes it back.
void EndWithParent() {
    (void)::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
}

std::string WhoDownloads() {
    const auto account = AccountOf(kFetchUser);
    return account && account->uid == ::geteuid() ? std::string("as ") + kFetchUser
                                                  : "as the user of the update";
}

fetch::Request WhatToFetch(const Request& request) {
    fetch::Request wanted;
    wanted.hasAddresses = request.addresses.has_value();
    wanted.addresses = request.addresses.value_or(std::vector<std::string>());
    wanted.fromAdministrator = request.isFromAdministrator;
    wanted.proxy = {.server = request.proxy.server,
                    .port = request.proxy.port,
                    .user = request.proxy.user,
                    .password = request.proxy.password};
    wanted.productDirectory = request.applicationDirectory;
    wanted.downloadDirectory = request.downloadDirectory;
    wanted.currentSet =
        request.applicationDirectory + definitions::kFolderName + "/" + definitions::kCurrentLink;
    return wanted;
}

/// Ends a test of many addresses when one of one address would end.
class TestListener : public FetchListener {
public:
    using FetchListener::FetchListener;

    bool IsStopping() override { return IsLate() || FetchListener::IsStopping(); }

    [[nodiscard]] bool IsLate() const { return Clock::now() >= m_end; }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point m_end = Clock::now() + std::chrono::seconds(10);
};

/// Of the first address that answers, or why the first one does not.
fetch::ConnectionResult TestAddresses(const fetch::Request& wanted, Asker& asker) {
    TestListener listener(asker);
    fetch::ConnectionResult first;
    first.words = wanted.hasAddresses ? "there are no addresses"
                                      : "the list of addresses cannot be read, or is empty";
    bool isFirst = true;
    for (const std::string& address : fetch::AddressesToTry(
             wanted.addresses, wanted.fromAdministrator, wanted.official.domain)) {
        auto result = fetch::TestConnection(wanted.proxy, address, wanted.official, listener);
        if (result.connection == fetch::Connection::kOk) {
            return result;
        }
        if (std::exchange(isFirst, false)) {
            // Our end comes before that of the transfer, which takes it for a stop.
            first = listener.IsLate() ? fetch::ConnectionResult{fetch::Connection::kNoAnswer, {}}
                                      : result;
        }
        if (listener.IsStopping()) {
            break;
        }
    }
    return first;
}

std::string TestLine(const fetch::ConnectionResult& result) {
    std::string line = "test ";
    line += fetch::NameOf(result.connection);
    if (result.connection == fetch::Connection::kFailed) {
        line += " " + common::PercentEncodedWithin(result.words, kLongestLine - line.size() - 2);
    }
    return line + "\n";
}

}  // namespace

int RunFetch(Asker& asker) {
    EndWithParent();
    Request request;
    std::string why;
    if (!asker.ReadRequest(request, why)) {
        asker.Log(why);
        asker.Result(kUpdaterFailed);
        return 1;
    }
    const std::string confined = Confine(
        {.readable = {request.applicationDirectory}, .writable = {request.downloadDirectory}});
    asker.Log("downloading " + WhoDownloads() + ", " + confined);
    FetchListener listener(asker);
    const fetch::Outcome outcome = fetch::Fetch(WhatToFetch(request), listener);
    if (outcome.result == kUpdaterUpdated) {
        asker.Candidate(outcome.candidate);
    }
    asker.Result(outcome.result);
    return outcome.result == kUpdaterFailed ? 1 : 0;
}

void RefuseTest(Asker& asker, const std::string& why) {
    fetch::ConnectionResult result;
    result.connection = fetch::Connection::kFailed;
    result.words = why;
    asker.Say(TestLine(result));
}

int RunTest(Asker& asker) {
    EndWithParent();
    Request request;
    std::string why;
    fetch::ConnectionResult result;
    if (!asker.ReadRequest(request, why)) {
        result.connection = fetch::Connection::kFailed;
        result.words = why;
    } else {
        Confine({.readable = {request.applicationDirectory}, .writable = {}});
        result = TestAddresses(WhatToFetch(request), asker);
    }
    asker.Say(TestLine(result));
    return result.connection == fetch::Connection::kOk ? 0 : 1;
}

}  // namespace updturl
