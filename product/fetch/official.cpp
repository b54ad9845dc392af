#include "product/fetch/official.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "common/io.h"
#include "common/regular_file.h"
#include "common/retrying.h"
#include "product/fetch/address.h"
#include "product/fetch/freshclam_child.h"
#include "product/signed_index/index.h"

namespace fetch {

namespace {

constexpr char kFolder[] = "official";
constexpr char kTemporary[] = "official.tmp";
constexpr std::time_t kUsualDelay = 14'400;  // where the mirror does not say how long
constexpr std::size_t kHeaderSize = 512;
constexpr std::size_t kMaxLine = 1024;

// What the library prints when the mirror asks to be left alone, and the moment that follows.
constexpr std::string_view kCoolDown = "cool-down until after: ";
constexpr std::array<std::string_view, 2> kLimited{"error code 429", "error code 403"};

std::optional<std::time_t> CoolDownEnd(const std::string& line) {
    const std::size_t at = line.find(kCoolDown);
    std::tm fields{};
    if (at == std::string::npos ||
        ::strptime(line.c_str() + at + kCoolDown.size(), "%Y-%m-%d %H:%M:%S", &fields) == nullptr) {
        return std::nullopt;
    }
    fields.tm_isdst = -1;
    return std::mktime(&fields);
}

// "daily database available for download (remote version: 27000)"
std::string_view AnnouncedDatabase(std::string_view line) {
    const std::size_t at = line.find(" database available for ");
    return at == std::string_view::npos ? std::string_view() : line.substr(0, at);
}

class Official {
public:
    Official(const OfficialJob& job, const std::string& address, OfficialState& state)
        : m_job(job), m_address(address), m_state(state) {}

    MirrorEnd Fetch() {
        if (IsToBeLeftAlone(m_state.notBefore, m_job.now)) {
            return Fail("is not asked before " + signed_index::FormatUtcTime(m_state.notBefore));
        }
        m_folder = OpenOrMakeFolder(m_job.folder.Get(), kFolder, 0700);
        if (!m_folder || !MakeTemporary()) {
            Fail(std::string("the download folder cannot be used: ") + std::strerror(errno));
            return MirrorEnd::kDiskFailed;
        }
        Seed();
        return Ask();
    }

private:
    bool MakeTemporary() {
        std::error_code ignored;
        const std::string path = m_job.folder.Path() + kTemporary;
        std::filesystem::remove_all(path, ignored);
        return common::Retrying([&] { return ::mkdir(path.c_str(), 0700); }) == 0;
    }

    // Starts from the databases that are installed, so that the differences are enough.
    void Seed() {
        if (!m_job.current.IndexText().empty()) {
            return;
        }
        for (const std::string& database : m_job.mirrors.databases) {
            for (const char* ending : {".cvd", ".cld"}) {
                const std::string name = database + ending;
                if (FindDatabase(database).empty()) {
                    CopyFromCurrent(name);
                }
            }
        }
    }

    void CopyFromCurrent(const std::string& name) {
        const common::FileDescriptor source = m_job.current.OpenFile(name);
        if (!source) {
            return;
        }
        // Under its name only when it is whole: instead of a part of it all would be loaded.
        const std::string made = std::string(kTemporary) + "/" + name;
        const int root = m_job.folder.Get();
        const common::FileDescriptor target = common::OpenRegularFileAt(
            root, made.c_str(), O_WRONLY | O_CREAT | O_EXCL, common::Links::kNone, 0640);
        std::vector<std::byte> block(std::size_t{256} * 1024);
        std::ptrdiff_t got = 0;
        bool isFine = target.IsOpen();
        while (isFine && (got = common::ReadFull(source.Get(), block)) > 0) {
            isFine = m_job.progress.GoesOn() &&
                     common::WriteAll(target.Get(),
                                      std::span(block).first(static_cast<std::size_t>(got)));
        }
        if (!isFine || got < 0 || common::Retrying([&] {
                                      return ::renameat(root, made.c_str(), m_folder.Get(),
                                                        name.c_str());
                                  }) != 0) {
            (void)::unlinkat(root, made.c_str(), 0);
        }
    }

    // Twice at most: what was damaged is then loaded whole.
    MirrorEnd Ask() {
        const std::string& root = m_job.folder.Path();
        FreshclamSettings settings;
        settings.server = m_address;
        settings.databases = m_job.mirrors.databases;
        settings.databaseDirectory = root + kFolder;
        settings.tempDirectory = root + kTemporary;
        settings.proxyServer = m_job.proxy.server;
        settings.proxyPort = m_job.proxy.port;
        settings.proxyUser = m_job.proxy.user;
        settings.proxyPassword = m_job.proxy.password;
        settings.dnsServer = m_job.mirrors.dnsServer;
        settings.connectSeconds = static_cast<unsigned int>(m_job.limits.connect.count());
        settings.slowSeconds = static_cast<unsigned int>(m_job.limits.slow.count());
        FreshclamChild child;
        m_job.progress.Status(kUpdateLoadingFiles);
        if (!child.Start(settings)) {
            return Fail(std::string("the download cannot be started: ") + std::strerror(errno));
        }
        const auto deadline = std::chrono::steady_clock::now() + m_job.limits.whole;
        while (ReadOutput(child.Output())) {
            if (!m_job.progress.GoesOn()) {
                return MirrorEnd::kStopped;
            }
            if (std::chrono::steady_clock::now() > deadline) {
                return Conclude(-1);
            }
        }
        return Conclude(child.Join());
    }

    // Waits a beat for output and logs what came of it. False at its end.
    bool ReadOutput(int output) {
        pollfd waiting{output, POLLIN, 0};
        if (::poll(&waiting, 1, static_cast<int>(Progress::kBeat.count())) <= 0) {
            return true;
        }
        std::array<char, kMaxLine> buffer{};
        const auto got = ::read(output, buffer.data(), buffer.size());
        if (got <= 0) {
            return got < 0 && errno == EINTR;
        }
        m_pending.append(buffer.data(), static_cast<std::size_t>(got));
        std::size_t end = 0;
        while ((end = m_pending.find('\n')) != std::string::npos || m_pending.size() > kMaxLine) {
            const std::string line = m_pending.substr(0, end);
            m_pending.erase(0, end == std::string::npos ? end : end + 1);
            TakeLine(line);
        }
        return true;
    }

    void TakeLine(const std::string& line) {
        if (line.empty()) {
            return;
        }
        m_job.progress.Log(ForLog(m_address) + ": " + line);
        if (const auto end = CoolDownEnd(line)) {
            m_coolDownEnd = *end;
        }
        m_isLimited = m_isLimited ||
                      std::any_of(kLimited.begin(), kLimited.end(), [&line](std::string_view text) {
                          return line.find(text) != std::string::npos;
                      });
        if (const std::string_view name = AnnouncedDatabase(line); !name.empty()) {
            m_job.progress.Status(kUpdateLoadingNamedFile, name);
        }
    }

    MirrorEnd Conclude(int code) {
        if (m_isLimited || m_coolDownEnd) {
            m_state.notBefore = m_coolDownEnd.value_or(m_job.now + kUsualDelay);
            return Fail("asks to be left alone, try again at " +
                        signed_index::FormatUtcTime(m_state.notBefore));
        }
        if (code == FreshclamChild::kDamagedDatabase) {
            // Nothing of the mirror is refused by that.
            if (std::exchange(m_isSecondTry, true)) {
                return Fail("a database here was damaged again");
            }
            m_job.progress.Refuse(ForLog(m_address) + ": a database here was damaged");
            return Ask();
        }
        constexpr int kBadDatabase = 7;
        if (code == kBadDatabase) {
            m_job.progress.Refuse(ForLog(m_address) + ": the database has no valid signature");
            return MirrorEnd::kRefused;
        }
        return code == 0 ? TakeWhatIsThere()
                         : Fail("the download failed with code " + std::to_string(code));
    }

    // The file of a database, ".cvd" or ".cld"; empty when there is none.
    [[nodiscard]] std::string FindDatabase(const std::string& database) const {
        for (const char* ending : {".cld", ".cvd"}) {
            std::string name = database + ending;
            if (::faccessat(m_folder.Get(), name.c_str(), R_OK, AT_SYMLINK_NOFOLLOW) == 0) {
                return name;
            }
        }
        return {};
    }

    MirrorEnd TakeWhatIsThere() {
        std::vector<std::string> names;
        bool isSame = true;
        for (const std::string& database : m_job.mirrors.databases) {
            if (const std::string name = FindDatabase(database); !name.empty()) {
                names.push_back(name);
                isSame = isSame && IsInstalled(name);
            }
        }
        if (names.empty()) {
            return Fail("no database has come");
        }
        return isSame ? MirrorEnd::kUpToDate : MakeCandidate(names);
    }

    // The header holds version, digest and signature of all that follows.
    [[nodiscard]] bool IsInstalled(const std::string& name) const {
        const common::FileDescriptor ours = common::OpenRegularFileAt(
            m_folder.Get(), name.c_str(), O_RDONLY, common::Links::kNoSymbolic);
        const common::FileDescriptor theirs = m_job.current.OpenFile(name);
        struct stat first {};
        struct stat second {};
        std::array<char, kHeaderSize> head{};
        std::array<char, kHeaderSize> otherHead{};
        return ours && theirs && ::fstat(ours.Get(), &first) == 0 &&
               ::fstat(theirs.Get(), &second) == 0 && first.st_size == second.st_size &&
               common::ReadFull(ours.Get(), std::as_writable_bytes(std::span(head))) > 0 &&
               common::ReadFull(theirs.Get(), std::as_writable_bytes(std::span(otherHead))) > 0 &&
               head == otherHead;
    }

    MirrorEnd MakeCandidate(const std::vector<std::string>& names) {
        const common::FileDescriptor candidate = m_job.folder.BeginCandidate();
        const bool isMade =
            candidate && std::all_of(names.begin(), names.end(), [&](const std::string& name) {
                return DownloadFolder::LinkInto(candidate.Get(), m_folder.Get(), name, name);
            });
        if (!isMade || !m_job.folder.FinishCandidate()) {
            Fail(std::string("the candidate cannot be made: ") + std::strerror(errno));
            return MirrorEnd::kDiskFailed;
        }
        return MirrorEnd::kCandidate;
    }

    MirrorEnd Fail(const std::string& words) {
        m_job.progress.Log(ForLog(m_address) + ": " + words);
        return MirrorEnd::kFailed;
    }

    const OfficialJob& m_job;
    const std::string& m_address;
    OfficialState& m_state;
    common::FileDescriptor m_folder;
    std::string m_pending;
    bool m_isLimited = false;
    bool m_isSecondTry = false;
    std::optional<std::time_t> m_coolDownEnd;
};

}  // namespace

MirrorEnd FetchFromOfficial(const OfficialJob& job, const std::string& address,
                            OfficialState& state) {
    return Official(job, address, state).Fetch();
}

}  // namespace fetch
