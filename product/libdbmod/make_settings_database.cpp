// Makes the settings database of a fresh installation: make_settings_database FILE

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "product/libdbmod/settings_database.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("Usage: make_settings_database FILE\n", stderr);
        return EXIT_FAILURE;
    }
    try {
        const dbmod::DatabaseResult result = dbmod::CreateDatabase(argv[1]);
        if (!result.IsOk()) {
            std::fprintf(stderr, "%s: %s\n", argv[1], std::strerror(result.systemError));
            return EXIT_FAILURE;
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[1], error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
