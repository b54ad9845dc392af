// A scan engine that does what a script says and writes down every call.
//
// The script is the file named by FAKE_SCANAPI_SCRIPT, else "scanapi.script" beside the library.
// The calls go to the file named by FAKE_SCANAPI_LOG, else to the script's `log` (beside the
// library when it is a relative name), else nowhere. Both are looked up by ZqInitScan.

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>

#include "abi/scanapi.h"
#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/text_field.h"
#include "tests/fakes/scanapi/script.h"

#define FAKE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

using namespace std::chrono_literals;

struct Engine {
    fake::Script script;
    common::FileDescriptor log;
    PFNZQCALLBACK callback = nullptr;
    std::map<std::uint64_t, std::string> openFiles;
    std::uint64_t lastHandle = 0;
};

Engine engine;

void Note(const std::ostringstream& line) {
    if (engine.log.IsOpen()) {
        (void)common::WriteAll(engine.log.Get(), line.str() + "\n");  // one write: lines never mix
    }
}

std::string Hex(const tagSCANAPI_OPTIONS& options) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const std::byte byte : common::BytesOf(options)) {
        text += kDigits[std::to_integer<unsigned>(byte >> 4U)];
        text += kDigits[std::to_integer<unsigned>(byte & std::byte{15})];
    }
    return text;
}

/// The directory this library was loaded from.
std::filesystem::path OwnDirectory() {
    Dl_info info{};
    if (::dladdr(&engine, &info) == 0 || info.dli_fname == nullptr) {
        return {};
    }
    return std::filesystem::path(info.dli_fname).parent_path();
}

void ReadScriptAndOpenLog() {
    const char* script = std::getenv("FAKE_SCANAPI_SCRIPT");
    const char* log = std::getenv("FAKE_SCANAPI_LOG");
    engine.script =
        fake::ReadScript(script != nullptr ? script : OwnDirectory() / "scanapi.script");
    std::filesystem::path logPath;
    if (log != nullptr) {
        logPath = log;
    } else if (!engine.script.log.empty()) {
        logPath = OwnDirectory() / engine.script.log;
    }
    if (!logPath.empty()) {
        engine.log.Reset(
            ::open(logPath.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, S_IRUSR | S_IWUSR));
    }
}

/// Sends one message; the program's reply.
int Say(const tagZQFILEINFO& message, void* context) {
    const int reply = engine.callback != nullptr ? engine.callback(&message, context) : 0;
    Note(std::ostringstream() << "callback " << message.code << ' '
                              << fake::Encode(common::FieldText(message.fileName)) << ' '
                              << fake::Encode(common::FieldText(message.virusName)) << " class "
                              << message.detectionClass << " sub " << message.detectionSubClass
                              << " -> " << reply);
    return reply;
}

/// Sends a message and what the script lets follow its reply. False when the scan is to stop.
bool SayAndFollowUp(tagZQFILEINFO message, void* context) {
    for (;;) {
        const int reply = Say(message, context);
        if (reply == kReplyStop) {
            return false;
        }
        const auto& rules = engine.script.followUps;
        const auto rule = std::find_if(rules.begin(), rules.end(), [&](const fake::FollowUp& each) {
            return each.code == message.code && each.reply == reply;
        });
        if (rule == rules.end()) {
            return true;
        }
        message.code = rule->next;
    }
}

/// As an engine does that lets an exception of its own get out.
void ThrowIfTold(std::string_view symbol) {
    if (engine.script.throwing.contains(symbol)) {
        throw std::runtime_error("told to throw");
    }
}

void HoldUntilThere(const std::string& file) {
    const auto limit = std::chrono::steady_clock::now() + 1min;
    while (!std::filesystem::exists(file) && std::chrono::steady_clock::now() < limit) {
        std::this_thread::sleep_for(2ms);
    }
}

void ScanOne(const std::string& name, void* context) {
    bool said = false;
    for (const fake::Step& step : engine.script.steps) {
        if (!fake::Matches(step.pattern, name)) {
            continue;
        }
        if (step.kind == fake::Step::Kind::Delay) {
            std::this_thread::sleep_for(std::chrono::milliseconds(step.milliseconds));
            continue;
        }
        if (step.kind == fake::Step::Kind::Hold) {
            HoldUntilThere(step.file);
            continue;
        }
        tagZQFILEINFO message = step.message;
        if (step.namesFile) {
            common::CopyToField(message.fileName, name);
        }
        said = true;
        if (!SayAndFollowUp(message, context)) {
            return;
        }
    }
    if (!said) {
        tagZQFILEINFO clean{};
        clean.code = kMsgFileClean;
        common::CopyToField(clean.fileName, name);
        Say(clean, context);
    }
}

}  // namespace

FAKE_EXPORT int ZqInitScan(tagSCANAPI_OPTIONS* options) {
    ReadScriptAndOpenLog();
    Note(std::ostringstream() << "ZqInitScan " << Hex(*options) << " -> "
                              << engine.script.initResult);
    ThrowIfTold("ZqInitScan");
    return engine.script.initResult;
}

FAKE_EXPORT void ZqDeinitScan() {
    Note(std::ostringstream() << "ZqDeinitScan");
    const bool throws = engine.script.throwing.contains("ZqDeinitScan");
    engine = {};
    if (throws) {
        throw std::runtime_error("told to throw");
    }
}

FAKE_EXPORT void ZqGetAPIVersion(tagZQVERINFO* version) {
    *version = engine.script.version;
    Note(std::ostringstream() << "ZqGetAPIVersion");
    ThrowIfTold("ZqGetAPIVersion");
}

FAKE_EXPORT int ZqSetCallBack(PFNZQCALLBACK callback) {
    engine.callback = callback;
    Note(std::ostringstream() << "ZqSetCallBack " << (callback != nullptr ? "set" : "null")
                              << " -> " << engine.script.setCallbackResult);
    ThrowIfTold("ZqSetCallBack");
    return engine.script.setCallbackResult;
}

FAKE_EXPORT void ZqSetOptions(tagSCANAPI_OPTIONS* options) {
    Note(std::ostringstream() << "ZqSetOptions " << Hex(*options));
    ThrowIfTold("ZqSetOptions");
}

FAKE_EXPORT int ZqOpenFile(const char* name, std::uint64_t* handle) {
    int status = 1;
    *handle = engine.lastHandle + 1;
    for (const fake::OpenRule& rule : engine.script.opens) {
        if (fake::Matches(rule.pattern, name)) {
            status = rule.status;
            if (!rule.automatic) {
                *handle = rule.handle;
            }
            break;
        }
    }
    engine.lastHandle = *handle;
    engine.openFiles[*handle] = name;
    Note(std::ostringstream() << "ZqOpenFile " << fake::Encode(name) << " -> " << status
                              << " handle " << *handle);
    ThrowIfTold("ZqOpenFile");
    return status;
}

FAKE_EXPORT int ZqCloseFile(std::uint64_t* handle) {
    Note(std::ostringstream() << "ZqCloseFile " << *handle << " -> " << engine.script.closeResult);
    engine.openFiles.erase(*handle);
    *handle = 0;
    ThrowIfTold("ZqCloseFile");
    return engine.script.closeResult;
}

FAKE_EXPORT int ZqScanFileEx(std::uint64_t handle, void* context) {
    Note(std::ostringstream() << "ZqScanFileEx " << handle << " context " << context);
    ThrowIfTold("ZqScanFileEx");
    const std::string name = engine.openFiles[handle];
    ScanOne(name, context);
    int result = 1;
    for (const fake::ScanRule& rule : engine.script.scans) {
        if (fake::Matches(rule.pattern, name)) {
            result = rule.result;
            break;
        }
    }
    Note(std::ostringstream() << "ZqScanFileEx " << handle << " -> " << result);
    return result;
}

FAKE_EXPORT void ZqResetFPTFlags() {
    Note(std::ostringstream() << "ZqResetFPTFlags");
    ThrowIfTold("ZqResetFPTFlags");
}

// The path of the folder as the descriptor leads there, too, which a test can compare.
FAKE_EXPORT void ZqFilesAhead(int folder, const char* path, const char* const* names,
                              std::size_t count) {
    std::ostringstream line;
    line << "ZqFilesAhead " << count;
    if (count > 0) {
        std::error_code error;
        const auto place =
            std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(folder), error);
        line << " at " << fake::Encode(place.native()) << " as " << fake::Encode(path);
        for (std::size_t i = 0; i < count; ++i) {
            line << ' ' << fake::Encode(names[i]);
        }
    }
    Note(line);
    ThrowIfTold("ZqFilesAhead");
}
