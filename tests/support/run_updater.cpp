// run_updater site ADDRESS [STATUS] | index FOLDER: lets the installed "updturl.so" update as the
// program does, and prints each new status and the result. At STATUS it asks to stop.

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <string>

#include "abi/updturl.h"
#include "common/paths.h"

namespace {

struct Run {
    int stopAt = 0;
    int last = 0;
    bool isStopping = false;
};

int Watch(const tagUPDATEINFO* info, void* context) {
    auto& run = *static_cast<Run*>(context);
    if (info->status != run.last) {
        run.last = info->status;
        std::printf("status %d %s\n", run.last, info->fileName);
    }
    run.isStopping = run.isStopping || run.last == run.stopAt;
    return run.isStopping ? kUpdateStop : kUpdateGoOn;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string product = kProductDirectory;
    void* const library = ::dlopen((product + kUpdaterLibrary).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr || argc < 3) {
        std::fprintf(stderr, "run_updater: %s\n", library == nullptr ? ::dlerror() : "usage");
        return 2;
    }
    int result = -1;
    if (std::string(argv[1]) == "index") {
        const auto update =
            reinterpret_cast<PFNUPDATEFROMINDEX>(::dlsym(library, kUpdateFromIndex));
        result = update(product.c_str(), argv[2], nullptr);
    } else {
        Run run;
        run.stopAt = argc > 3 ? std::atoi(argv[3]) : 0;
        char* address = argv[2];
        const auto update =
            reinterpret_cast<PFNZQUPDATEFROMSITE>(::dlsym(library, kUpdateFromSite));
        result = update(product.c_str(), (product + "download/").c_str(), 0, 1, 0, nullptr, nullptr,
                        &address, 1, &Watch, &run, nullptr);
    }
    std::printf("result %d\n", result);
    return 0;
}
