#pragma once

#include <cstdint>
#include <linux/filter.h>
#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

#include "product/scanhost/scratch.h"

namespace scanhost {

/// The user that workers become when root starts the host. The package makes it.
inline constexpr char kScanUser[] = "corvane-scan";

/// How workers are to be confined.
struct ConfinementWish {
    std::uint32_t switches = 0;        ///< scanwire::Switches: what tests leave out
    std::uint32_t memoryLimitMiB = 0;  ///< of address space beyond the host's; 0: no limit
    unsigned int workers = 1;
    std::string scratchBase;  ///< where folders for scratch are made; empty: the usual places
};

/// One part of the confinement, as it turned out when a child tried it.
struct PartState {
    std::string name;
    std::string missing;  ///< why; empty when it holds
};

/// Everything that keeps a worker to scanning. Prepared once by the host, entered by each worker.
/// All of it is for a process of one thread.
class Confinement {
public:
    /// Tries each part in a child, so that what counts is what this machine does. What is missing
    /// is left out of every worker and told by Missing(). Null with the reason in `why` when there
    /// is no place to unpack in: without one much would be called clean unread.
    static std::unique_ptr<Confinement> Prepare(const ConfinementWish& wish, std::string& why);

    /// What this machine does not allow, a line for the log each.
    [[nodiscard]] std::vector<std::string> Missing() const;

    /// All parts that were not switched off.
    [[nodiscard]] const std::vector<PartState>& Parts() const { return m_parts; }

    /// Confines this process, worker number `worker`, a child of `host`, for good. Its working
    /// folder is its scratch afterwards, which the library's temporary folder "." means. Returns an
    /// empty text, or what failed that the child could do: the worker must then end unused.
    [[nodiscard]] std::string Enter(unsigned int worker, pid_t host) const;

    /// Removes what a worker left that is no more. In the host, after reaping it.
    void Clear(unsigned int worker) const;

    /// Who workers are, and how large a memory file system each one has (0: it has a folder).
    [[nodiscard]] uid_t User() const { return m_user; }
    [[nodiscard]] std::uint64_t ScratchMiB() const {
        return m_folders == nullptr ? m_scratchMiB : 0;
    }

private:
    struct Part;
    static const std::vector<Part>& AllParts();

    explicit Confinement(const ConfinementWish& wish);
    bool Try(std::string& why);
    [[nodiscard]] bool IsWished(const Part& part) const;
    [[nodiscard]] bool Holds(std::string_view name) const;

    // Each is 0 or an errno value.
    [[nodiscard]] int EnterScratch() const;
    [[nodiscard]] int EnterLimits() const;
    [[nodiscard]] int EnterLandlock() const;
    [[nodiscard]] int EnterUser() const;
    [[nodiscard]] int EnterSystemCalls() const;

    ConfinementWish m_wish;
    uid_t m_user;
    gid_t m_group;
    std::uint64_t m_availableMiB;
    std::uint64_t m_scratchMiB;
    std::unique_ptr<ScratchFolders> m_folders;  ///< where there is no memory file system
    std::vector<sock_filter> m_filter;
    std::vector<PartState> m_parts;
};

}  // namespace scanhost
