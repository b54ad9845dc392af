#include "product/rapidupdate/network.h"

#include <chrono>
#include <csignal>
#include <optional>

#include "tests/support/patient_clock.h"
#include "tests/support/private_bus.h"

// What a NetworkManager of the test's own says of the connection.

namespace rapidupdate {
namespace {

constexpr char kManager[] = "org.freedesktop.NetworkManager";
constexpr char kManagerPath[] = "/org/freedesktop/NetworkManager";

/// Played by python3-dbusmock; its property Metered is `metered`.
class MockManager {
public:
    explicit MockManager(std::uint32_t metered) {
        m_process = StartChild([] {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::execl("/usr/bin/python3", "python3", "-m", "dbusmock", "--system", kManager,
                    kManagerPath, kManager, nullptr);
            return 127;
        });
        const TestBus bus = PrivateBus::Connect();
        m_isUp = bus != nullptr &&
                 WaitUntil(
                     [&] {
                         return sd_bus_call_method(bus.get(), kManager, kManagerPath,
                                                   "org.freedesktop.DBus.Mock", "AddProperty",
                                                   nullptr, nullptr, "ssv", kManager, "Metered",
                                                   "u", metered) >= 0;
                     },
                     std::chrono::seconds(30));
    }
    ~MockManager() {
        ::kill(m_process, SIGCONT);
        ::kill(m_process, SIGTERM);
        JoinChild(m_process);
    }
    MockManager(const MockManager&) = delete;
    MockManager& operator=(const MockManager&) = delete;

    [[nodiscard]] bool IsUp() const { return m_isUp; }
    [[nodiscard]] static bool Say(std::uint32_t metered) {
        const TestBus bus = PrivateBus::Connect();
        return sd_bus_call_method(bus.get(), kManager, kManagerPath,
                                  "org.freedesktop.DBus.Properties", "Set", nullptr, nullptr, "ssv",
                                  kManager, "Metered", "u", metered) >= 0;
    }
    void Hang() const { ::kill(m_process, SIGSTOP); }

private:
    pid_t m_process = -1;
    bool m_isUp = false;
};

TEST(Network, IsMeteredWhereNetworkManagerSaysOrGuessesSo) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.IsUp());
    const MockManager manager(0);
    ASSERT_TRUE(manager.IsUp());
    for (const auto& [metered, expected] : std::vector<std::pair<std::uint32_t, bool>>{
             {0, false}, {1, true}, {2, false}, {3, true}, {4, false}}) {
        ASSERT_TRUE(MockManager::Say(metered));
        // Where the one that is played answers too late it is asked again.
        EXPECT_TRUE(WaitUntil([wanted = expected] { return IsConnectionMetered() == wanted; }))
            << metered;
    }
}

TEST(Network, IsNotMeteredWithoutNetworkManager) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.IsUp());
    EXPECT_FALSE(IsConnectionMetered());
}

TEST(Network, IsNotMeteredWithoutABus) {
    const ScratchFolder folder;
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + (folder / "none")).c_str(), 1);
    EXPECT_FALSE(IsConnectionMetered());
    ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

TEST(Network, ANetworkManagerThatHangsIsAskedForTwoSeconds) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.IsUp());
    const MockManager manager(1);
    ASSERT_TRUE(manager.IsUp());
    manager.Hang();
    const auto begin = PatientClock::now();
    EXPECT_FALSE(IsConnectionMetered());
    EXPECT_LT(PatientClock::now() - begin, std::chrono::seconds(10));
}

TEST(Network, ABusThatHangsIsAskedForTwoSeconds) {
    const PrivateBus bus;
    ASSERT_TRUE(bus.IsUp());
    bus.Hang();
    const auto begin = PatientClock::now();
    EXPECT_FALSE(IsConnectionMetered());
    EXPECT_LT(PatientClock::now() - begin, std::chrono::seconds(10));
}

}  // namespace
}  // namespace rapidupdate
