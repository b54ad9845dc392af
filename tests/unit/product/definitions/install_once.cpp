// install_once PRODUCT CANDIDATE: one installation, for the tests that kill it or refuse it system
// calls. The calls of the installation stand between two of getppid().

#include <cstdio>
#include <string>
#include <unistd.h>

#include "product/definitions/install.h"
#include "product/definitions/rollback.h"

namespace {

class Quiet : public definitions::InstallObserver {
public:
    bool GoOn(definitions::InstallStep /*step*/) override { return true; }
    void Log(const std::string& line) override { std::fprintf(stderr, "%s\n", line.c_str()); }
};

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return 99;
    }
    Quiet observer;
    definitions::InstallOptions options;
    options.productDirectory = argv[1];
    if (argc > 3) {
        options.backupFolder = argv[3];
    }
    (void)::getppid();
    const auto result = std::string(argv[2]) == "rollback"
                            ? definitions::RollBack(options.productDirectory)
                            : definitions::Install({argv[2]}, options, observer);
    (void)::getppid();
    std::fprintf(stderr, "%s\n", result.why.c_str());
    return static_cast<int>(result.outcome);
}
