#pragma once

#include <clamav.h>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace scanning {

struct FreeEngine {
    void operator()(cl_engine* engine) const { cl_engine_free(engine); }
};
using EngineOwner = std::unique_ptr<cl_engine, FreeEngine>;

/// Databases in one engine, ready to scan with.
struct LoadedDatabases {
    EngineOwner engine;            ///< null when nothing could be loaded
    std::uint64_t signatures = 0;  ///< how many
    std::string problem{};         ///< why there is no engine, in a few words of ASCII
};

/// Told of a database that is damaged: its path, and why in a few words.
using OnLeftOut = std::function<void(const std::string& path, const std::string& reason)>;

/// Loads `paths`, in this order, into an engine that unpacks into the folder `scratch`; "." is
/// what the working folder is at the time. A database that cannot be loaded is left out whole and
/// told of at once, and the others are loaded again. Takes seconds, and cannot be broken off. One
/// thread at a time, in a process in which StartLibrary() has succeeded.
LoadedDatabases LoadDatabases(std::vector<std::string> paths, const std::string& scratch,
                              const OnLeftOut& onLeftOut);

/// Sets the bounds of a scan, and that it unpacks into the folder `scratch`. Before signatures are
/// loaded; false when the library refuses.
bool SetBounds(cl_engine* engine, const std::string& scratch);

/// Makes the library ready and silent; once in a process. False when it cannot be used.
bool StartLibrary();

}  // namespace scanning
