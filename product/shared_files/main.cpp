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

bool ProvideFiles(const std::string& path, int folder, FolderOwner owner,
                  std::span<const SharedFile> files) {
    RemoveLeftovers(folder);
    bool isComplete = true;
    for (const SharedFile& file : files) {
        const std::string name = path + "/" + file.name;
        switch (Provide(folder, owner, file)) {
            case Provided::kSound:
            case Provided::kMade:
                break;
            case Provided::kRepaired:
                Say(name, "was empty or cut off and has been made anew");
                break;
            case Provided::kTakenBack:
                Say(name, "was not its user's alone and has been made anew");
                break;
            case Provided::kLeftAlone:
                Say(name, "is no plain file and is left alone");
                break;
            case Provided::kFailed:
                Say(name, std::strerror(errno));
                isComplete = false;
                break;
        }
    }
    return isComplete;
}

/// Goes on after a failure: what can be made is made.
bool ProvideAll(const std::string& directory) {
    const common::FileDescriptor program(
        ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!program) {
        Say(directory, std::strerror(errno));
        return false;
    }
    bool isComplete =
        ProvideFiles(directory, program.Get(), FolderOwner::kAdministrator, ProgramFiles());
    for (const SharedFolder& wanted : ProgramFolders()) {
        const std::string path = directory + "/" + wanted.name;
        const common::FileDescriptor folder = ProvideFolder(program.Get(), wanted);
        if (!folder) {
            Say(path, std::strerror(errno));
            isComplete = false;
        } else if (wanted.name == std::string_view(kReportsFolder)) {
            isComplete &= ProvideFiles(path, folder.Get(), FolderOwner::kEverybody, ReportsFiles());
        } else if (wanted.name == std::string_view(kDefinitionsFolder)) {
            isComplete &=
                ProvideFiles(path, folder.Get(), FolderOwner::kUpdater, DefinitionsFiles());
        }
    }
    return isComplete;
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
