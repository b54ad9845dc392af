#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"

namespace fetch {

/// What libfreshclam is told.
struct FreshclamSettings {
    std::string server;                  ///< address of the mirror
    std::vector<std::string> databases;  ///< names without an ending
    std::string databaseDirectory;       ///< keeps what it has, and gets what is new
    std::string tempDirectory;
    std::string proxyServer;  ///< empty for none
    std::uint16_t proxyPort = 0;
    std::string proxyUser;
    std::string proxyPassword;
    std::string dnsServer;  ///< empty: the versions are asked of the mirror itself
    unsigned int connectSeconds = 20;
    unsigned int slowSeconds = 30;
};

/// libfreshclam at work in a process of its own, which ends with this one. For one thread.
class FreshclamChild {
public:
    /// Starts it. False with the reason in errno.
    bool Start(const FreshclamSettings& settings);
    FreshclamChild() = default;
    ~FreshclamChild() { Kill(); }
    FreshclamChild(const FreshclamChild&) = delete;
    FreshclamChild& operator=(const FreshclamChild&) = delete;

    /// What it says, to be read line by line until its end.
    [[nodiscard]] int Output() const { return m_output.Get(); }

    /// The end of one that found a damaged database and removed it.
    static constexpr int kDamagedDatabase = 200;

    /// Waits for its end, which Output() tells: 0 for success and every database verified,
    /// kDamagedDatabase, libfreshclam's code, -1 for a death.
    int Join();

    void Kill();

private:
    pid_t m_child = -1;
    common::FileDescriptor m_output;
};

}  // namespace fetch
