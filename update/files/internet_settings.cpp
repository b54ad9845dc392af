#include "update/files/internet_settings.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <unistd.h>

#include "common/io.h"
#include "common/paths.h"
#include "common/regular_file.h"

namespace update {

namespace {

using common::Links;

constexpr mode_t kIdentifierMode = 0666;

std::string SettingsPath() {
    return common::InProgramDirectory("zqinet.opt");
}

// The head of the file in which an administrator says that identifiers are to stay.
bool MayResetIdentifier() {
    const std::string path = common::InProductDirectory("zqadminexclusion.dat");
    const common::FileDescriptor file =
        common::OpenRegularFile(path.c_str(), O_RDONLY, Links::kOnlyOfRoot);
    std::array<char, 5> head{};
    if (!file) {
        return false;
    }
    common::ReadFull(file.Get(), common::BytesOf(head));
    return head.front() != '1';
}

}  // namespace

tagZQINETCONFIG LoadInternetSettings() {
    const std::string path = SettingsPath();
    tagZQINETCONFIG settings{};
    if (const common::FileDescriptor file = common::OpenOptionFile(path.c_str())) {
        common::ReadFull(file.Get(), common::BytesOf(settings));
    } else if (const common::FileDescriptor made = common::CreateOptionFile(path.c_str())) {
        common::WriteAll(made.Get(), common::BytesOf(settings));
    }
    common::ShareWithEveryone(path.c_str());
    return settings;
}

common::FileOutcome SaveInternetSettings(const tagZQINETCONFIG& settings) {
    const std::string path = SettingsPath();
    common::FileDescriptor file = common::OpenOptionFile(path.c_str());
    if (!file) {
        file = common::CreateOptionFile(path.c_str());
    }
    if (!file) {
        return common::FileOutcome::kNotOpened;
    }
    const bool written = common::WriteAll(file.Get(), common::BytesOf(settings));
    common::ShareWithEveryone(path.c_str());
    return written ? common::FileOutcome::kDone : common::FileOutcome::kFailed;
}

void ResetEndpointIdentifier() {
    if (!MayResetIdentifier()) {
        return;
    }
    const std::string path = common::InProductDirectory("zqguid.dat");
    // Cut once it is open, so that nothing but a regular file is.
    const common::FileDescriptor file = common::OpenRegularFile(
        path.c_str(), O_WRONLY | O_CREAT, Links::kOnlyOfRoot, kIdentifierMode);
    if (file && ::ftruncate(file.Get(), 0) == 0) {
        common::WriteAll(file.Get(), std::string_view("0"));
    }
}

void TellWebProtection() {
    // It may not be installed or not run; nobody asks.
    (void)std::system("pkill -SIGHUP websecd");
}

}  // namespace update
