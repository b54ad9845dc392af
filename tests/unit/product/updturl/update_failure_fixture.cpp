#include "tests/unit/product/updturl/update_failure_fixture.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "common/io.h"
#include "product/updturl/request.h"
#include "tests/support/traced_program.h"

namespace fs = std::filesystem;

namespace updturl {

using testing::AnyOf;
using testing::Eq;

int Told::Result() const {
    const std::size_t at = ("\n" + words).rfind("\nresult ");
    return at == std::string::npos ? -1 : std::atoi(words.c_str() + at + 7);
}

void UpdateFailureTest::SetUp() {
    if (!HasPrivateRoot() || !CanTrace()) {
        GTEST_SKIP() << "no private root, or no strace that may look at processes";
    }
    std::signal(SIGPIPE, SIG_IGN);
    ::umask(022);
    WriteFile(m_product + "updturl.keys/mirror.pub", kMirrorPublicKey);
    fs::permissions(m_product + "updturl.keys/mirror.pub", fs::perms(0644));
    fs::create_directory(m_download);
    // A name of its own, by which what it leaves behind is found.
    fs::copy_file(CORVANE_UPDATE, m_updater);
    Publish(1, OwnSignature('B'));
    ASSERT_EQ(Ask(Whole()).Result(), 1);
    Publish(2, m_new);
    WriteFile(m_defs + "last-update.json", kOldRecord);
    m_startDefs = ReadTree(m_defs);
    m_startDownload = ReadTree(m_download);
}

void UpdateFailureTest::Publish(std::uint64_t serial, const std::string& database) const {
    MirrorContents contents;
    contents.serial = serial;
    contents.files = {{"a.ndb", OwnSignature('A')}, {"b.ndb", database}};
    WriteMirror(m_server.Root(), contents);
}

void UpdateFailureTest::Reset() const {
    WriteTree(m_defs, m_startDefs);
    WriteTree(m_download, m_startDownload);
}

std::string UpdateFailureTest::Words() const {
    Request request;
    request.applicationDirectory = m_product;
    request.downloadDirectory = m_download;
    request.addresses = {m_server.Address()};
    return RequestText(request).value_or("");
}

Told UpdateFailureTest::Ask(std::vector<std::string> command) const {
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    EXPECT_EQ(::pipe2(in.data(), O_CLOEXEC) + ::pipe2(out.data(), O_CLOEXEC), 0);
    const common::FileDescriptor words(in[1]);
    const common::FileDescriptor answer(out[0]);
    const pid_t child = StartChild([&] {
        ::dup2(in[0], STDIN_FILENO);
        ::dup2(out[1], STDOUT_FILENO);
        ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
        return Become(command);
    });
    ::close(in[0]);
    ::close(out[1]);
    (void)common::WriteAll(words.Get(), Words());
    Told told;
    std::array<char, 4096> buffer{};
    pollfd readable{answer.Get(), POLLIN, 0};
    constexpr int kLimit = 30'000;
    ssize_t got = 1;
    while (got > 0 && ::poll(&readable, 1, kLimit) > 0) {
        got = ::read(answer.Get(), buffer.data(), buffer.size());
        told.words.append(buffer.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    EXPECT_EQ(got, 0) << "it does not end: " << told.words;
    told.status = JoinChild(child);
    return told;
}

Told UpdateFailureTest::AskTraced(const std::vector<std::string>& options,
                                  const std::vector<std::string>& program) const {
    std::vector<std::string> all{"-o", m_trace};
    all.insert(all.end(), options.begin(), options.end());
    return Ask(TracedCommand(all, program));
}

bool UpdateFailureTest::IsAnythingRunning() const {
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::error_code ignored;
        if (fs::read_symlink(entry.path() / "exe", ignored) == m_updater) {
            return true;
        }
    }
    return false;
}

void UpdateFailureTest::ExpectOldOrNew() const {
    EXPECT_THAT(CurrentFile("b.ndb"), AnyOf(Eq(OwnSignature('B')), Eq(m_new)));
    ExpectWhole();
    const std::string record = ReadFile(m_defs + "last-update.json");
    EXPECT_TRUE(record.starts_with("{\"time\": ") && record.ends_with("\"}\n")) << record;
}

void UpdateFailureTest::ExpectAnotherRunToDo() const {
    const Told again = Ask(Whole());
    EXPECT_THAT(again.Result(), AnyOf(Eq(1), Eq(2))) << again.words;
    EXPECT_EQ(CurrentFile("b.ndb"), m_new) << again.words;
    ExpectWhole();
    for (const auto& [path, entry] : ReadTree(m_defs)) {
        EXPECT_TRUE(path == "current" || path == "lock" || path == "last-update.json" ||
                    path.starts_with("set-"))
            << path;
    }
    EXPECT_LE(Names().size(), 4U) << testing::PrintToString(Names());
    for (const auto& [path, entry] : ReadTree(m_download)) {
        EXPECT_TRUE(path == "parts" || path == "state.json" || path == "candidate" ||
                    path.starts_with("candidate/") || path.starts_with("parts/"))
            << path;
    }
}

}  // namespace updturl
