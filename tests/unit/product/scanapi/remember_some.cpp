// remember_some FOLDER FIRST LAST: remembers the files of these numbers there; what it does on the
// way stands between two calls of getppid().

#include <cstdlib>
#include <unistd.h>

#include "product/scanapi/verdict_file.h"
#include "tests/unit/product/scanapi/verdict_fixture.h"

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    const std::string records =
        RecordsOf(std::strtoull(argv[2], nullptr, 10), std::strtoull(argv[3], nullptr, 10));
    constexpr std::uint64_t kLimit = 20'000;
    std::string why;
    (void)getppid();
    const auto file = scanapi::VerdictFile::Open(argv[1], kLimit, why);
    const bool isKept = file && file->Append(BasisOf('b'), kNoon, records);
    (void)getppid();
    return isKept ? 0 : 1;
}
