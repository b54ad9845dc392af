// bench_data files DIRECTORY COUNT     COUNT text files of 0.2 to 4 KiB, one in 10,000 the EICAR
//                                      test file, 250 to a folder
// bench_data empty DIRECTORY COUNT     COUNT empty files, 250 to a folder
// bench_data hashes FILE COUNT         COUNT signatures of whole files (.hdb)
// bench_data patterns FILE COUNT       COUNT signatures of byte patterns (.ndb)
//
// The same every time, so that two runs can be compared.

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <string>
#include <string_view>
#include <sys/stat.h>

#include "common/file_descriptor.h"
#include "common/io.h"

namespace {

constexpr unsigned long kFilesPerFolder = 250;
constexpr unsigned long kFoldersPerFolder = 100;
constexpr unsigned long kFilesPerInfected = 10'000;

[[noreturn]] void Fail(const std::string& what) {
    std::fprintf(stderr, "bench_data: %s: %s\n", what.c_str(), std::strerror(errno));
    std::exit(EXIT_FAILURE);
}

void MakeFolder(const std::string& path) {
    if (mkdir(path.c_str(), 0755) != 0 && errno != EEXIST) {
        Fail(path);
    }
}

void WriteFile(const std::string& path, std::string_view content) {
    const common::FileDescriptor file(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    if (!file || !common::WriteAll(file.Get(), content)) {
        Fail(path);
    }
}

/// In two halves, so that no scanner objects to this program.
std::string TestVirus() {
    return std::string(R"(X5O!P%@AP[4\PZX54(P^)7CC)7})") + "$EICAR-STANDARD-" +
           "ANTIVIRUS-TEST-FILE!$H+H*";
}

class Generator {
public:
    std::string Text(std::size_t length) {
        constexpr std::string_view kLetters = "etaoin shrdlu cmfwyp vbgkjq xz .,;\n";
        std::string text(length, ' ');
        for (char& c : text) {
            c = kLetters[m_random() % kLetters.size()];
        }
        return text;
    }

    std::string Hex(std::size_t length) {
        std::string text(length, '0');
        for (char& c : text) {
            c = "0123456789abcdef"[m_random() % 16];
        }
        return text;
    }

    /// Few large files and many small ones.
    std::size_t Size() { return std::size_t{200} << (m_random() % 5) >> (m_random() % 2); }

private:
    std::mt19937 m_random{20260101};
};

void MakeTree(const std::string& directory, unsigned long count, bool areEmpty) {
    Generator generator;
    MakeFolder(directory);
    std::string folder;
    for (unsigned long i = 0; i < count; ++i) {
        if (i % kFilesPerFolder == 0) {
            const unsigned long number = i / kFilesPerFolder;
            const std::string upper =
                directory + "/part" + std::to_string(number / kFoldersPerFolder);
            MakeFolder(upper);
            folder = upper + "/folder" + std::to_string(number);
            MakeFolder(folder);
        }
        const bool isInfected = !areEmpty && i % kFilesPerInfected == kFilesPerInfected / 2;
        const std::string path = folder + "/file" + std::to_string(i) + ".txt";
        if (areEmpty) {
            WriteFile(path, {});
        } else {
            WriteFile(path, isInfected ? TestVirus() : generator.Text(generator.Size()));
        }
    }
}

void WriteSignatures(const std::string& path, unsigned long count, bool arePatterns) {
    Generator generator;
    std::string lines;
    for (unsigned long i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        lines += arePatterns ? "Bench.Pattern." + number + ":0:*:" + generator.Hex(64) + "\n"
                             : generator.Hex(32) + ":" + std::to_string(1000 + i % 100'000) +
                                   ":Bench.Hash." + number + "\n";
    }
    WriteFile(path, lines);
}

}  // namespace

int main(int argc, char** argv) {
    unsigned long count = 0;
    const std::string_view kind = argc == 4 ? argv[1] : "";
    const std::string_view number = argc == 4 ? argv[3] : "";
    const bool isNumber =
        std::from_chars(number.data(), number.data() + number.size(), count).ec == std::errc{};
    if (isNumber && (kind == "files" || kind == "empty")) {
        MakeTree(argv[2], count, kind == "empty");
    } else if (isNumber && (kind == "hashes" || kind == "patterns")) {
        WriteSignatures(argv[2], count, kind == "patterns");
    } else {
        std::fputs("Usage: bench_data files|empty|hashes|patterns PATH COUNT\n", stderr);
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
