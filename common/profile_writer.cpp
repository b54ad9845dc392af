#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

#include "common/file_descriptor.h"
#include "common/profile.h"
#include "common/profile_lines.h"

namespace {

constexpr std::size_t kMaxTemporaryNameLength = 260;
constexpr mode_t kPermissionBits = 0777;

std::string TemporaryName(const std::string& path) {
    return path + ".tmp";
}

// The new file while it is written; deleted unless it has taken its place.
//
// It is written under a name that nobody else can guess, and whole before it gets the foreseeable
// one. Two writers at once would otherwise write into each other's halves, and the profile would
// lose more than one of the two values.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& path)
        // A short name, so that the folder takes it however long the profile's name is.
        : m_name(path.substr(0, path.rfind('/') + 1) + ".profile-XXXXXX") {
        common::FileDescriptor file(::mkostemp(m_name.data(), O_CLOEXEC));
        if (!file) {
            m_name.clear();
            return;
        }
        m_file.reset(::fdopen(file.Get(), "w"));
        if (m_file) {
            (void)file.Release();
        }
    }
    ~TemporaryFile() {
        if (!m_name.empty()) {
            (void)::unlink(m_name.c_str());
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] bool IsOpen() const { return m_file != nullptr; }
    [[nodiscard]] std::FILE* Stream() { return m_file.get(); }

    /// Gives the file the owner and the mode of the one that it replaces, and closes it. False when
    /// anything of it was not written. Who may not give files away stays the owner.
    bool Finish(const struct stat& replaced) {
        const mode_t mode = replaced.st_mode & kPermissionBits;
        [[maybe_unused]] const int given =
            ::fchown(::fileno(m_file.get()), replaced.st_uid, replaced.st_gid);
        const bool isWhole = std::fflush(m_file.get()) == 0 && std::ferror(m_file.get()) == 0 &&
                             ::fchmod(::fileno(m_file.get()), mode) == 0;
        // Some file systems tell only now that the disk is full.
        return std::fclose(m_file.release()) == 0 && isWhole;
    }

    /// Puts the finished file in the place of the one at `path`. False when its temporary name
    /// cannot be had; what lies there, an old leftover or somebody's link, makes way otherwise.
    bool MoveTo(const std::string& path) {
        const std::string temporary = TemporaryName(path);
        if (std::rename(m_name.c_str(), temporary.c_str()) != 0) {
            return false;
        }
        m_name.clear();
        // One rename instead of a deletion and a rename: the same outcome, and at no moment no
        // file. Another writer's may be moved here, or have been moved by them: whole as well.
        if (std::rename(temporary.c_str(), path.c_str()) != 0 && errno != ENOENT) {
            (void)::unlink(temporary.c_str());
        }
        return true;
    }

private:
    std::string m_name;  ///< the private name; empty when there is nothing under it
    common::FileStream m_file;
};

void CopyRest(std::FILE* from, std::FILE* to) {
    std::array<char, 4096> block;
    std::size_t length = 0;
    while ((length = std::fread(block.data(), 1, block.size(), from)) > 0) {
        (void)std::fwrite(block.data(), 1, length, to);
    }
}

// Copies up to and with the header of the section. False when the file ends before it.
bool CopyToSection(common::ProfileReader& profile, std::FILE* to, const std::string& section) {
    for (const char* line = profile.NextLine(); line != nullptr; line = profile.NextLine()) {
        WriteToFile(to, line);
        if (common::IsHeaderOf(line, section)) {
            return true;
        }
    }
    return false;
}

// Copies the rest of the file, with `entry` in the place of the line that has its key, or else at
// the end of the section.
void CopyWithEntry(common::ProfileReader& profile, std::FILE* to, const std::string& key,
                   const std::string& entry) {
    std::string cut;
    for (const char* line = profile.NextLine(); line != nullptr; line = profile.NextLine()) {
        if (common::IsHeader(line)) {
            WriteToFile(to, entry);
            WriteToFile(to, line);
            CopyRest(profile.Rest(), to);
            return;
        }
        cut = line;
        if (!common::IsIgnored(line) && CompareKey(cut.data(), key.c_str()) == 0) {
            WriteToFile(to, entry);
            CopyRest(profile.Rest(), to);
            return;
        }
        WriteToFile(to, line);
    }
    WriteToFile(to, entry);
}

ProfileError Replace(const std::string& section, const std::string& key, const std::string& entry,
                     const std::string& path) {
    if (TemporaryName(path).size() > kMaxTemporaryNameLength) {
        return PROFILE_ERR_OPEN;
    }
    common::ProfileReader profile(path.c_str());
    struct stat status {};
    if (!profile.IsOpen() || ::fstat(::fileno(profile.Rest()), &status) != 0) {
        return PROFILE_ERR_OPEN;
    }
    TemporaryFile temporary(path);
    if (!temporary.IsOpen()) {
        return PROFILE_ERR_OPEN;
    }
    common::CopyProfile(profile, temporary.Stream(), section, key, entry);
    const bool isReadWhole = std::ferror(profile.Rest()) == 0;
    const bool isWritten = temporary.Finish(status) && isReadWhole;
    return isWritten && temporary.MoveTo(path) ? PROFILE_OK : PROFILE_ERR_OPEN;
}

enum class EmptyValue { kRefused, kAccepted };

int Write(const char* sectionArgument, const char* keyArgument, const char* valueArgument,
          const char* path, std::uint32_t* error, EmptyValue emptyValue) {
    if (sectionArgument == nullptr || keyArgument == nullptr || valueArgument == nullptr ||
        path == nullptr || error == nullptr) {
        return -1;
    }
    const std::string section = common::ProfileArgument(sectionArgument);
    const std::string key = common::ProfileArgument(keyArgument);
    const std::string value = common::ProfileArgument(valueArgument);
    if (section.empty()) {
        *error = PROFILE_ERR_EMPTY_SECTION;
    } else if (key.empty()) {
        *error = PROFILE_ERR_EMPTY_KEY;
    } else if (value.empty() && emptyValue == EmptyValue::kRefused) {
        *error = PROFILE_ERR_EMPTY_VALUE;
    } else {
        *error = Replace(section, key, key + "=" + value, path);
    }
    return *error == PROFILE_OK ? 0 : -1;
}

}  // namespace

void common::CopyProfile(common::ProfileReader& profile, std::FILE* to, const std::string& section,
                         const std::string& key, const std::string& entry) {
    if (!CopyToSection(profile, to, section)) {
        WriteToFile(to, "[" + section + "]");
    }
    CopyWithEntry(profile, to, key, entry);
}

int WritePrivateProfileString(const char* section, const char* key, const char* value,
                              const char* path, std::uint32_t* error) {
    return Write(section, key, value, path, error, EmptyValue::kRefused);
}

int WritePrivateProfileStringEx(const char* section, const char* key, const char* value,
                                const char* path, std::uint32_t* error) {
    return Write(section, key, value, path, error, EmptyValue::kAccepted);
}
