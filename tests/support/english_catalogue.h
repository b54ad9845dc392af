#pragma once

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

// The catalogue of the reports' texts at its fixed place, and the locale that it is looked up in:
// only for tests inside tests/support/sandbox. CORVANE_CATALOGUES is where the build has put it.

inline constexpr char kCatalogues[] = "/usr/lib/Corvane/Corvane/translation";

/// Installs the catalogue and makes an environment in which it is found.
inline void UseEnglishCatalogue() {
    namespace fs = std::filesystem;
    const std::string locales = "/tmp/locales";
    fs::create_directories(kCatalogues);
    fs::copy(CORVANE_CATALOGUES, kCatalogues,
             fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    if (!fs::exists(locales)) {
        fs::create_directories(locales);
        const std::string compile =
            "localedef -i en_US -f UTF-8 " + locales + "/en_US.utf8 >/dev/null 2>&1";
        ASSERT_EQ(std::system(compile.c_str()), 0) << "localedef with the locale sources is needed";
    }
    setenv("LOCPATH", locales.c_str(), 1);
    setenv("LC_ALL", "en_US.utf8", 1);
    unsetenv("LANGUAGE");
}

/// As a test program starts.
inline void UseNoCatalogue() {
    setenv("LC_ALL", "C", 1);
    std::setlocale(LC_ALL, "C");
}
