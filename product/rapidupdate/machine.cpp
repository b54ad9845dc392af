#include "product/rapidupdate/machine.h"

#include <cstdint>
#include <random>
#include <string>
#include <syslog.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"
#include "product/rapidupdate/after_update.h"
#include "product/rapidupdate/network.h"
#include "product/rapidupdate/update_lock.h"
#include "product/rapidupdate/update_service.h"
#include "product/updturl/service_connection.h"
#include "update/files/update_options.h"

namespace rapidupdate {

namespace {

/// UpdateFlag bits; none where the options are missing.
std::uint32_t ReadFlags() {
    const std::string path = common::InProductDirectory("zqupdate.opt");
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kOnlyOfRoot);
    tagUpdtOpts options{};
    return file && common::ReadFull(file.Get(), common::BytesOf(options)) > 0 ? options.flags : 0;
}

Wish WishOf(std::uint32_t flags) {
    return (flags & (kUpdateFromInternet | kUpdateFromServer)) != 0 ? Wish::kUpdate : Wish::kIndex;
}

}  // namespace

double Machine::Random() {
    std::random_device source;
    return std::uniform_real_distribution<double>(0, 1)(source);
}

bool Machine::AreUpdatesOn() {
    return (ReadFlags() & kUpdateAutomatically) != 0;
}

bool Machine::IsMetered() {
    return IsConnectionMetered();
}

Outcome Machine::Update() {
    const std::string lockPath = common::InProductDirectory("updt.lck");
    UpdateLock lock(lockPath.c_str());
    if (!WaitForLock(*this, [&lock] { return lock.TryAcquire(); })) {
        return Outcome::kFailed;
    }
    RememberOldVersion();
    const Wish wish = WishOf(ReadFlags());
    const UpdaterResult result =
        AskForUpdate(updturl::kServiceSocket, wish, m_alarm.EndDescriptor());
    // Of a folder this says that it holds nothing valid.
    const bool isInvalid = wish == Wish::kIndex && result == kUpdaterInterrupted;
    return FinishUpdate(isInvalid ? kUpdaterInvalidFiles : result);
}

void Machine::Log(const char* message) {
    ::syslog(LOG_INFO, "%s", message);
}

}  // namespace rapidupdate
