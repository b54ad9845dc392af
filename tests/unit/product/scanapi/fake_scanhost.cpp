// A scan host that does what tests want. It looks at nothing but the names of the files that it is
// given: the part before the first "-" says what their scan does. Beside it in its folder
//
//   script   a line each: "die-loading N": the first N starts end while they load;
//            "die-first N": the first N workers end before they look at a file;
//            "no-process N": the first N starts have no process for the worker after the first;
//            "not-loaded TEXT", "left-out PATH", "log TEXT": what it says as it loads
//   starts   where each start leaves a line
//   pids     where it and each of its workers leave their process
//   scans    where the name of each file is left as its scan begins
//   seen     what it found when it was started
//   go-on    as long as it is not there, the scan of what is "held" waits

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <span>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "product/scanwire/host_messages.h"
#include "product/scanwire/packet.h"
#include "product/scanwire/worker_messages.h"

namespace {

namespace fs = std::filesystem;

using scanning::Verdict;
using scanwire::kControlDescriptor;

std::string g_folder;

void Note(const char* name, const std::string& line) {
    std::ofstream(g_folder + name, std::ios::app) << line + "\n";
}

bool IsThere(const std::string& name) {
    return ::access((g_folder + name).c_str(), F_OK) == 0;
}

void NoteWhatIsSeen(char** environment) {
    std::string seen;
    for (char** each = environment; *each != nullptr; ++each) {
        seen += "environment " + std::string(*each) + "\n";
    }
    for (int descriptor = 0; descriptor < 1024; ++descriptor) {
        std::array<char, 256> target{};
        const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
        if (::readlink(link.c_str(), target.data(), target.size() - 1) > 0) {
            const std::string name = target.data();
            seen += "descriptor " + std::to_string(descriptor) + " " +
                    name.substr(0, name.find(':')) + "\n";
        }
    }
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("SigBlk") || line.starts_with("SigIgn")) {
            seen += line + "\n";
        }
    }
    seen += "folder " + fs::current_path().string() + "\n";
    seen += std::string("leads its session: ") + (getsid(0) == getpid() ? "yes" : "no") + "\n";
    Note("seen", seen);
}

class Worker {
public:
    explicit Worker(int socket) : m_socket(socket) {}

    [[noreturn]] void Run() {
        scanwire::PacketReceiver receiver;
        scanwire::Packet packet;
        if (receiver.Receive(m_socket, packet) != scanwire::Received::kPacket ||
            packet.descriptors.size() != 2) {
            std::_Exit(3);
        }
        const auto region = std::get<scanwire::Region>(*scanwire::ReadToWorker(packet.bytes)).size;
        m_bytes = static_cast<const char*>(
            ::mmap(nullptr, region, PROT_READ, MAP_SHARED, packet.descriptors[0].Get(), 0));
        m_hand = static_cast<volatile std::uint32_t*>(::mmap(nullptr, scanwire::kHandSize,
                                                             PROT_READ | PROT_WRITE, MAP_SHARED,
                                                             packet.descriptors[1].Get(), 0));
        while (receiver.Receive(m_socket, packet) == scanwire::Received::kPacket) {
            const auto batch = std::get<scanwire::Batch>(*scanwire::ReadToWorker(packet.bytes));
            std::size_t descriptor = 0;
            for (const scanwire::Item& item : batch.items) {
                *m_hand = item.id;
                const std::string content = item.byDescriptor
                                                ? Start(packet.descriptors[descriptor++].Get())
                                                : std::string(m_bytes + item.offset, item.size);
                Scan(item, content);
            }
            *m_hand = 0;
            Flush();
        }
        std::_Exit(0);
    }

private:
    static std::string Start(int descriptor) {
        std::array<char, 16> bytes{};
        const auto got = ::pread(descriptor, bytes.data(), bytes.size(), 0);
        return {bytes.data(), static_cast<std::size_t>(got)};
    }
    void Flush() {
        if (!m_packet.empty()) {
            (void)scanwire::SendPacket(m_socket, m_packet);
        }
        m_packet.clear();
    }
    // Verdicts wait for the end of the batch, so that they are lost when a later file ends it.
    void Say(std::uint32_t id, Verdict verdict, const std::string& text = {}) {
        scanwire::FileVerdict record{.id = id, .outcome = {}};
        record.outcome.verdict = verdict;
        (verdict == Verdict::Infected ? record.outcome.virusName : record.outcome.reason) = text;
        scanwire::Append(m_packet, record);
    }
    void Tell(std::uint32_t id, const std::string& name) {
        scanwire::Append(m_packet, scanwire::Member{.id = id, .name = name});
    }
    [[noreturn]] static void Burn() {
        while (true) {
            (void)::getppid();
        }
    }
    // Stopped and not only asleep: a sanitizer's own thread computes a little now and then.
    [[noreturn]] static void StandStill() {
        while (true) {
            (void)::raise(SIGSTOP);
        }
    }
    [[noreturn]] void Flood(std::uint32_t id) {
        while (true) {
            for (int i = 0; i < 300; ++i) {
                Tell(id, "member");
            }
            Flush();
        }
    }
    static void AwaitGoingOn() {
        while (!IsThere("go-on")) {
            ::usleep(1'000);
        }
    }
    [[noreturn]] static void Sleep() {
        while (true) {
            ::pause();
        }
    }

    void Scan(const scanwire::Item& item, const std::string& content) {
        Note("scans", item.baseName);
        const std::string what = item.baseName.substr(0, item.baseName.find('-'));
        const std::uint32_t id = item.id;
        if (what == "clean") {
            Say(id, Verdict::Clean);
        } else if (what == "passed") {
            Say(id, Verdict::PassedOver);
        } else if (what == "virus") {
            Say(id, Verdict::Infected, "Fake.Virus");
        } else if (what == "unread") {
            Say(id, Verdict::Unreadable, "encrypted");
        } else if (what == "echo") {
            Say(id, Verdict::Infected, content.substr(0, 16));
        } else if (what == "size") {
            Say(id, Verdict::Infected, std::to_string(content.size()));
        } else if (what == "members") {
            Tell(id, "one");
            Tell(id, "two/three");
            Flush();
            Say(id, Verdict::Clean);
        } else if (what == "many") {
            for (int i = 0; i < 41; ++i) {
                Tell(id, std::string(100, 'm'));
            }
            Flush();
            Say(id, Verdict::Clean);
        } else if (what == "slow") {
            ::usleep(700'000);
            Say(id, Verdict::Clean);
        } else if (what == "held") {
            AwaitGoingOn();
            Say(id, Verdict::Clean);
        } else if (what == "killshostonce") {
            const std::string killed = "has-" + item.baseName;
            if (!IsThere(killed)) {
                Note(killed.c_str(), "killed");
                Misbehave("killshost", id);
            }
            Say(id, Verdict::Clean);
        } else if (what == "heldvirus") {
            AwaitGoingOn();
            Say(id, Verdict::Infected, "Fake.Virus");
        } else {
            Misbehave(what, id);
        }
    }

    void Misbehave(const std::string& what, std::uint32_t id) {
        if (what == "crash") {
            std::abort();
        } else if (what == "killed") {
            (void)::raise(SIGKILL);
        } else if (what == "refused") {
            (void)::raise(SIGSYS);
        } else if (what == "leaves") {
            std::_Exit(0);
        } else if (what == "lies") {
            *m_hand = id + 1000;
            std::abort();
        } else if (what == "closes") {
            ::close(m_socket);
            Sleep();
        } else if (what == "hang") {
            StandStill();
        } else if (what == "burn") {
            Burn();
        } else if (what == "flood") {
            Flood(id);
        } else if (what == "wrongid") {
            Say(id + 1000, Verdict::Clean);
            Flush();
            Sleep();
        } else if (what == "wrongmember") {
            Tell(id + 1000, "member");
            Flush();
            Sleep();
        } else if (what == "twice") {
            Say(id, Verdict::Clean);
            Say(id, Verdict::Clean);
            Flush();
            Sleep();
        } else if (what == "garbage") {
            m_packet = "no record begins so";
            Flush();
            Sleep();
        } else if (what == "tail") {
            Say(id, Verdict::Clean);
            m_packet += "x";
            Flush();
            Sleep();
        } else if (what == "gift") {
            Say(id, Verdict::Clean);
            const std::array<int, 1> descriptors{m_socket};
            (void)scanwire::SendPacket(m_socket, m_packet, descriptors);
            m_packet.clear();
            Sleep();
        } else if (what == "huge") {
            const std::string packet(100'000, '1');
            (void)::send(m_socket, packet.data(), packet.size(), 0);
            Sleep();
        } else if (what == "killshost") {
            (void)::kill(::getppid(), SIGKILL);
            Sleep();
        }
    }

    int m_socket;
    const char* m_bytes = nullptr;
    volatile std::uint32_t* m_hand = nullptr;
    std::string m_packet;
};

class Host {
public:
    int Run() {
        scanwire::PacketReceiver receiver;
        scanwire::Packet packet;
        while (receiver.Receive(kControlDescriptor, packet) == scanwire::Received::kPacket) {
            const auto message = scanwire::ReadToHost(packet.bytes);
            if (!message) {
                return 4;
            }
            if (const auto* database = std::get_if<scanwire::Database>(&*message)) {
                Note("databases", database->path);
                m_databases.push_back(database->path);
            } else if (const auto* load = std::get_if<scanwire::Load>(&*message)) {
                Note("loads", std::to_string(load->workers) + " " +
                                  std::to_string(load->memoryLimitMiB) + " " + load->scratchBase +
                                  " " + std::to_string(load->switches));
                if (!Load(load->workers)) {
                    return 0;
                }
                Serve();
                return 0;
            }
        }
        return 0;
    }

private:
    static void Tell(const scanwire::FromHost& message, std::span<const int> descriptors = {}) {
        (void)scanwire::SendPacket(kControlDescriptor, scanwire::Written(message), descriptors);
    }

    bool Load(std::uint32_t workers) {
        std::ifstream script(g_folder + "script");
        for (std::string line; std::getline(script, line);) {
            const std::string word = line.substr(0, line.find(' '));
            const std::string rest = line.substr(std::min(line.size(), word.size() + 1));
            if (word == "die-loading" && Lines("starts") <= std::stoi(rest)) {
                (void)::raise(SIGKILL);
            } else if (word == "die-first") {
                m_toDieFirst = std::stoi(rest);
            } else if (word == "no-process") {
                m_hasNoMore = Lines("starts") <= std::stoi(rest);
            } else if (word == "left-out") {
                Tell(scanwire::LeftOut{rest, "it is damaged"});
            } else if (word == "log") {
                Tell(scanwire::Log{rest});
            } else if (word == "not-loaded") {
                Tell(scanwire::NotLoaded{rest});
                return false;
            } else if (word == "load-forever") {
                Note("loads-forever", std::to_string(::getpid()));
                pollfd ended{kControlDescriptor, 0, 0};
                (void)::poll(&ended, 1, -1);
                return false;
            }
        }
        if (!LoadDatabases()) {
            return false;
        }
        Tell(scanwire::Loaded{1});
        for (std::uint32_t number = 0; number < workers; ++number) {
            StartWorker(number, 1);
        }
        return true;
    }

    // Those that tests have made damaged are left out.
    bool LoadDatabases() {
        std::size_t loaded = 0;
        for (const std::string& path : m_databases) {
            std::ifstream file(path);
            std::string line;
            if (std::getline(file, line) && line == "this passes for text") {
                Tell(scanwire::LeftOut{path, "Malformed database"});
            } else {
                ++loaded;
            }
        }
        if (loaded == 0 && !m_databases.empty()) {
            Tell(scanwire::NotLoaded{"no signatures"});
            return false;
        }
        return true;
    }

    static int Lines(const char* name) {
        std::ifstream notes(g_folder + name);
        int count = 0;
        for (std::string line; std::getline(notes, line);) {
            ++count;
        }
        return count;
    }

    void StartWorker(std::uint32_t number, std::uint32_t generation) {
        std::array<int, 2> ends{};
        (void)::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data());
        const pid_t host = ::getpid();
        const pid_t pid = ::fork();
        if (pid == 0) {
            (void)::prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (::getppid() != host) {
                std::_Exit(0);
            }
            ::close(kControlDescriptor);
            ::close(ends[0]);
            if (m_toDieFirst > 0) {
                // Late enough to be given something.
                ::usleep(50'000);
                std::_Exit(5);
            }
            Worker(ends[1]).Run();
        }
        --m_toDieFirst;
        Note("pids", std::to_string(pid));
        ::close(ends[1]);
        Tell(scanwire::Worker{number, generation, pid}, std::array<int, 1>{ends[0]});
        ::close(ends[0]);
        m_workers[pid] = {number, generation};
    }

    void Serve() {
        scanwire::PacketReceiver receiver;
        while (true) {
            pollfd control{kControlDescriptor, POLLIN, 0};
            if (::poll(&control, 1, 2) > 0) {
                scanwire::Packet packet;
                if (receiver.Receive(kControlDescriptor, packet) != scanwire::Received::kPacket) {
                    break;
                }
                const auto message = scanwire::ReadToHost(packet.bytes);
                if (message && std::holds_alternative<scanwire::Replace>(*message)) {
                    Kill(std::get<scanwire::Replace>(*message));
                }
            }
            Reap();
        }
        for (const auto& [pid, worker] : m_workers) {
            (void)::kill(pid, SIGKILL);
            (void)::waitpid(pid, nullptr, 0);
        }
    }

    void Kill(const scanwire::Replace& replace) {
        for (const auto& [pid, worker] : m_workers) {
            if (worker.number == replace.worker && worker.generation == replace.generation) {
                (void)::kill(pid, SIGKILL);
            }
        }
    }

    void Reap() {
        int status = 0;
        for (pid_t pid = ::waitpid(-1, &status, WNOHANG); pid > 0;
             pid = ::waitpid(-1, &status, WNOHANG)) {
            const auto [number, generation] = m_workers[pid];
            m_workers.erase(pid);
            Tell(scanwire::Ended{number, generation,
                                 WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status)});
            if (m_hasNoMore) {
                Tell(scanwire::NotLoaded{"no process for a worker"});
                std::_Exit(1);
            }
            StartWorker(number, generation + 1);
        }
    }

    struct Place {
        std::uint32_t number = 0;
        std::uint32_t generation = 0;
    };
    std::vector<std::string> m_databases;
    std::map<pid_t, Place> m_workers;
    int m_toDieFirst = 0;
    bool m_hasNoMore = false;
};

}  // namespace

int main(int /*count*/, char** words, char** environment) {
    try {
        g_folder = fs::path(words[0]).parent_path().string() + "/";
        Note("starts", std::to_string(::getpid()));
        Note("pids", std::to_string(::getpid()));
        NoteWhatIsSeen(environment);
        return Host().Run();
    } catch (...) {
        return 5;
    }
}
