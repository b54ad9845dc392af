#include "product/updturl/library_run.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <utility>

#include "product/updturl/child_process.h"
#include "product/updturl/conversation.h"
#include "product/updturl/service_connection.h"
#include "product/updturl/update_log.h"

namespace updturl {
namespace {

/// A run from a folder can neither be watched nor stopped: it has to be over within two minutes, a
/// switch that has begun by then included.
constexpr std::chrono::seconds kTimeForIndex{100};
static_assert(kTimeForIndex + Conversation::kTimeToSwitch < std::chrono::seconds(120));

constexpr char kHowToStart[] =
    "; an administrator starts it with \"systemctl start corvane-updated\" or "
    "\"/etc/init.d/corvane-updated start\"";

ConversationRules RulesOf(Source source) {
    ConversationRules rules;
    if (source == Source::kIndex) {
        rules.end = Conversation::Clock::now() + kTimeForIndex;
    }
    return rules;
}

int ResultOf(const Conversation& conversation, Ending ending) {
    if (const auto result = conversation.Result()) {
        return *result;
    }
    switch (ending) {
        case Ending::kStopped:
            return kUpdaterInterrupted;
        case Ending::kTooLate:
            LogUpdate("the update took too long and was ended");
            return kUpdaterFailed;
        case Ending::kNobody:
            LogUpdate(std::string("the update service does not answer") + kHowToStart);
            return kUpdaterFailed;
        case Ending::kResult:
        case Ending::kSilence:
            break;
    }
    LogUpdate("the updater ended without a result");
    return kUpdaterFailed;
}

}  // namespace

int RunChild(const std::string& program, const Request& request, ProgressListener& listener) {
    auto words = RequestText(request);
    if (!words) {
        LogUpdate("a text of the request is too long");
        return kUpdaterFailed;
    }
    ChildProcess child;
    common::FileDescriptor socket = child.Start(program, {}, ProcessGroup::kOwn);
    if (!socket) {
        LogUpdate(program + " cannot be started: " + std::strerror(errno));
        return kUpdaterFailed;
    }
    Conversation conversation(std::move(socket), listener);
    const Ending ending = conversation.Hold(*std::move(words), RulesOf(request.source));
    if (ending == Ending::kResult) {
        child.EndInPeace();
    } else {
        child.EndByForce();
        conversation.HearTheRest();
    }
    return ResultOf(conversation, ending);
}

int AskService(const std::string& socketPath, Source source, ProgressListener& listener,
               std::chrono::milliseconds timeToBegin) {
    std::string reason;
    common::FileDescriptor socket = ConnectToService(socketPath, kServiceUser, reason);
    if (!socket) {
        LogUpdate("the update service cannot be asked (" + reason + ")" + kHowToStart);
        return kUpdaterFailed;
    }
    Conversation conversation(std::move(socket), listener);
    const char* const wish = source == Source::kIndex ? kWishForIndex : kWishToUpdate;
    ConversationRules rules = RulesOf(source);
    rules.timeToBegin = timeToBegin;
    const Ending ending = conversation.Hold(wish, rules);
    return ResultOf(conversation, ending);
}

std::string ProgramBesideLibrary() {
    Dl_info info{};
    if (::dladdr(reinterpret_cast<const void*>(&ProgramBesideLibrary), &info) == 0) {
        return {};
    }
    struct Free {
        void operator()(char* text) const { std::free(text); }
    };
    const std::unique_ptr<char, Free> library(::realpath(info.dli_fname, nullptr));
    if (library == nullptr) {
        return {};
    }
    const std::string path = library.get();
    return path.substr(0, path.rfind('/') + 1) + kUpdaterProgram;
}

}  // namespace updturl
