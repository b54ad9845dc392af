#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"
#include "product/updated/asker.h"
#include "product/updated/official_memory.h"
#include "product/updated/updater.h"

namespace updated {

/// Runs updates for whoever asks, one after the other, each for its own asker alone. For one
/// thread.
class Server {
public:
    struct Settings {
        std::string directory;  ///< of the product, with "/" at its end
        std::string program;    ///< that updates
        std::string state;      ///< folder of what outlives this process
        /// How long a run from the folder may take, which whoever asked can neither watch nor stop.
        std::chrono::milliseconds folderLimit = std::chrono::seconds(110);
        std::chrono::milliseconds siteLimit = std::chrono::hours(3);
        /// How long an ordinary user's may, while root or the automatic updates wait.
        std::chrono::milliseconds awaitedLimit = std::chrono::minutes(2);
    };

    /// `listening` is a socket that listens and does not block.
    Server(common::FileDescriptor listening, Settings settings);

    /// Serves until `endDescriptor` becomes readable; then what runs is ended. `options` is watched
    /// for, and OnOptions called, whenever that descriptor becomes readable; -1 for none.
    void Serve(int endDescriptor, int options, const std::function<void()>& onOptions);

private:
    using Askers = std::vector<std::unique_ptr<Asker>>;

    /// Sleeps until something happens. False when the service is to end.
    bool Wait(int endDescriptor, int options, const std::function<void()>& onOptions);
    [[nodiscard]] int Timeout() const;
    [[nodiscard]] bool IsTrusted(uid_t user) const;
    void Accept();
    void HearAskers();
    void HearUpdater();
    void Relay(const updturl::Message& message);
    void Finish(int result);
    [[nodiscard]] Asker* NextAsker() const;
    [[nodiscard]] bool IsTooLong() const;
    void EndTooLong();
    void EndImpatiently();
    void LogRun(const std::string& text);
    void StartNext();
    void StartFor(Asker& asker);
    bool AnswerFromMemory(Asker& asker, bool isOfficial);
    void TellWaiting();
    void StopRun();
    void DropGone();

    common::FileDescriptor m_listening;
    Settings m_settings;
    std::optional<uid_t> m_serviceUser;  ///< of the automatic updates
    Askers m_askers;
    Asker* m_running = nullptr;  ///< whose run it is; null when it has left
    std::unique_ptr<Updater> m_updater;
    /// Of the run.
    struct Run {
        Clock::time_point begun;
        bool isIndex = false;
        bool isTrusted = false;
        bool isOfficial = false;  ///< it asks an official mirror
        bool isTooLong = false;   ///< and was told to stop for it
        int logLines = 0;
    };
    Run m_run;
    OfficialMemory m_official;
    Clock::time_point m_told{};
};

}  // namespace updated
