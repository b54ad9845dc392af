#pragma once

#include <cstdint>
#include <string_view>

namespace fetch {

/// Who is told of a download while it goes on, and may end it. All calls come from the thread that
/// downloads, at least four times a second whatever it waits for.
class Listener {
public:
    virtual ~Listener() = default;

    /// What is being done now: an UpdateStatus of abi/updturl.h, with the name of the file for
    /// kUpdateLoadingNamedFile. The same may be told again.
    virtual void Status(std::uint16_t status, std::string_view name) = 0;

    /// A line for the log, without newline: why something was refused, or did not work.
    virtual void Log(std::string_view text) = 0;

    /// Whether to end as soon as possible. Once true it stays so.
    virtual bool IsStopping() = 0;
};

}  // namespace fetch
