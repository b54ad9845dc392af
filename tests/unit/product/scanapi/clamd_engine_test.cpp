// A whole engine, once with its own workers alone and once with a real clamd beside them: the
// program is told the same.

#include <regex>
#include <sstream>
#include <unistd.h>

#include "tests/support/scratch.h"
#include "tests/support/server_process.h"
#include "tests/unit/product/scanapi/archives.h"
#include "tests/unit/product/scanapi/loaded_engine.h"

namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

class ClamdEngineTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (geteuid() != 0) {
            GTEST_SKIP() << "settings are believed of root only";
        }
        if (::access("/usr/sbin/clamd", X_OK) != 0) {
            GTEST_SKIP() << "clamd is missing";
        }
        InstallSignatures();
        m_engine.Write("defs/more.ldb",
                       "Text.Test;Engine:81-255,Target:0;0;612d746578742d74686174\n"
                       "PUA.Text.Test;Engine:81-255,Target:0;0;61647661636b657279\n");
        fs::create_directory(m_engine.Path("server"));
        m_engine.Write("server/clamd.conf",
                       "LocalSocket " + m_engine.Path("server/socket") + "\nDatabaseDirectory " +
                           m_engine.Path("defs") + "\nLogFile " + m_engine.Path("server/log") +
                           "\nForeground yes\nDetectPUA yes\nTemporaryDirectory " +
                           m_engine.Path("server") + "\n");
        m_server.Start({"/usr/sbin/clamd", "-c", m_engine.Path("server/clamd.conf")});
        ASSERT_TRUE(WaitUntil([this] { return fs::exists(m_engine.Path("server/socket")); },
                              std::chrono::seconds(60)));
    }

    // Files of every kind that matters here.
    [[nodiscard]] std::vector<std::string> WriteTree() const {
        const std::string eicar = archives::Eicar();
        const std::string zip = archives::Zip({{"a.txt", "text"}, {"b.com", eicar}});
        const std::string program = ReadAll("/bin/true");
        const std::string image = "GIF89a\x01\0\x01\0\x80\0\0\xFF\xFF\xFF\0\0\0!\xF9\x04\0"s;
        std::vector<std::string> paths;
        const auto add = [&](const std::string& name, const std::string& content) {
            paths.push_back(m_tree.Write(name, content));
        };
        add("plain", "nothing bad\n");
        add("empty", "");
        add("tiny", "12345");
        add("eicar.com", eicar);
        add("found", "this is a-text-that is looked for\n");
        add("unwanted", "some adlike advackery here\n");
        add("both", "some advackery and a-text-that as well\n");
        add("script", "#!/bin/sh\necho hello\n");
        add("program", program);
        add("program-found", program + "a-text-that");
        add("image", image);
        add("image-found", image + "a-text-that");
        add("unknown", "\x01\x02\x03\x04\x05\x06\x07\x81\x8d"s + std::string(40, '\0'));
        add("unknown-found", "\x01\x02\x03\x04\x05\x06\x07\x81\x8d a-text-that"s);
        add("nested.zip", archives::Zip({{"inner.zip", zip}, {"c", "text"}}));
        add("clean.zip", archives::Zip({{"a", "some text"}, {"b", "some text"}}));
        add("cut.zip", zip.substr(0, zip.size() / 2));
        add("secret.zip", archives::Zip({{"s", "nobody reads this", true}}));
        add("self.sfx", program + zip);
        add("found.tar.gz", archives::Gzip(archives::Tar({{"t/e.com", eicar}, {"t/x", "text"}})));
        add("mail", "From: a@b\nSubject: c\nMIME-Version: 1.0\n\na-text-that\n");
        add("large", std::string(2U << 20U, 'x') + "a-text-that");
        return paths;
    }

    // All that the program is told of the files.
    std::string Told(const std::vector<std::string>& paths, const tagSCANAPI_OPTIONS& options,
                     bool withClamd) {
        m_engine.Write("scanapi.conf", withClamd ? "[Scanning]\nBackend=clamd\nClamdConfig=" +
                                                       m_engine.Path("server/clamd.conf") +
                                                       "\n[Cache]\nCache=off\n"
                                                 : "[Cache]\nCache=off\n");
        m_messages.clear();
        StartWith(options);
        std::ostringstream told;
        for (const std::string& path : paths) {
            told << Scan(path) << '\n';
        }
        for (const Message& message : m_messages) {
            told << message << ' ' << message.detectionClass << ' ' << message.subClass << '\n';
        }
        m_library.deinit();
        // libclamav gives parts of a mail names of its own, other ones each time.
        return std::regex_replace(told.str(), std::regex("clamav-[0-9a-f]{32}\\.tmp"), "PART");
    }

    // What it has found; of what is clean it writes nothing.
    [[nodiscard]] std::size_t FoundByIt() const {
        std::istringstream log(ReadAll(m_engine.Path("server/log")));
        std::size_t count = 0;
        for (std::string line; std::getline(log, line);) {
            count += line.ends_with(" FOUND") ? 1 : 0;
        }
        return count;
    }

    ServerProcess m_server;
};

TEST_F(ClamdEngineTest, TheProgramIsToldTheSame) {
    const auto paths = WriteTree();
    for (unsigned int bits = 0; bits < 8; ++bits) {
        SCOPED_TRACE(bits);
        auto options = Options();
        options.scanArchives = (bits & 1U) != 0 ? 1 : 0;
        options.dumbScan = (bits & 2U) != 0 ? 1 : 0;
        options.adwareLevel = (bits & 4U) != 0 ? 7 : 0;
        const std::string alone = Told(paths, options, false);
        const std::size_t before = FoundByIt();
        EXPECT_EQ(Told(paths, options, true), alone);
        EXPECT_EQ(FoundByIt() - before, 6U) << "of the plain ones with something in them";
        EXPECT_NE(alone.find("1001 "), std::string::npos);
        EXPECT_NE(alone.find("1002 "), std::string::npos);
    }
}

TEST_F(ClamdEngineTest, OnceItIsGoneTheProgramIsToldTheSame) {
    const auto paths = WriteTree();
    const std::string alone = Told(paths, Options(), false);
    m_server.Stop();
    EXPECT_EQ(Told(paths, Options(), true), alone);
}

}  // namespace
