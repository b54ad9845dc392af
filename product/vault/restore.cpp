#include "product/vault/restore.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <grp.h>
#include <linux/openat2.h>
#include <pwd.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

#include "common/io.h"
#include "common/retrying.h"
#include "product/vault/new_file.h"

namespace vault {

namespace {

constexpr mode_t kPermissions = 0777;
constexpr std::size_t kMaxReport = 65536;

struct Target {
    std::string folder;
    std::string name;
    [[nodiscard]] std::string Path() const {
        return folder + (folder.ends_with('/') ? "" : "/") + name;
    }
};

// An empty name for what is no file's path.
Target Split(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        return {".", path};
    }
    return {path.substr(0, slash == 0 ? 1 : slash), path.substr(slash + 1)};
}

bool IsFileName(const std::string& name) {
    return !name.empty() && name != "." && name != "..";
}

std::string Reason(const std::string& what) {
    return what + ": " + std::strerror(errno);
}

common::FileDescriptor OpenWithoutLinks(const std::string& folder) {
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    return common::FileDescriptor(
        static_cast<int>(syscall(SYS_openat2, AT_FDCWD, folder.c_str(), &how, sizeof(how))));
}

bool BecomeOwner(const ItemFacts& facts) {
    std::vector<char> buffer(16384);
    passwd entry{};
    passwd* found = nullptr;
    const bool isKnown =
        getpwuid_r(facts.owner, &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr;
    const gid_t group = isKnown ? entry.pw_gid : facts.group;
    return (isKnown ? initgroups(entry.pw_name, group) : setgroups(0, nullptr)) == 0 &&
           setresgid(group, group, group) == 0 &&
           setresuid(facts.owner, facts.owner, facts.owner) == 0;
}

bool IsForUsers(const std::string& attribute) {
    return !attribute.starts_with("security.") && !attribute.starts_with("trusted.");
}

// What of the file cannot be had again is told and is no reason to go without the contents.
std::string PutFacts(int file, const ItemFacts& facts) {
    std::string lost;
    const auto lose = [&](const std::string& what) { lost += (lost.empty() ? "" : ", ") + what; };
    if (fchown(file, static_cast<uid_t>(-1), facts.group) != 0) {
        lose("its group");
    }
    for (const ExtendedAttribute& attribute : facts.attributes) {
        if (IsForUsers(attribute.name) &&
            fsetxattr(file, attribute.name.c_str(), attribute.value.data(), attribute.value.size(),
                      XATTR_CREATE) != 0) {
            lose("attribute " + attribute.name);
        }
    }
    // After the attributes: a list of access rights among them would change it again.
    if (fchmod(file, facts.mode & kPermissions) != 0) {
        lose("its mode");
    }
    const timespec times[2] = {facts.accessed, facts.modified};
    if (futimens(file, times) != 0) {
        lose("its times");
    }
    return lost.empty() ? "" : "not restored: " + lost;
}

// Empty, or why not.
std::string WriteContents(const ItemReader& item, int file) {
    std::string why;
    const bool isWhole = item.Extract(
        [&](std::span<const std::byte> bytes) { return common::WriteAll(file, bytes); }, why);
    if (isWhole) {
        return {};
    }
    return why.empty() ? Reason("it cannot be written") : why;
}

Restored PutBack(const ItemReader& item, const Target& target) {
    const common::FileDescriptor folder = OpenWithoutLinks(target.folder);
    if (!folder) {
        return {false, {}, Reason(target.folder)};
    }
    NewFile file(folder.Get());
    if (file.Get() < 0) {
        return {false, {}, Reason(target.folder)};
    }
    std::string problem = WriteContents(item, file.Get());
    if (!problem.empty()) {
        return {false, {}, problem};
    }
    problem = PutFacts(file.Get(), item.Facts());
    if (!file.Finish(target.name)) {
        return {false, {}, Reason(target.Path())};
    }
    return {true, target.Path(), problem};
}

std::string ReadReport(int from) {
    std::string report(kMaxReport, '\0');
    const auto length = common::ReadFull(from, std::as_writable_bytes(std::span(report)));
    report.resize(length < 0 ? 0 : static_cast<std::size_t>(length));
    return report;
}

// The same in a child that has become the owner, and says how it ended by a byte and the problem.
Restored PutBackAsOwner(const ItemReader& item, const Target& target) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return {false, {}, Reason("no pipe")};
    }
    const common::FileDescriptor reading(ends[0]);
    common::FileDescriptor writing(ends[1]);
    const pid_t child = fork();
    if (child == 0) {
        Restored restored;
        if (BecomeOwner(item.Facts())) {
            restored = PutBack(item, target);
        } else {
            restored.problem = Reason("the rights of its owner cannot be had");
        }
        const std::string report = (restored.isDone ? "1" : "0") + restored.problem;
        _exit(common::WriteAll(writing.Get(), std::string_view(report).substr(0, kMaxReport)) ? 0
                                                                                              : 1);
    }
    if (child < 0) {
        return {false, {}, Reason("no process")};
    }
    writing.Reset();
    const std::string report = ReadReport(reading.Get());
    (void)common::Retrying([&] { return waitpid(child, nullptr, 0); });
    if (report.empty()) {
        return {false, {}, "the process that was to do it has ended early"};
    }
    const bool isDone = report.front() == '1';
    return {isDone, isDone ? target.Path() : "", report.substr(1)};
}

}  // namespace

Restored Restore(const ItemReader& item, const std::string& folder) {
    const ItemFacts& facts = item.Facts();
    Target target = Split(facts.path);
    if (!facts.path.starts_with('/') || !IsFileName(target.name)) {
        return {false, {}, "its path is no absolute path of a file"};
    }
    if (!folder.empty()) {
        target.folder = folder;
    }
    return geteuid() == 0 && facts.owner != 0 ? PutBackAsOwner(item, target)
                                              : PutBack(item, target);
}

std::string Export(const ItemReader& item, const std::string& path) {
    const Target target = Split(path);
    if (!IsFileName(target.name)) {
        return "that is no name of a file";
    }
    const common::FileDescriptor folder(
        open(target.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return std::strerror(errno);
    }
    NewFile file(folder.Get());
    if (file.Get() < 0) {
        return std::strerror(errno);
    }
    std::string problem = WriteContents(item, file.Get());
    if (problem.empty() && !file.Finish(target.name)) {
        problem = std::strerror(errno);
    }
    return problem;
}

}  // namespace vault
