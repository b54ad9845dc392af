#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

#include "tests/support/scratch.h"

/// Certificates made for one test, by an authority that this machine trusts meanwhile.
class Certificates {
public:
    /// Whether the authority could be made and trusted; only root in a private root can.
    bool Make() {
        if (!HasPrivateRoot() || ::geteuid() != 0) {
            return false;
        }
        return Run("openssl req -x509 -newkey rsa:2048 -nodes -keyout ca.key -out ca.pem -days 2 "
                   "-subj /CN=tests") &&
               MakeServer("good", "DNS:localhost,IP:127.0.0.1", "2") &&
               MakeServer("othername", "DNS:somewhere.example", "2") &&
               Run("openssl req -x509 -newkey rsa:2048 -nodes -keyout x -out y -days 2 -subj "
                   "/CN=localhost -addext subjectAltName=DNS:localhost,IP:127.0.0.1 && cat x y "
                   ">unknown.pem") &&
               Trust();
    }

    /// Certificate and key of "good", "othername" (of another host) or "unknown" (signed by
    /// itself).
    [[nodiscard]] std::string Pem(const std::string& name) const {
        return m_folder / (name + ".pem");
    }

private:
    bool Run(const std::string& command) const {
        return std::system(("cd " + m_folder.Path() + " && (" + command + ") >log 2>&1").c_str()) ==
               0;
    }

    bool MakeServer(const std::string& name, const std::string& alternative,
                    const std::string& days) const {
        WriteFile(m_folder / "extensions", "subjectAltName=" + alternative + "\n");
        return Run(
            "openssl req -newkey rsa:2048 -nodes -keyout s.key -out s.csr -subj /CN=" + name +
            " && openssl x509 -req -in s.csr -CA ca.pem -CAkey ca.key -CAcreateserial "
            "-out s.pem -extfile extensions -days " +
            days + " && cat s.key s.pem >" + name + ".pem");
    }

    bool Trust() const {
        std::filesystem::create_directories("/etc/ssl/certs");
        // Alone, for a sanitizer needs longer for the whole world's than a connection may take.
        std::ofstream store("/etc/ssl/certs/ca-certificates.crt");
        store << ReadFile(m_folder / "ca.pem");
        return store.good();
    }

    ScratchFolder m_folder;
};
