#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <sys/prctl.h>
#include <systemd/sd-bus.h>

#include "tests/support/scratch.h"

// A system bus of a test's own, with the rules of a real one, and a connection to it.

struct CloseTestBus {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using TestBus = std::unique_ptr<sd_bus, CloseTestBus>;

/// While it lives, this process and what it starts take it for the machine's system bus.
class PrivateBus {
public:
    PrivateBus() {
        WriteFile(m_folder / "bus.conf",
                  "<busconfig><type>system</type><auth>EXTERNAL</auth><listen>" + Address() +
                      "</listen><policy context=\"default\"><allow user=\"*\"/>"
                      // Names that tests play are owned by whoever plays them.
                      "<allow own=\"*\"/><allow send_destination=\"*\"/>"
                      "<allow send_type=\"signal\"/><allow receive_type=\"signal\"/>"
                      "<allow receive_type=\"method_call\"/>"
                      "<allow send_requested_reply=\"true\" send_type=\"method_return\"/>"
                      "<allow send_requested_reply=\"true\" send_type=\"error\"/>"
                      "<allow receive_requested_reply=\"true\" receive_type=\"method_return\"/>"
                      "<allow receive_requested_reply=\"true\" receive_type=\"error\"/>"
                      "</policy></busconfig>");
        const std::string option = "--config-file=" + (m_folder / "bus.conf");
        m_daemon = StartChild([&] {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", "--nosyslog",
                     option.c_str(), nullptr);
            return 127;
        });
        ::setenv("DBUS_SYSTEM_BUS_ADDRESS", Address().c_str(), 1);
        m_isUp = WaitUntil([] { return Connect() != nullptr; });
    }
    ~PrivateBus() {
        ::unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
        if (m_daemon > 0) {
            ::kill(m_daemon, SIGCONT);
            ::kill(m_daemon, SIGTERM);
            JoinChild(m_daemon);
        }
    }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    [[nodiscard]] bool IsUp() const { return m_isUp; }
    [[nodiscard]] std::string Address() const { return "unix:path=" + (m_folder / "socket"); }

    /// It accepts connections, and answers nothing from now on.
    void Hang() const { ::kill(m_daemon, SIGSTOP); }

    /// A connection that is ready; null without one.
    static TestBus Connect() {
        sd_bus* bus = nullptr;
        if (sd_bus_open_system(&bus) < 0) {
            return nullptr;
        }
        TestBus owned(bus);
        const char* name = nullptr;
        return sd_bus_get_unique_name(bus, &name) >= 0 ? std::move(owned) : nullptr;
    }

private:
    ScratchFolder m_folder;
    pid_t m_daemon = -1;
    bool m_isUp = false;
};
