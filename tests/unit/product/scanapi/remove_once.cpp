// remove_once FILE [off]: opens the file as for a scan and removes it, between two marks for
// strace. The exit status is the result of the removal.

#include <string_view>
#include <unistd.h>

#include "product/scanapi/file_remover.h"

int main(int argc, char** argv) {
    EngineOpenStatus status = kOpenFailed;
    const auto file = argc > 1 ? scanapi::TargetFile::Open(argv[1], status) : nullptr;
    if (file == nullptr) {
        return 99;
    }
    scanapi::Disposal disposal{{}, "Test.Virus", "1.00"};
    disposal.vault.isOn = argc < 3 || std::string_view(argv[2]) != "off";
    (void)::getppid();
    const scanapi::Removal removal = scanapi::RemoveScannedFile(*file, disposal);
    (void)::getppid();
    return static_cast<int>(removal.result);
}
