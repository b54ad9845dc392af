// install_once PRODUCT CANDIDATE [BACKUPFOLDER [SECONDS]]: one installation, for the tests that
// kill it or refuse it system calls; with "rollback" for a candidate a way back, with "backup" a
// backup of the set in use alone, made by the first thread at that time. The calls of the
// installation stand between two of getppid().

#include <cstdio>
#include <ctime>
#include <string>
#include <unistd.h>

#include "product/definitions/backup.h"
#include "product/definitions/definition_folder.h"
#include "product/definitions/install.h"
#include "product/definitions/rollback.h"

namespace {

class Quiet : public definitions::InstallObserver {
public:
    bool GoOn(definitions::InstallStep /*step*/) override { return true; }
    void Log(const std::string& line) override { std::fprintf(stderr, "%s\n", line.c_str()); }
};

definitions::InstallResult BackUpOnly(const definitions::InstallOptions& options, std::time_t now) {
    const auto folder = definitions::DefinitionFolder::Open(options.productDirectory);
    const auto set = folder.OpenSet(folder.Current().value_or(0));
    const std::string why =
        definitions::BackUp(set.Get(), options.backupFolder.value_or(""), now, [] { return true; });
    return {why.empty() ? definitions::Outcome::kInstalled : definitions::Outcome::kFailed, why};
}

definitions::InstallResult Do(const std::string& what, const definitions::InstallOptions& options,
                              std::time_t now) {
    Quiet observer;
    if (what == "rollback") {
        return definitions::RollBack(options.productDirectory);
    }
    return what == "backup" ? BackUpOnly(options, now)
                            : definitions::Install({what}, options, observer);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return 99;
    }
    definitions::InstallOptions options;
    options.productDirectory = argv[1];
    if (argc > 3) {
        options.backupFolder = argv[3];
    }
    const std::time_t now = argc > 4 ? std::stoll(argv[4]) : std::time(nullptr);
    (void)::getppid();
    const auto result = Do(argv[2], options, now);
    (void)::getppid();
    std::fprintf(stderr, "%s\n", result.why.c_str());
    return static_cast<int>(result.outcome);
}
