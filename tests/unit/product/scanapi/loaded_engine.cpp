#include "tests/unit/product/scanapi/loaded_engine.h"

#include <cstdlib>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <unistd.h>

#include "common/text_field.h"
#include "product/vault/place.h"
#include "tests/unit/product/scanapi/archives.h"

TemporaryTree::TemporaryTree() {
    std::string path = "/tmp/scanapi-test-XXXXXX";
    if (mkdtemp(path.data()) != nullptr) {
        m_root = path;
    }
}

TemporaryTree::~TemporaryTree() {
    std::error_code ignored;
    std::filesystem::remove_all(m_root, ignored);
}

std::string TemporaryTree::Path(std::string_view name) const {
    return m_root + '/' + std::string(name);
}

std::string TemporaryTree::Write(std::string_view name, std::string_view content) const {
    std::string path = Path(name);
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

std::ostream& operator<<(std::ostream& out, const Message& message) {
    return out << message.code << " (" << message.file << ") [" << message.virus << ']';
}

EngineLibrary::EngineLibrary() : m_library(dlopen(SCANAPI_LIBRARY, RTLD_NOW)) {
    if (m_library == nullptr) {
        ADD_FAILURE() << dlerror();
        return;
    }
    const auto find = [this](auto& pointer, const char* name) {
        pointer =
            reinterpret_cast<std::remove_reference_t<decltype(pointer)>>(dlsym(m_library, name));
        EXPECT_NE(pointer, nullptr) << name;
    };
    find(init, "ZqInitScan");
    find(deinit, "ZqDeinitScan");
    find(getVersion, "ZqGetAPIVersion");
    find(setCallback, "ZqSetCallBack");
    find(setOptions, "ZqSetOptions");
    find(openFile, "ZqOpenFile");
    find(closeFile, "ZqCloseFile");
    find(scanFile, "ZqScanFileEx");
    find(resetFlags, "ZqResetFPTFlags");
    find(filesAhead, "ZqFilesAhead");
}

EngineLibrary::~EngineLibrary() {
    if (m_library != nullptr) {
        dlclose(m_library);
    }
}

void EngineTest::SetUp() {
    if (std::getenv("CORVANE_SANDBOX") == nullptr) {
        GTEST_SKIP() << "writes /zqcommon.log: runs in tests/support/sandbox only";
    }
    std::filesystem::remove("/zqcommon.log");
    std::filesystem::remove_all("/var/lib/clamav");
    // Where an ordinary user's vault is; root's is in its fixed place.
    setenv("XDG_DATA_HOME", m_engine.Path("data").c_str(), 1);
    setenv("XDG_CACHE_HOME", m_engine.Path("cache").c_str(), 1);
    std::filesystem::remove_all(vault::PathOfVault());
    std::filesystem::create_directory(m_engine.Path("tmp"));
    ASSERT_NE(m_library.init, nullptr);
}

void EngineTest::TearDown() {
    if (m_library.deinit != nullptr) {
        m_library.deinit();
    }
}

tagSCANAPI_OPTIONS EngineTest::Options() const {
    tagSCANAPI_OPTIONS options{};
    options.size = sizeof(options);
    options.fixed1 = 1;
    options.fixed2 = 5;
    options.scanArchives = 1;
    options.scanPacked = 1;
    common::CopyToField(options.engineDirectory, m_engine.Path());
    common::CopyToField(options.temporaryDirectory, m_engine.Path() + "/tmp");
    options.dumbScan = 1;
    options.adwareLevel = 7;
    return options;
}

void EngineTest::InstallSignatures() const {
    std::filesystem::create_directories(m_engine.Path("defs"));
    std::filesystem::copy(SCANAPI_DEFS, m_engine.Path("defs"),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
}

void EngineTest::WriteNumberedDatabase(const std::string& path, unsigned int number,
                                       long built) const {
    const std::string fields = "ClamAV-VDB:21 Nov 2026 03-55 +0000:" + std::to_string(number) +
                               ":1:81:X:X:tests:" + std::to_string(built);
    const std::string signatures = "Numbered.Test.One:0:*:6e756d62657265642d74657374\n";
    const std::string stem = std::filesystem::path(path).stem();
    const std::string info =
        fields + '\n' + stem +
        ".ndb:49:b9d0ca2e1c0e58b4a318aa876fddcc023ce342138a170cb5221acd220dcf7e6a\n";
    std::string head = fields;
    head.resize(512, ' ');
    m_engine.Write(path, head + archives::Gzip(archives::Tar(
                                    {{stem + ".info", info}, {stem + ".ndb", signatures}})));
}

void EngineTest::Start() {
    InstallSignatures();
    StartWith(Options());
}

void EngineTest::StartWith(tagSCANAPI_OPTIONS options) {
    ASSERT_NE(m_library.init(&options), 0);
    ASSERT_NE(m_library.setCallback(OnMessage), 0);
}

int EngineTest::Scan(const std::string& path) {
    std::uint64_t handle = 0;
    const int status = m_library.openFile(path.c_str(), &handle);
    if (status == kOpenFailed || status == kOpenRefused) {
        EXPECT_EQ(handle, 0U);
        return -1;
    }
    EXPECT_NE(handle, 0U);
    const int result = m_library.scanFile(handle, this);
    EXPECT_NE(m_library.closeFile(&handle), 0);
    return result;
}

int EngineTest::OnMessage(const tagZQFILEINFO* info, void* context) {
    auto& self = *static_cast<EngineTest*>(context);
    Message message{info->code, std::string(common::FieldText(info->fileName)),
                    std::string(common::FieldText(info->virusName)), info->detectionClass,
                    info->detectionSubClass};
    if (message.code != 0) {
        self.m_messages.push_back(message);
    }
    if (self.m_stop) {
        return kReplyStop;
    }
    if (self.m_answer) {
        return self.m_answer(message);
    }
    return message.code == kMsgVirusFound ? kReplyLeave : kReplyGoOn;
}

std::vector<int> EngineTest::Codes() const {
    std::vector<int> codes;
    for (const Message& message : m_messages) {
        codes.push_back(message.code);
    }
    return codes;
}

const Message* EngineTest::Find(int code) const {
    for (const Message& message : m_messages) {
        if (message.code == code) {
            return &message;
        }
    }
    return nullptr;
}

std::vector<std::string> EngineTest::Files(int code) const {
    std::vector<std::string> files;
    for (const Message& message : m_messages) {
        if (message.code == code) {
            files.push_back(message.file);
        }
    }
    return files;
}

std::string ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string LinesOfTheEngine() {
    std::istringstream log(ReadAll("/zqcommon.log"));
    std::string lines;
    for (std::string line; std::getline(log, line);) {
        lines += line.starts_with("scanapi: workers are without: ") ? "" : line + "\n";
    }
    return lines;
}
