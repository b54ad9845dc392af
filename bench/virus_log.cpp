// bench_virus_log FOLDER: what adding a record to the virus log costs when it holds 100 and when it
// holds 100,000. FOLDER is an empty one to work in. Prints "few=SECONDS many=SECONDS" for as many
// records added to each. The product directory holds "scanver.cnf".

#include "reports/virus_log/virus_log.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/measurements.h"
#include "common/run_state.h"
#include "common/text_field.h"

namespace {

constexpr int kFew = 100;
constexpr int kMany = 100'000;
constexpr int kBlocks = 20;
constexpr int kBlock = 100;

// Makes `folder` the program directory, whose log is never cut.
bool UseFolder(const std::string& folder) {
    std::filesystem::create_directories(folder + "reports");
    std::ofstream(folder + "section.ini") << "[LOGLIMIT]\nMAXLIMIT = 10000000\nLIMIT = 5000000\n";
    return common::CopyToField(g_szAppPath, folder);
}

bool Add(int count) {
    for (int i = 0; i < count; ++i) {
        if (!ZQVRAddRecVirusReport(virus_log::kScannerUiComponent,
                                   "/home/user/some/folder/file.exe", "Eicar-Test-Signature",
                                   "File is Deleted")) {
            return false;
        }
    }
    return true;
}

// Adds a block of records to the log in `folder`, then takes them out of it again by putting back
// the files in `saved`. False when a record is refused.
bool TimeBlock(const std::string& folder, const std::string& saved, double& seconds) {
    if (!UseFolder(folder)) {
        return false;
    }
    const Stopwatch watch;
    const bool isAdded = Add(kBlock);
    seconds += watch.Seconds();
    for (const char* name : {"VirRcONE.dat", "RecOffset.dat"}) {
        std::filesystem::copy_file(saved + name, folder + "reports/" + name,
                                   std::filesystem::copy_options::overwrite_existing);
    }
    return isAdded;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("bench_virus_log FOLDER\n", stderr);
        return 2;
    }
    const std::string folder(argv[1]);
    const std::string few = folder + "/few/";
    const std::string many = folder + "/many/";
    const std::string savedFew = folder + "/saved-few/";
    const std::string savedMany = folder + "/saved-many/";
    if (!UseFolder(few) || !Add(kFew) || !UseFolder(many) || !Add(kMany)) {
        std::fputs("a record was refused\n", stderr);
        return 1;
    }
    std::filesystem::copy(few + "reports", savedFew);
    std::filesystem::copy(many + "reports", savedMany);
    double fewSeconds = 0;
    double manySeconds = 0;
    for (int block = 0; block < kBlocks; ++block) {
        if (!TimeBlock(few, savedFew, fewSeconds) || !TimeBlock(many, savedMany, manySeconds)) {
            std::fputs("a record was refused\n", stderr);
            return 1;
        }
    }
    std::printf("few=%.4f many=%.4f records=%d\n", fewSeconds, manySeconds, kBlocks * kBlock);
    return 0;
}
