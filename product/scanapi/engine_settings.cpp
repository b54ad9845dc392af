#include "product/scanapi/engine_settings.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <sched.h>
#include <string_view>
#include <strings.h>
#include <sys/stat.h>

#include "common/escaped_text.h"
#include "common/profile.h"
#include "common/regular_file.h"
#include "product/scanapi/engine_log.h"

namespace scanapi {

namespace {

constexpr char kVaultSection[] = "Vault";
constexpr char kCacheSection[] = "Cache";
constexpr char kScanningSection[] = "Scanning";
// Less would not do for what the bounds of a scan allow.
constexpr std::uint64_t kLeastMemory = 512;  // MiB
constexpr std::uint64_t kMiB = std::uint64_t{1} << 20U;
constexpr std::uint64_t kMostCacheMiB = 1024;

// The file as it was found to be root's: what takes its name meanwhile is not read.
class SettingsFile {
public:
    explicit SettingsFile(const std::string& path) : m_path(path) {
        m_file = common::OpenRegularFile(path.c_str(), O_RDONLY, common::Links::kNoSymbolic);
        struct stat status {};
        if (!m_file) {
            if (errno != ENOENT) {
                Log(std::string("is not read: ") + std::strerror(errno));
            }
        } else if (fstat(m_file.Get(), &status) != 0 || status.st_uid != 0 ||
                   (status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
            Log("is not believed: it is not root's, or others may write to it");
            m_file.Reset();
        }
    }

    // The value, trimmed; empty when it is not set.
    [[nodiscard]] std::string Text(const char* section, const char* key) const {
        std::array<char, 256> value{};
        std::uint32_t error = 0;
        if (m_file) {
            const std::string path = "/proc/self/fd/" + std::to_string(m_file.Get());
            GetPrivateProfileString(section, key, "", value.data(), value.size(), path.c_str(),
                                    &error);
        }
        return value.data();
    }

    void ReadNumber(const char* section, const char* key, std::uint64_t least, std::uint64_t most,
                    std::uint64_t& number) const {
        const std::string text = Text(section, key);
        std::uint64_t read = 0;
        const char* const end = text.data() + text.size();
        if (text.empty()) {
            return;
        }
        const auto [stop, error] = std::from_chars(text.data(), end, read);
        if (error == std::errc() && stop == end && read >= least && read <= most) {
            number = read;
        } else {
            LogValue(section, key,
                     "a number from " + std::to_string(least) + " to " + std::to_string(most));
        }
    }

    void ReadSwitch(const char* section, const char* key, bool& isOn) const {
        ReadChoice(section, key, {"on", "off"}, isOn);
    }

    struct Words {
        const char* yes;
        const char* no;
    };
    void ReadChoice(const char* section, const char* key, const Words& words, bool& isYes) const {
        const std::string text = Text(section, key);
        const bool saysYes = strcasecmp(text.c_str(), words.yes) == 0;
        if (saysYes || strcasecmp(text.c_str(), words.no) == 0) {
            isYes = saysYes;
        } else if (!text.empty()) {
            LogValue(section, key, std::string(words.yes) + " or " + words.no);
        }
    }

    void ReadPath(const char* section, const char* key, std::string& path) const {
        const std::string text = Text(section, key);
        if (text.starts_with('/')) {
            path = text;
        } else if (!text.empty()) {
            LogValue(section, key, "an absolute path");
        }
    }

private:
    void Log(const std::string& what) const {
        LogLine("(" + common::Escaped(m_path) + ") " + what);
    }
    void LogValue(const char* section, const char* key, const std::string& what) const {
        Log(std::string("[") + section + "] " + key + " is not " + what + "; the default is used");
    }

    std::string m_path;
    common::FileDescriptor m_file;
};

void ReadVault(const SettingsFile& file, vault::Settings& settings) {
    file.ReadSwitch(kVaultSection, "Vault", settings.isOn);
    std::uint64_t days = settings.days;
    file.ReadNumber(kVaultSection, "Days", vault::kYoungDays, 3650, days);
    settings.days = static_cast<unsigned int>(days);
    std::uint64_t size = settings.bytes / kMiB;
    file.ReadNumber(kVaultSection, "MiB", 1, kMiB, size);
    settings.bytes = size * kMiB;
}

void ReadCache(const SettingsFile& file, CacheSettings& settings) {
    file.ReadSwitch(kCacheSection, "Cache", settings.isOn);
    std::uint64_t size = settings.bytes / kMiB;
    file.ReadNumber(kCacheSection, "MiB", 1, kMostCacheMiB, size);
    settings.bytes = size * kMiB;
}

void ReadScanning(const SettingsFile& file, ScanningSettings& settings) {
    std::uint64_t workers = UsableCores();
    file.ReadNumber(kScanningSection, "Workers", 1, kMostWorkers, workers);
    settings.workers = static_cast<std::uint32_t>(workers);
    std::uint64_t memory = settings.memoryMiB;
    file.ReadNumber(kScanningSection, "MemoryMiB", kLeastMemory, kMiB, memory);
    settings.memoryMiB = static_cast<std::uint32_t>(memory);
}

void ReadClamd(const SettingsFile& file, ClamdSettings& settings) {
    file.ReadChoice(kScanningSection, "Backend", {"clamd", "own"}, settings.isOn);
    file.ReadPath(kScanningSection, "ClamdSocket", settings.socket);
    file.ReadPath(kScanningSection, "ClamdConfig", settings.config);
    settings.address = file.Text(kScanningSection, "ClamdAddress");
}

}  // namespace

std::uint32_t UsableCores() {
    cpu_set_t cores;
    // More cores than the set has room for: then all that may be asked for.
    if (sched_getaffinity(0, sizeof cores, &cores) != 0) {
        return kMostWorkers;
    }
    return std::clamp(static_cast<std::uint32_t>(CPU_COUNT(&cores)), 1U, kMostWorkers);
}

EngineSettings ReadEngineSettings(const std::string& engineDirectory) {
    const SettingsFile file(engineDirectory + kSettingsFileName);
    EngineSettings settings;
    ReadVault(file, settings.vault);
    ReadCache(file, settings.cache);
    ReadScanning(file, settings.scanning);
    ReadClamd(file, settings.clamd);
    return settings;
}

}  // namespace scanapi
