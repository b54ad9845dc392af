#include "tests/support/mirror.h"

#include <algorithm>
#include <filesystem>
#include <span>
#include <sstream>

#include "product/signed_index/sha256.h"

namespace {

void WriteSigned(const std::string& root, const MirrorContents& contents) {
    const std::string text = contents.IndexText();
    WriteFile(root + signed_index::kIndexName, text);
    WriteFile(root + signed_index::kSignatureName, MirrorSignature(text));
}

}  // namespace

std::string Sha256Text(std::string_view bytes) {
    signed_index::Sha256 hash;
    hash.Add(std::as_bytes(std::span(bytes)));
    return hash.Finish();
}

signed_index::Index MirrorContents::Index() const {
    signed_index::Index index{serial, made, expires, {}};
    for (const auto& [name, bytes] : files) {
        index.files.push_back({name, bytes.size(), Sha256Text(bytes), 1});
    }
    return index;
}

std::string MirrorSignature(std::string_view indexText) {
    signed_index::SecretKey key;
    (void)key.Parse(kMirrorSecretKey);
    return key.Sign(indexText, "a mirror of the tests");
}

void WriteMirror(const std::string& root, const MirrorContents& contents) {
    std::filesystem::create_directories(root + "files");
    for (const auto& [name, bytes] : contents.files) {
        WriteFile(root + "files/" + Sha256Text(bytes), bytes);
    }
    WriteSigned(root, contents);
}

void WriteInstalledSet(const std::string& root, const MirrorContents& contents) {
    std::filesystem::create_directories(root);
    for (const auto& [name, bytes] : contents.files) {
        WriteFile(root + name, bytes);
    }
    WriteSigned(root, contents);
}

MirrorServer::MirrorServer(const std::string& pem) : m_root(m_folder / "root/") {
    std::filesystem::create_directory(m_root);
    std::vector<std::string> arguments{MIRROR_SERVER,       m_root,  "--script",
                                       m_folder / "script", "--log", m_folder / "log"};
    if (!pem.empty()) {
        arguments.insert(arguments.end(), {"--tls", pem});
    }
    m_server.Start(arguments);
    const std::string port = m_server.ReadLine();
    m_port = port.empty() ? 0 : std::stoi(port);
}

std::string MirrorServer::Address(const std::string& scheme, const std::string& host) const {
    return scheme + "://" + host + ":" + std::to_string(m_port);
}

void MirrorServer::Script(const std::map<std::string, std::string>& behaviours) const {
    std::string text;
    for (const auto& [path, behaviour] : behaviours) {
        text.append(text.empty() ? "{\"" : ",\n\"").append(path).append("\": ").append(behaviour);
    }
    WriteFile(m_folder / "script.new", text.empty() ? "{}" : text + "}");
    std::filesystem::rename(m_folder / "script.new", m_folder / "script");
}

std::vector<std::string> MirrorServer::Requests() const {
    std::vector<std::string> lines;
    std::istringstream log(ReadFile(m_folder / "log"));
    for (std::string line; std::getline(log, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::size_t MirrorServer::CountOf(std::string_view path) const {
    const std::string start = "GET " + std::string(path);
    const auto requests = Requests();
    return static_cast<std::size_t>(
        std::count_if(requests.begin(), requests.end(), [&start](const std::string& line) {
            return line == start || line.starts_with(start + " ");
        }));
}

void MirrorServer::ForgetRequests() const {
    std::filesystem::remove(m_folder / "log");
}
