// create-shared-files PROGRAM-DIRECTORY: makes what the program expects from installation and is
// not there, and what an installation that found no room left behind of it. Everything else keeps
// its content, so it may run again at any time.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <string_view>

#include "product/shared_files/provide.h"
#include "product/shared_files/shared_files.h"

namespace shared_files {
namespace {

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

void Say(const std::string& path, const char* what) {
    std::fprintf(stderr, "create-shared-files: %s: %s\n", path.c_str(), what);
}

/// False when it failed.
bool Tell(const std::string& path, Provided provided) {
    switch (provided) {
        case Provided::kSound:
        case Provided::kMade:
            break;
        case Provided::kRepaired:
            Say(path, "was empty or cut off and has been made anew");
            break;
        case Provided::kTakenBack:
            Say(path, "was not its user's alone and has been made anew");
            break;
        case Provided::kLeftAlone:
            Say(path, "is no plain file and is left alone");
            break;
        case Provided::kFailed:
            Say(path, std::strerror(errno));
            return false;
    }
    return true;
}

bool ProvideFiles(const std::string& path, int folder, FolderOwner owner,
                  std::span<const SharedFile> files) {
    RemoveLeftovers(folder);
    bool isComplete = true;
    for (const SharedFile& file : files) {
        isComplete &= Tell(path + "/" + file.name, Provide(folder, owner, file));
    }
    return isComplete;
}

bool ProvideDefinitions(const std::string& path, int folder) {
    bool isComplete = ProvideFiles(path, folder, FolderOwner::kUpdater, DefinitionsFiles());
    const std::string packagePath = path + "/" + kPackageFolder.name;
    const common::FileDescriptor package =
        ProvideFolder(folder, FolderOwner::kUpdater, kPackageFolder);
    if (!package) {
        Say(packagePath, std::strerror(errno));
        isComplete = false;
    } else {
        isComplete &=
            ProvideFiles(packagePath, package.Get(), FolderOwner::kUpdater, PackageFiles());
    }
    return Tell(path + "/" + kCurrentLink.name, ProvideLink(folder, kCurrentLink)) && isComplete;
}

/// Goes on after a failure: what can be made is made.
bool ProvideAll(const std::string& directory) {
    const common::FileDescriptor program(
        ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!program) {
        Say(directory, std::strerror(errno));
        return false;
    }
    constexpr auto kOwner = FolderOwner::kAdministrator;
    bool isComplete = ProvideFiles(directory, program.Get(), kOwner, ProgramFiles());
    for (const SharedFolder& wanted : ProgramFolders()) {
        const std::string path = directory + "/" + wanted.name;
        const common::FileDescriptor folder = ProvideFolder(program.Get(), kOwner, wanted);
        if (!folder) {
            Say(path, std::strerror(errno));
            isComplete = false;
        } else if (wanted.name == std::string_view(kReportsFolder)) {
            isComplete &= ProvideFiles(path, folder.Get(), FolderOwner::kEverybody, ReportsFiles());
        } else if (wanted.name == std::string_view(kDefinitionsFolder)) {
            isComplete &= ProvideDefinitions(path, folder.Get());
        }
    }
    // Last: the version file of an earlier release stays until there is what the link leads to.
    return Tell(directory + "/" + kVersionLink.name, ProvideLink(program.Get(), kVersionLink)) &&
           isComplete;
}

}  // namespace
}  // namespace shared_files

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("Usage: create-shared-files PROGRAM-DIRECTORY\n", stderr);
        return shared_files::kExitUsage;
    }
    std::signal(SIGXFSZ, SIG_IGN);  // A file-size limit is answered like a full disk.
    return shared_files::ProvideAll(argv[1]) ? shared_files::kExitOk : shared_files::kExitFailed;
}
