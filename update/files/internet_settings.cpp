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

namespace {

using common::Links;

constexpr mode_t kIdentifierMode = 0666;

std::string SettingsPath() {
    return common::InProgramDirectory("zqinet.opt");
}

// The head of the file in which an administrator says that identifiers are to stay.
bool MayResetIdentifier() {
    const std::string path = common::InProductDirectory("zqadminexclusion.dat");
    const FileDescriptor file = common::OpenRegularFile(path.c_str(), O_RDONLY, Links::kOnlyOfRoot);
    std::array<char, 5> head{};
    if (!file) {
        return false;
    }
    ReadFull(file.Get(), BytesOf(head));
    return head.front() != '1';
}

}  // namespace

tagZQINETCONFIG LoadInternetSettings() {
    const std::string path = SettingsPath();
    tagZQINETCONFIG settings{};
    if (const FileDescriptor file = OpenOptionFile(path.c_str())) {
        ReadFull(file.Get(), BytesOf(settings));
    } else if (const FileDescriptor made = CreateOptionFile(path.c_str())) {
        WriteAll(made.Get(), BytesOf(settings));
    }
    ShareWithEveryone(path.c_str());
    return settings;
}

FileOutcome SaveInternetSettings(const tagZQINETCONFIG& settings) {
    const std::string path = SettingsPath();
    FileDescriptor file = OpenOptionFile(path.c_str());
    if (!file) {
        file = CreateOptionFile(path.c_str());
    }
    if (!file) {
        return FileOutcome::kNotOpened;
    }
    const bool written = WriteAll(file.Get(), BytesOf(settings));
    ShareWithEveryone(path.c_str());
    return written ? FileOutcome::kDone : FileOutcome::kFailed;
}

void ResetEndpointIdentifier() {
    if (!MayResetIdentifier()) {
        return;
    }
    const std::string path = common::InProductDirectory("zqguid.dat");
    // Cut once it is open, so that nothing but a regular file is.
    const FileDescriptor file = common::OpenRegularFile(path.c_str(), O_WRONLY | O_CREAT,
                                                        Links::kOnlyOfRoot, kIdentifierMode);
    if (file && ::ftruncate(file.Get(), 0) == 0) {
        WriteAll(file.Get(), std::string_view("0"));
    }
}

void TellWebProtection() {
    // It may not be installed or not run; nobody asks.
    (void)std::system("pkill -SIGHUP websecd");
}
