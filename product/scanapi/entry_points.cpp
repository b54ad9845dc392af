// The ten names the program looks up. Each hands its call to the one engine of the process and
// lets nothing be thrown across the library's edge.

#include <array>
#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <span>
#include <utility>

#include "abi/scanapi.h"
#include "product/scanapi/engine.h"
#include "product/scanapi/engine_log.h"

#define CORVANE_EXPORT extern "C" __attribute__((visibility("default")))

namespace {

// Never destroyed at exit: the program calls ZqDeinitScan, and an exit without it must not wait.
struct Holder {
    std::mutex mutex;
    std::shared_ptr<scanapi::Engine> engine;
};

Holder& TheHolder() {
    // In the library's own memory, so that nothing stays behind when it is unloaded.
    alignas(Holder) static std::array<std::byte, sizeof(Holder)> memory;
    static auto* holder = new (memory.data()) Holder;
    return *holder;
}

std::shared_ptr<scanapi::Engine> TheEngine() {
    const std::lock_guard lock(TheHolder().mutex);
    return TheHolder().engine;
}

std::shared_ptr<scanapi::Engine> Exchange(std::shared_ptr<scanapi::Engine> engine) {
    const std::lock_guard lock(TheHolder().mutex);
    return std::exchange(TheHolder().engine, std::move(engine));
}

template <typename Result, typename Body>
Result Guarded(Result onFailure, Body body) noexcept {
    try {
        return body();
    } catch (const std::exception& error) {
        scanapi::LogLine(error.what());
    } catch (...) {
        scanapi::LogLine("unknown failure");
    }
    return onFailure;
}

}  // namespace

CORVANE_EXPORT int ZqInitScan(tagSCANAPI_OPTIONS* options) noexcept {
    return Guarded(0, [&] {
        if (options == nullptr || options->size != sizeof(tagSCANAPI_OPTIONS)) {
            return 0;
        }
        if (const auto previous = Exchange(nullptr)) {
            previous->Close();
        }
        auto engine = scanapi::Engine::Start(*options);
        const bool started = engine != nullptr;
        // Another thread may have started one meanwhile; the last one stays.
        if (const auto overtaken = Exchange(std::move(engine))) {
            overtaken->Close();
        }
        return started ? 1 : 0;
    });
}

CORVANE_EXPORT void ZqDeinitScan() noexcept {
    Guarded(0, [] {
        if (const auto engine = Exchange(nullptr)) {
            engine->Close();
        }
        return 0;
    });
}

CORVANE_EXPORT void ZqGetAPIVersion(tagZQVERINFO* version) noexcept {
    Guarded(0, [&] {
        if (version == nullptr) {
            return 0;
        }
        *version = {};
        if (const auto engine = TheEngine()) {
            *version = engine->Version();
        }
        return 0;
    });
}

CORVANE_EXPORT int ZqSetCallBack(PFNZQCALLBACK callback) noexcept {
    return Guarded(0, [&] {
        const auto engine = TheEngine();
        if (engine == nullptr || callback == nullptr) {
            return 0;
        }
        engine->SetCallback(callback);
        return 1;
    });
}

CORVANE_EXPORT void ZqSetOptions(tagSCANAPI_OPTIONS* options) noexcept {
    Guarded(0, [&] {
        const auto engine = TheEngine();
        if (engine != nullptr && options != nullptr &&
            options->size == sizeof(tagSCANAPI_OPTIONS)) {
            engine->SetOptions(*options);
        }
        return 0;
    });
}

CORVANE_EXPORT int ZqOpenFile(const char* name, std::uint64_t* handle) noexcept {
    return Guarded(static_cast<int>(kOpenFailed), [&] {
        if (handle != nullptr) {
            *handle = 0;
        }
        const auto engine = TheEngine();
        if (engine == nullptr || name == nullptr || handle == nullptr) {
            return static_cast<int>(kOpenFailed);
        }
        return engine->OpenFile(name, *handle);
    });
}

CORVANE_EXPORT int ZqCloseFile(std::uint64_t* handle) noexcept {
    return Guarded(0, [&] {
        const auto engine = TheEngine();
        if (engine == nullptr || handle == nullptr) {
            return 0;
        }
        const bool closed = engine->CloseFile(*handle);
        *handle = 0;
        return closed ? 1 : 0;
    });
}

CORVANE_EXPORT int ZqScanFileEx(std::uint64_t handle, void* context) noexcept {
    return Guarded(0, [&] {
        const auto engine = TheEngine();
        return engine != nullptr && engine->ScanFile(handle, context) ? 1 : 0;
    });
}

CORVANE_EXPORT void ZqResetFPTFlags() noexcept {
    Guarded(0, [] {
        if (const auto engine = TheEngine()) {
            engine->ResetRunFlags();
        }
        return 0;
    });
}

CORVANE_EXPORT void ZqFilesAhead(int folder, const char* path, const char* const* names,
                                 std::size_t count) noexcept {
    Guarded(0, [&] {
        const auto engine = TheEngine();
        if (engine != nullptr && (count == 0 || (path != nullptr && names != nullptr))) {
            engine->TellAhead(folder, path, {names, count});
        }
        return 0;
    });
}
