#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/file_descriptor.h"
#include "product/updated/asker.h"
#include "product/updated/updater.h"

namespace updated {

/// Runs updates for whoever asks, one after the other, each for its own asker alone. For one
/// thread.
class Server {
public:
    struct Settings {
        std::string directory;  ///< of the product, with "/" at its end
        std::string program;    ///< that updates
    };

    /// `listening` is a socket that listens and does not block.
    Server(FileDescriptor listening, Settings settings);

    /// Serves until `endDescriptor` becomes readable; then what runs is ended. `options` is watched
    /// for, and OnOptions called, whenever that descriptor becomes readable; -1 for none.
    void Serve(int endDescriptor, int options, const std::function<void()>& onOptions);

private:
    using Askers = std::vector<std::unique_ptr<Asker>>;

    /// Sleeps until something happens. False when the service is to end.
    bool Wait(int endDescriptor, int options, const std::function<void()>& onOptions);
    [[nodiscard]] int Timeout() const;
    void Accept();
    void HearAskers();
    void HearUpdater();
    void Relay(const updturl::Message& message);
    void Finish(int result);
    void StartNext();
    void StartFor(Asker& asker);
    bool AnswerFromMemory(Asker& asker, bool isOfficial);
    void TellWaiting();
    void StopRun();
    void DropGone();

    FileDescriptor m_listening;
    Settings m_settings;
    Askers m_askers;
    Asker* m_running = nullptr;  ///< whose run it is; null when it has left
    std::unique_ptr<Updater> m_updater;
    bool m_isOfficial = false;  ///< the run asks an official mirror
    struct Memory {
        Clock::time_point when;
        int result;
    };
    std::optional<Memory> m_lastOfficial;
    Clock::time_point m_told{};
};

}  // namespace updated
