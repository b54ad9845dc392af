#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include <QCoreApplication>
#include <QEvent>

#include "scan/scan_dialog.h"
#include "scan/scan_event.h"

/// A progress dialog that keeps the events of the scan instead of showing them.
class RecordingDialog : public ScanDialog {
public:
    struct Received {
        int type;
        std::optional<std::string> text;
        tagZQFILEINFO info;
    };
    std::vector<Received> m_received;

    /// What the user does when asked.
    std::function<void()> m_onPrompt = [this] { Run().Answer(); };

    [[nodiscard]] std::vector<int> Types() const {
        std::vector<int> types;
        types.reserve(m_received.size());
        for (const Received& each : m_received) {
            types.push_back(each.type);
        }
        return types;
    }

    /// As the engine carries it.
    void* Context() { return static_cast<QDialog*>(this); }

    /// Runs `work` on a thread of its own, as a scan is, and the events of this thread meanwhile
    /// and afterwards. The result of `work`.
    template <typename Work>
    auto OnScanThread(Work work) {
        using namespace std::chrono_literals;
        auto result = std::async(std::launch::async, work);
        const auto limit = std::chrono::steady_clock::now() + 20s;
        while (result.wait_for(1ms) != std::future_status::ready) {
            QCoreApplication::processEvents();
            if (std::chrono::steady_clock::now() > limit) {
                ADD_FAILURE() << "the scan thread does not come back";
                Run().Answer();
            }
        }
        QCoreApplication::processEvents();
        return result.get();
    }

protected:
    void customEvent(QEvent* event) override {
        const ZqEvent* zqEvent = AsScanEvent(event);
        ASSERT_NE(zqEvent, nullptr);
        const char* text = zqEvent->Text();
        m_received.push_back({event->type(),
                              text != nullptr ? std::optional<std::string>(text) : std::nullopt,
                              zqEvent->Info()});
        if (m_received.back().type == kEvtPrompt) {
            m_onPrompt();
        }
    }
};
