// An updater that does what a script says and writes down every call with every argument.
//
// The script is the file named by FAKE_UPDTURL_SCRIPT, the calls go to that of FAKE_UPDTURL_LOG. A
// line of the script is one of
//   status CODE [NAME]     calls back, and notes what it is answered
//   elsewhere CODE [NAME]  the same on a thread of its own
//   flood COUNT CODE       calls back so often, and notes how often it is answered to go on
//   wait-for-stop          calls back with 2001 until it is answered to stop
//   wait-for FILE          goes on when the file is there
//   throw TEXT             ends the call with an exception
//   result N               ends the call with a result
// An end without a result is 0. UpdateFromIndex has nothing to call back.

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

#include "abi/updturl.h"
#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/text_field.h"

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

constexpr std::chrono::milliseconds kPause{1};

void Note(const std::string& line) {
    if (const char* path = std::getenv("FAKE_UPDTURL_LOG"); path != nullptr) {
        const common::FileDescriptor log(
            open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
        common::WriteAll(log.Get(), line + "\n");  // one write: lines never mix
    }
}

std::string Hex(const void* bytes, std::size_t size) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const std::byte byte : std::span(static_cast<const std::byte*>(bytes), size)) {
        text += kDigits[std::to_integer<unsigned>(byte >> 4U)];
        text += kDigits[std::to_integer<unsigned>(byte & std::byte{15})];
    }
    return text;
}

std::string Text(const char* text) {
    return text != nullptr ? "\"" + std::string(text) + "\"" : "null";
}

/// Whom the updater calls back; nobody from a path.
struct Caller {
    PFNUPDTCALLBACK callback;
    void* context;

    int Say(int status, const std::string& name) const {
        // A record of its own that is gone afterwards.
        auto info = std::make_unique<tagUPDATEINFO>();
        info->status = static_cast<std::uint16_t>(status);
        common::CopyToField(info->fileName, name);
        return callback(info.get(), context);
    }
};

void NoteStatus(const Caller& caller, std::istringstream& words) {
    int status = 0;
    words >> status;
    std::string name;
    if (words.get() == ' ') {
        std::getline(words, name);
    }
    Note("answered " + std::to_string(caller.Say(status, name)) + " to " + std::to_string(status));
}

void Flood(const Caller& caller, std::istringstream& words) {
    int count = 0;
    int status = 0;
    words >> count >> status;
    int goneOn = 0;
    for (int call = 0; call < count; ++call) {
        goneOn += caller.Say(status, std::to_string(call)) == kUpdateGoOn ? 1 : 0;
    }
    Note("went on " + std::to_string(goneOn));
}

int Act(const Caller& caller) {
    const char* path = std::getenv("FAKE_UPDTURL_SCRIPT");
    std::ifstream script(path != nullptr ? path : "/dev/null");
    for (std::string line; std::getline(script, line);) {
        std::istringstream words(line);
        std::string order;
        words >> order;
        if (order == "status") {
            NoteStatus(caller, words);
        } else if (order == "elsewhere") {
            std::thread([&] { NoteStatus(caller, words); }).join();
        } else if (order == "flood") {
            Flood(caller, words);
        } else if (order == "wait-for-stop") {
            while (caller.Say(kUpdateLoadingFiles, "") != kUpdateStop) {
                std::this_thread::sleep_for(kPause);
            }
            Note("stopped");
        } else if (order == "wait-for") {
            words >> line;
            while (access(line.c_str(), F_OK) != 0) {
                std::this_thread::sleep_for(kPause);
            }
        } else if (order == "throw") {
            std::getline(words >> std::ws, line);
            throw std::runtime_error(line);
        } else if (order == "result") {
            int result = 0;
            words >> result;
            return result;
        }
    }
    return kUpdaterFailed;
}

const struct Unloading {
    ~Unloading() { Note("unloaded"); }
} kUnloading;

}  // namespace

FAKE_EXPORT int ZQUpdateFromSite(const char* applicationDirectory, const char* downloadDirectory,
                                 int fromAdministrator, int reserved, int keepBackup,
                                 const char* backupFolder, const tagZQINETCONFIG* settings,
                                 char** addresses, std::int32_t count, PFNUPDTCALLBACK callback,
                                 void* context, const void* settingsPastFlag) {
    Note("ZQUpdateFromSite");
    Note("application " + Text(applicationDirectory));
    Note("download " + Text(downloadDirectory));
    Note("administrator " + std::to_string(fromAdministrator));
    Note("reserved " + std::to_string(reserved));
    Note("keep backup " + std::to_string(keepBackup));
    Note("backup " + Text(backupFolder));
    Note("settings " + Hex(settings, sizeof *settings));
    Note("count " + std::to_string(count));
    for (int index = 0; addresses != nullptr && index < count; ++index) {
        Note("address " + Text(addresses[index]));
    }
    Note(addresses != nullptr ? "end of addresses" : "no addresses");
    Note("past the flag " + Hex(settingsPastFlag, kUpdaterSettingsSize - 2));
    std::ostringstream pointer;
    pointer << "context " << context;
    Note(pointer.str());
    return Act({callback, context});
}

FAKE_EXPORT int UpdateFromIndex(const char* applicationDirectory, const char* folder,
                                const void* settingsPastFlag) {
    Note("UpdateFromIndex");
    Note("application " + Text(applicationDirectory));
    Note("folder " + Text(folder));
    Note("past the flag " + Hex(settingsPastFlag, kUpdaterSettingsSize - 2));
    return Act({nullptr, nullptr});
}
