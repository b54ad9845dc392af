#include "tests/unit/product/scanhost/host_client.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/clean_spawn.h"
#include "tests/support/scratch.h"

namespace {

using scanwire::Received;

bool HasPacket(int socket, std::chrono::milliseconds limit) {
    pollfd waiting{socket, POLLIN, 0};
    return ::poll(&waiting, 1, static_cast<int>(limit.count())) > 0;
}

common::FileDescriptor MemoryFile(std::uint64_t size) {
    common::FileDescriptor file(::memfd_create("test", MFD_CLOEXEC));
    EXPECT_EQ(::ftruncate(file.Get(), static_cast<off_t>(size)), 0);
    return file;
}

}  // namespace

bool IsRunning(pid_t pid) {
    const std::string stat = ReadFile("/proc/" + std::to_string(pid) + "/stat");
    const auto nameEnd = stat.rfind(')');
    return nameEnd != std::string::npos && stat.substr(nameEnd + 2, 1) != "Z" &&
           stat.substr(nameEnd + 2, 1) != "X";
}

std::vector<pid_t> ChildrenOf(pid_t pid) {
    const std::string number = std::to_string(pid);
    std::ifstream file("/proc/" + number + "/task/" + number + "/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; file >> child;) {
        children.push_back(child);
    }
    return children;
}

std::size_t OpenDescriptorsOf(pid_t pid) {
    const std::filesystem::directory_iterator all("/proc/" + std::to_string(pid) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

WorkerClient::WorkerClient(scanwire::Worker said, common::FileDescriptor socket)
    : m_said(said), m_socket(std::move(socket)) {}

void WorkerClient::SendRegion(std::uint64_t size) {
    m_region = MemoryFile(size);
    m_hand = MemoryFile(scanwire::kHandSize);
    Send(scanwire::Region{size}, {m_region.Get(), m_hand.Get()});
}

void WorkerClient::Put(std::uint64_t offset, std::string_view bytes) const {
    EXPECT_EQ(::pwrite(m_region.Get(), bytes.data(), bytes.size(), static_cast<off_t>(offset)),
              static_cast<ssize_t>(bytes.size()));
}

void WorkerClient::Send(const scanwire::ToWorker& message,
                        const std::vector<int>& descriptors) const {
    EXPECT_EQ(scanwire::SendPacket(m_socket.Get(), scanwire::Written(message), descriptors),
              scanwire::Sent::kWhole);
}

std::uint32_t WorkerClient::AtHand() const {
    std::uint32_t id = ~0U;
    EXPECT_EQ(::pread(m_hand.Get(), &id, sizeof(id), 0), static_cast<ssize_t>(sizeof(id)));
    return id;
}

std::vector<scanwire::FromWorker> WorkerClient::NextPacket() {
    scanwire::Packet packet;
    if (!HasPacket(m_socket.Get(), kPatience) ||
        m_receiver.Receive(m_socket.Get(), packet) != Received::kPacket) {
        return {};
    }
    auto records = scanwire::ReadFromWorker(packet.bytes);
    EXPECT_TRUE(records) << "a packet that the reader refuses";
    return records.value_or(std::vector<scanwire::FromWorker>());
}

std::vector<scanwire::FromWorker> WorkerClient::RecordsUpTo(std::uint32_t id) {
    std::vector<scanwire::FromWorker> all;
    while (true) {
        const auto records = NextPacket();
        all.insert(all.end(), records.begin(), records.end());
        const auto* verdict =
            records.empty() ? nullptr : std::get_if<scanwire::FileVerdict>(&records.back());
        if (records.empty() || (verdict != nullptr && verdict->id == id)) {
            return all;
        }
    }
}

std::optional<scanning::ScanOutcome> WorkerClient::VerdictOf(std::uint32_t id) {
    const auto records = RecordsUpTo(id);
    const auto* verdict =
        records.empty() ? nullptr : std::get_if<scanwire::FileVerdict>(&records.back());
    return verdict != nullptr ? std::optional(verdict->outcome) : std::nullopt;
}

std::optional<scanning::ScanOutcome> WorkerClient::Scan(std::string_view bytes) {
    if (!m_region) {
        SendRegion();
    }
    Put(0, bytes);
    Send(scanwire::Batch{
        .profile = {.archives = true, .packed = true, .unknownTypes = true, .unwanted = true},
        .items = {{.id = ++m_lastId, .size = bytes.size(), .baseName = "name"}}});
    return VerdictOf(m_lastId);
}

std::optional<scanning::ScanOutcome> WorkerClient::Scan(int descriptor, std::uint64_t size) {
    if (!m_region) {
        SendRegion();
    }
    Send(
        scanwire::Batch{
            .profile = {.archives = true, .packed = true, .unknownTypes = true, .unwanted = true},
            .items = {{.id = ++m_lastId, .size = size, .byDescriptor = true, .baseName = "name"}}},
        {descriptor});
    return VerdictOf(m_lastId);
}

HostClient::HostClient() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    m_control.Reset(ends[0]);
    const common::FileDescriptor theirs(ends[1]);
    const common::CleanSpawn spawn({{theirs.Get(), scanwire::kControlDescriptor}},
                                   common::Session::kShared);
    std::array<char*, 2> arguments{const_cast<char*>("corvane-scanhost"), nullptr};
    std::array<char*, 1> environment{nullptr};
    EXPECT_EQ(spawn.Start(m_pid, SCANHOST, arguments.data(), environment.data()), 0);
}

HostClient::~HostClient() {
    m_control.Reset();
    if (m_pid > 0 && !AwaitEnd()) {
        ADD_FAILURE() << "the host goes on without an engine";
        ::kill(m_pid, SIGKILL);
        ::waitpid(m_pid, nullptr, 0);
    }
}

void HostClient::Send(const scanwire::ToHost& message) const {
    EXPECT_EQ(scanwire::SendPacket(m_control.Get(), scanwire::Written(message)),
              scanwire::Sent::kWhole);
}

void HostClient::Load(const std::vector<std::string>& databases, const scanwire::Load& load) const {
    for (const std::string& path : databases) {
        Send(scanwire::Database{path});
    }
    Send(load);
}

std::optional<scanwire::FromHost> HostClient::Next(std::chrono::milliseconds limit) {
    scanwire::Packet packet;
    if (!HasPacket(m_control.Get(), limit) ||
        m_receiver.Receive(m_control.Get(), packet) != Received::kPacket) {
        return std::nullopt;
    }
    auto message = scanwire::ReadFromHost(packet.bytes);
    EXPECT_TRUE(message) << "a packet that the reader refuses";
    const bool isWorker = message && std::holds_alternative<scanwire::Worker>(*message);
    EXPECT_EQ(packet.descriptors.size(), isWorker ? 1U : 0U);
    if (!packet.descriptors.empty()) {
        m_workersEnd = std::move(packet.descriptors.front());
    }
    return message;
}

std::optional<WorkerClient> HostClient::AwaitWorker() {
    const auto said = Await<scanwire::Worker>();
    if (!said) {
        return std::nullopt;
    }
    return WorkerClient(*said, std::move(m_workersEnd));
}

std::optional<int> HostClient::AwaitEnd() {
    int status = 0;
    if (!WaitUntil([&] { return ::waitpid(m_pid, &status, WNOHANG) == m_pid; }, kPatience)) {
        return std::nullopt;
    }
    m_pid = -1;
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}
