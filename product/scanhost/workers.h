#pragma once

#include <chrono>
#include <clamav.h>
#include <cstdint>
#include <optional>
#include <sys/types.h>
#include <vector>

#include "product/scanhost/confinement.h"
#include "product/scanhost/control_socket.h"

namespace scanhost {

/// The host's workers: processes forked from it, which therefore share the databases. SIGCHLD is
/// blocked in the host. One thread, and no other in the process.
class Workers {
public:
    /// All of it stays the caller's.
    Workers(const cl_engine* engine, const Confinement& confinement, const ControlSocket& control,
            bool notesRefusals);

    /// Ends all workers that are left and waits for their end, as long as that is to be expected.
    ~Workers();
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /// Starts `count` workers and tells the engine of each. False when the engine is gone or one
    /// could not be started, which it is told.
    bool Start(std::uint32_t count);

    /// Ends the worker, should it still be the one that is meant; Reap() then finds it.
    void End(const scanwire::Replace& which);

    /// Looks for workers that have ended, tells the engine, and starts others in their places.
    /// False as above.
    bool Reap();

    /// How long, in milliseconds, until Reap() has to look whether one that was ended is gone, -1
    /// while there is none. What waits for a file system that does not answer cannot even be
    /// killed; after a second another worker takes its place.
    [[nodiscard]] int UntilNextLook() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Place {
        pid_t pid = 0;  ///< 0: nobody
        std::uint32_t generation = 0;
        std::optional<Clock::time_point> ended{};  ///< since when it should be gone
    };

    bool StartOne(std::uint32_t number);
    [[noreturn]] void BeWorker(std::uint32_t number, pid_t host, int socket) const;
    bool SayWhyNot(const char* what) const;
    bool TellEnd(std::uint32_t number, int status);
    bool ReplaceOne(std::uint32_t number, int status);

    const cl_engine* m_engine;
    const Confinement& m_confinement;
    const ControlSocket& m_control;
    bool m_notesRefusals;
    bool m_hasToldOfUnconfined = false;
    std::vector<Place> m_places;
};

}  // namespace scanhost
