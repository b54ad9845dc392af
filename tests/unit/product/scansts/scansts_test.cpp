#include "abi/scansts.h"

#include <chrono>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sstream>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <utility>
#include <vector>

#include "tests/support/private_bus.h"

// The status library as other programs load it, with a bus, without one and with one that hangs.

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class Scansts : public testing::Test {
protected:
    void SetUp() override {
        m_library = ::dlopen(SCANSTS_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(m_library, nullptr) << ::dlerror();
        m_communicate =
            reinterpret_cast<PFNSTSCOMMUNICATECHANGE>(::dlsym(m_library, kStatusCommunicateChange));
        ASSERT_NE(m_communicate, nullptr);
    }
    void TearDown() override {
        ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
        if (m_library != nullptr) {
            ::dlclose(m_library);
        }
    }

    [[nodiscard]] int Tell(std::uint32_t what) const {
        tagSTATUSCHANGE change{};
        change.what = what;
        return m_communicate(&change);
    }

    /// How long telling of an update takes; its result is `result`.
    [[nodiscard]] milliseconds TimeToTell(int result) const {
        const auto begin = steady_clock::now();
        EXPECT_EQ(Tell(10), result);
        return std::chrono::duration_cast<milliseconds>(steady_clock::now() - begin);
    }

    static void BusAt(const std::string& path) {
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + path).c_str(), 1);
    }

    void* m_library = nullptr;
    PFNSTSCOMMUNICATECHANGE m_communicate = nullptr;
};

/// Writes down the signals of the bus.
class Listener {
public:
    Listener() : m_bus(PrivateBus::Connect()) {
        EXPECT_GE(sd_bus_match_signal(m_bus.get(), nullptr, nullptr, nullptr, nullptr, nullptr,
                                      &Listener::Hear, this),
                  0);
    }

    /// Waits until something was heard, and a little for more.
    std::vector<std::string> Heard(milliseconds limit) {
        const auto end = steady_clock::now() + limit;
        while (m_heard.empty() && steady_clock::now() < end) {
            if (sd_bus_process(m_bus.get(), nullptr) == 0) {
                (void)sd_bus_wait(m_bus.get(), 20'000);
            }
        }
        while (sd_bus_process(m_bus.get(), nullptr) > 0) {
        }
        return m_heard;
    }

private:
    static int Hear(sd_bus_message* message, void* self, sd_bus_error*) {
        const std::string interface = sd_bus_message_get_interface(message);
        if (interface != "org.freedesktop.DBus") {
            static_cast<Listener*>(self)->m_heard.push_back(
                std::string(sd_bus_message_get_path(message)) + " " + interface + " " +
                sd_bus_message_get_member(message) + " (" +
                sd_bus_message_get_signature(message, 1) + ")");
        }
        return 0;
    }

    TestBus m_bus;
    std::vector<std::string> m_heard;
};

TEST_F(Scansts, AnUpdateIsASignalOnTheSystemBus) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.IsUp());
    Listener listener;
    EXPECT_EQ(Tell(10), 1);
    EXPECT_EQ(listener.Heard(std::chrono::seconds(10)),
              std::vector<std::string>{"/org/corvane/Status org.corvane.Status1 UpdateChanged ()"});
}

TEST_F(Scansts, TheSignalArrivesAlthoughTheLibraryIsUnloadedAtOnce) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.IsUp());
    Listener listener;
    EXPECT_EQ(Tell(10), 1);
    ASSERT_EQ(::dlclose(m_library), 0);
    m_library = nullptr;
    EXPECT_EQ(listener.Heard(std::chrono::seconds(10)).size(), 1U);
}

TEST_F(Scansts, OtherChangesAreIgnored) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.IsUp());
    Listener listener;
    for (const std::uint32_t what : {0U, 1U, 9U, 11U, 0x100000AU}) {
        EXPECT_EQ(Tell(what), 0) << what;
    }
    EXPECT_EQ(listener.Heard(milliseconds(300)), std::vector<std::string>{});
}

TEST_F(Scansts, ANullPointerIsIgnored) {
    EXPECT_EQ(m_communicate(nullptr), 0);
}

TEST_F(Scansts, WithoutABusItIsDoneAtOnce) {
    const ScratchFolder folder;
    BusAt(folder / "none");
    EXPECT_LT(TimeToTell(0), milliseconds(50));
}

TEST_F(Scansts, ABusThatNeverAnswersIsLeft) {
    const ScratchFolder folder;
    const std::string path = folder / "socket";
    const int listening = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listening, 1), 0);
    BusAt(path);
    EXPECT_LT(TimeToTell(0), milliseconds(400)) << "a tenth of a second and some for the machine";
    ::close(listening);
}

TEST_F(Scansts, ABusThatHangsIsLeft) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.IsUp());
    bus.Hang();
    EXPECT_LT(TimeToTell(0), milliseconds(400));
}

TEST(ScanstsExports, TheLibraryShowsItsOneNameAndNothingElse) {
    const ScratchFolder folder;
    const std::string names = folder / "names";
    ASSERT_EQ(std::system(("nm -D --defined-only " SCANSTS_LIBRARY " >" + names).c_str()), 0);
    std::istringstream lines(ReadFile(names));
    std::vector<std::pair<std::string, std::string>> found;
    std::string address;
    std::string kind;
    std::string name;
    while (lines >> address >> kind >> name) {
        found.emplace_back(kind, name);
    }
    EXPECT_THAT(found, testing::ElementsAre(testing::Pair("T", "StsCommunicateChange")));
}

}  // namespace
