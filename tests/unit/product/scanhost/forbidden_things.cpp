#include "tests/unit/product/scanhost/forbidden_things.h"

#include <csignal>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "product/scanwire/switches.h"

namespace scanhost {

using namespace scanwire;

namespace {

int Opened(const std::string& path, int flags) {
    return ErrorUnless(open(path.c_str(), flags | O_CLOEXEC, 0600) >= 0);
}

int ReadOfParent(const Outside& outside) {
    char byte = 0;
    const iovec here{&byte, 1};
    const iovec there{const_cast<Outside*>(&outside), 1};
    return ErrorUnless(process_vm_readv(getppid(), &here, 1, &there, 1, 0) == 1);
}

int ModeChangedByName(const Outside& outside) {
    const int result = chmod(outside.file.c_str(), 0777);
    struct stat status {};
    fstat(outside.readOnly, &status);
    return result != 0 ? errno : (status.st_mode & 07777U) == 0777 ? 0 : EPERM;
}

int Executed(const Outside& outside) {
    char name[] = "true";
    char* const arguments[] = {name, nullptr};
    char* const environment[] = {nullptr};
    return ErrorUnless(fexecve(outside.program, arguments, environment) == 0);
}

}  // namespace

const std::vector<Forbidden>& ForbiddenThings() {
    static const std::vector<Forbidden> things {
        {"to read a file by name",
         [](const Outside& o) { return Opened(o.file, O_RDONLY); },
         {kNoOwnScratch, kNoLandlock},
         kNoOwnUser},
            {"to write to a file",
             [](const Outside& o) { return Opened(o.file, O_WRONLY); },
             {kNoOwnScratch, kNoLandlock},
             kNoOwnUser},
            {"to make a file",
             [](const Outside& o) { return Opened(o.folder + "new", O_WRONLY | O_CREAT); },
             {kNoOwnScratch, kNoLandlock},
             kNoOwnUser},
            {"to remove a file",
             [](const Outside& o) { return ErrorUnless(unlink(o.file.c_str()) == 0); },
             {kNoOwnScratch, kNoLandlock},
             kNoOwnUser},
            {"to list a folder",
             [](const Outside& o) { return Opened(o.folder, O_RDONLY | O_DIRECTORY); },
             {kNoOwnScratch, kNoLandlock},
             kNoOwnUser},
            {"to look at a process",
             [](const Outside&) { return Opened("/proc/self/status", O_RDONLY); },
             {kNoOwnScratch, kNoLandlock},
             kInspectable},
            {"to ask about a file by name",
             [](const Outside& o) {
                 struct stat status {};
                 return ErrorUnless(stat(o.file.c_str(), &status) == 0);
             },
             {kNoOwnScratch},
             kNoOwnUser},
            {"to change a mode by name",
             ModeChangedByName,
             {kNoOwnScratch, kNoSyscallFilter},
             kNoOwnUser},
            {"to have a socket of the network",
             [](const Outside&) { return ErrorUnless(socket(AF_INET, SOCK_STREAM, 0) >= 0); },
             {kNoSyscallFilter}},
            {"to have a socket of the machine",
             [](const Outside&) { return ErrorUnless(socket(AF_UNIX, SOCK_STREAM, 0) >= 0); },
             {kNoSyscallFilter}},
            {"to execute a program",
             Executed,
             {kNoSyscallFilter, kNoLandlock, kNoOwnScratch},
             kNoOwnUser},
            {"to fork",
             [](const Outside&) {
                 const pid_t child = fork();
                 if (child == 0) {
                     _exit(0);
                 }
                 return ErrorUnless(child > 0);
             },
             {kNoSyscallFilter},
             kNoLimits},
            {"to signal another",
             [](const Outside&) { return ErrorUnless(kill(getppid(), 0) == 0); },
             {kNoSyscallFilter},
             kNoLandlock | kNoOwnUser},
            {"to read another's memory",
             ReadOfParent,
             {kNoSyscallFilter, kNoLandlock},
             kNoOwnUser | kKeepCapabilities | kNoOwnScratch},
            {"to trace",
             [](const Outside&) {
                 return ErrorUnless(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0);
             },
             {kNoSyscallFilter},
             kNoLandlock},
            {"to change a mode by descriptor",
             [](const Outside& o) { return ErrorUnless(fchmod(o.readOnly, 0640) == 0); },
             {kNoSyscallFilter},
             kNoOwnUser},
            {"to change an owner by descriptor",
             [](const Outside& o) {
                 return ErrorUnless(fchown(o.readOnly, geteuid(), getegid()) == 0);
             },
             {kNoSyscallFilter},
             kNoOwnUser},
            {"to change times by descriptor",
             [](const Outside& o) { return ErrorUnless(futimens(o.readOnly, nullptr) == 0); },
             {kNoSyscallFilter},
             kNoOwnUser},
            {"to change attributes by descriptor",
             [](const Outside& o) {
                 const bool done = fsetxattr(o.readOnly, "user.corvane", "x", 1, 0) == 0;
                 return done || errno == EOPNOTSUPP ? 0 : errno;
             },
             {kNoSyscallFilter},
             kNoOwnUser},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
            // A sanitizer asks by it whether what it writes to is a terminal.
            {"to control a descriptor",
             [](const Outside& o) {
                 int waiting = 0;
                 return ErrorUnless(ioctl(o.readOnly, FIONREAD, &waiting) == 0);
             },
             {kNoSyscallFilter}},
#endif
            {"to lock a file",
             [](const Outside& o) {
                 struct flock lock {};
                 lock.l_type = F_RDLCK;
                 return ErrorUnless(fcntl(o.readOnly, F_SETLK, &lock) == 0);
             },
             {kNoSyscallFilter}},
            {"to run new code",
             [](const Outside&) {
                 return ErrorUnless(mmap(nullptr, 1, PROT_READ | PROT_EXEC,
                                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED);
             },
             {kNoSyscallFilter}},
            {"to make data into code",
             [](const Outside&) {
                 void* const page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE,
                                         MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
                 return ErrorUnless(mprotect(page, 4096, PROT_READ | PROT_EXEC) == 0);
             },
             {kNoSyscallFilter}},
            {"to mount",
             [](const Outside&) { return ErrorUnless(fsopen("tmpfs", 0) >= 0); },
             {kNoSyscallFilter, kKeepCapabilities},
             kNoOwnUser},
            {"to open without end",
             [](const Outside& o) {
                 int last = 0;
                 for (int i = 0; i < 300 && last >= 0; ++i) {
                     last = dup(o.readOnly);
                 }
                 return ErrorUnless(last >= 0);
             },
             {kNoLimits}},
            {"to write without end",
             [](const Outside&) {
                 const int fd = open("large", O_WRONLY | O_CREAT, 0600);
                 return ErrorUnless(pwrite(fd, "x", 1, off_t{600} << 20U) == 1);
             },
             {kNoLimits}},
    };
    return things;
}

}  // namespace scanhost
