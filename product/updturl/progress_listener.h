#pragma once

#include <string_view>

#include "abi/updturl.h"

namespace updturl {

/// The program's callback, and what it was told last. For one thread.
class ProgressListener {
public:
    /// `callback` may be null: nobody is told, and nobody asks to stop.
    ProgressListener(PFNUPDTCALLBACK callback, void* context)
        : m_callback(callback), m_context(context) {}

    /// Tells a status. Only that of a named file has a name.
    void Tell(std::uint16_t status, std::string_view fileName);

    /// Tells the last one again; a run begins with kUpdateConnecting.
    void TellAgain();

    /// Whether any call was answered with kUpdateStop.
    [[nodiscard]] bool IsToStop() const { return m_isToStop; }

private:
    PFNUPDTCALLBACK m_callback;
    void* m_context;
    tagUPDATEINFO m_info{.status = kUpdateConnecting, .fileName = {}, .reserved = {}};
    bool m_isToStop = false;
};

}  // namespace updturl
