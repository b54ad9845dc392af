#pragma once

#include <ctime>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "product/signed_index/index.h"
#include "product/signed_index/secret_key.h"
#include "tests/support/scratch.h"
#include "tests/support/server_process.h"

// A private mirror for tests, and the scripted web server of tests/support/mirror_server before it.

inline constexpr char kMirrorPublicKey[] =
    "untrusted comment: minisign public key 33BF1955D20595CA\n"
    "RWTKlQXSVRm/M9ochfyufL+2ZLxOeaTdFMvszZsSVSMFbJzUYEu5QRGX\n";

inline constexpr char kMirrorSecretKey[] =
    "untrusted comment: minisign encrypted secret key\n"
    "RWQAAEIyAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAypUF0lUZvzNJexjumUqBjE"
    "dwMsLHVoA6xTAxA5F81iKmEd+fGVZHc9ochfyufL+"
    "2ZLxOeaTdFMvszZsSVSMFbJzUYEu5QRGXAAAAAAAAAAAAAAAAAAAAAA"
    "AAAAAAAAAAAAAAAAAAAAA=\n";

std::string Sha256Text(std::string_view bytes);

/// What lies on the mirror: an index of these files, signed with kMirrorSecretKey.
struct MirrorContents {
    std::uint64_t serial = 1;
    std::time_t made = std::time(nullptr) - 100;
    std::time_t expires = std::time(nullptr) + 1000;
    std::vector<std::pair<std::string, std::string>> files;  ///< name and bytes

    [[nodiscard]] signed_index::Index Index() const;
    [[nodiscard]] std::string IndexText() const { return signed_index::FormatIndex(Index()); }
};

std::string MirrorSignature(std::string_view indexText);

/// Writes index, signature and "files/SHA256" below `root`, which ends in "/".
void WriteMirror(const std::string& root, const MirrorContents& contents);

/// Writes a set as it is installed: index, signature and the files by name.
void WriteInstalledSet(const std::string& root, const MirrorContents& contents);

/// The scripted server over a folder of its own.
class MirrorServer {
public:
    /// Starts it; with `pem`, a certificate and its key, it speaks TLS.
    explicit MirrorServer(const std::string& pem = {});

    /// The folder that is served, "/" at its end.
    [[nodiscard]] const std::string& Root() const { return m_root; }
    [[nodiscard]] int Port() const { return m_port; }
    /// "http://127.0.0.1:PORT", or with another scheme or host.
    [[nodiscard]] std::string Address(const std::string& scheme = "http",
                                      const std::string& host = "127.0.0.1") const;

    /// Sets the script: from a path to a behaviour or a list of them, as JSON.
    void Script(const std::map<std::string, std::string>& behaviours) const;

    /// One line for each request so far.
    [[nodiscard]] std::vector<std::string> Requests() const;
    /// How many of them are for this path.
    [[nodiscard]] std::size_t CountOf(std::string_view path) const;
    void ForgetRequests() const;

private:
    ScratchFolder m_folder;
    std::string m_root;
    int m_port = 0;
    ServerProcess m_server;
};
