#pragma once

#include <string>

#include <QString>

#include "common/owners.h"

/// The path of the list of tasks that the library is told.
std::string ScheduleTaskList();

/// The scheduler's library, "schdlscn.so" in the product directory, loaded for as long as one of
/// these lives. GUI thread only.
class SchedulerLibrary {
public:
    /// Loads the library; what it needs itself is looked for when it is called. False with the
    /// reason in Error().
    bool Load();

    /// The entry point of this name. Null with the reason in Error() when the library lacks it, or
    /// is not loaded.
    template <typename Function>
    Function Find(const char* name) {
        return reinterpret_cast<Function>(Address(name));
    }

    /// Nothing that was found in the library may be called afterwards.
    void Unload() { m_library.reset(); }

    /// The dynamic loader's own words about what failed last.
    [[nodiscard]] const QString& Error() const { return m_error; }

private:
    void* Address(const char* name);

    common::LibraryHandle m_library;
    QString m_error;
};
