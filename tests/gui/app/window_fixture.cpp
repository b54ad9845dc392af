#include "tests/gui/app/window_fixture.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/stat.h>

#include "common/paths.h"
#include "common/run_state.h"
#include "common/text_field.h"
#include "tests/fakes/splash_picture.h"

namespace fs = std::filesystem;

WindowTest::WindowTest() = default;

void WindowTest::SetUp() {
    if (std::getenv("CORVANE_SANDBOX") == nullptr) {
        GTEST_SKIP() << "works on the product's fixed paths: run it in tests/support/sandbox";
    }
    m_folder = m_engine.Directory() / "app";
    fs::create_directories(m_folder / "qimages");
    fs::create_directory(m_folder / "reports");
    common::CopyToField(g_szAppPath, m_folder.string() + "/");
    WriteSplashPicture(m_folder / "qimages" / "splash.bmp");
    fs::copy_file(FakeEngine::Variant("good") + "scanapi.so", m_folder / "scanapi.so");
    fs::create_directories(kProductDirectory);
    InstallDatabase("good");
    m_scheduler.emplace();
    setenv("FAKE_LIBDBMOD_LOG", (m_folder / "database.log").c_str(), 1);
}

void WindowTest::TearDown() {
    m_window.reset();
    m_scheduler.reset();
    unsetenv("FAKE_LIBDBMOD_LOG");
    unsetenv("FAKE_LIBDBMOD_SCRIPT");
    if (std::getenv("CORVANE_SANDBOX") != nullptr) {
        fs::remove_all(kProductDirectory);
    }
}

WindowTest::~WindowTest() = default;

void WindowTest::Put(const std::string& name, const std::string& bytes) const {
    std::ofstream(m_folder / name, std::ios::binary) << bytes;
    chmod((m_folder / name).c_str(), 0600);
}

std::optional<std::string> WindowTest::Get(const std::string& name) const {
    std::ifstream file(m_folder / name, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(file), {});
}

int WindowTest::Mode(const std::string& name) const {
    struct stat status {};
    return stat((m_folder / name).c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777)
                                                         : -1;
}

void WindowTest::SetDatabaseAnswers(const std::string& script) const {
    const fs::path path = m_folder / "database.script";
    std::ofstream(path) << script;
    setenv("FAKE_LIBDBMOD_SCRIPT", path.c_str(), 1);
}

void WindowTest::InstallDatabase(const std::string& variant) const {
    // A new file, not new bytes in a library that may be loaded.
    const fs::path library = std::string(kProductDirectory) + "libdbmod.so";
    fs::remove(library);
    fs::copy_file(std::string(FAKE_LIBDBMOD_DIR) + variant + "/libdbmod.so", library);
}

std::vector<std::string> WindowTest::DatabaseCalls() const {
    std::ifstream log(m_folder / "database.log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        lines.push_back(line);
    }
    return lines;
}
