#pragma once

#include <string_view>

#include "abi/updturl.h"
#include "product/updturl/conversation.h"

namespace updturl {

/// The program's callback, and what it was told last. For one thread.
class ProgressListener : public ConversationListener {
public:
    /// `callback` may be null: nobody is told, and nobody asks to stop.
    ProgressListener(PFNUPDTCALLBACK callback, void* context)
        : m_callback(callback), m_context(context) {}

    void Status(std::uint16_t status, std::string_view fileName) override;

    /// Tells the last status again; a run begins with kUpdateConnecting.
    void Beat() override;

    void Log(std::string_view text) override;

    /// Whether any call was answered with kUpdateStop.
    bool IsToStop() override { return m_isToStop; }

private:
    PFNUPDTCALLBACK m_callback;
    void* m_context;
    tagUPDATEINFO m_info{.status = kUpdateConnecting, .fileName = {}, .reserved = {}};
    bool m_isToStop = false;
};

}  // namespace updturl
