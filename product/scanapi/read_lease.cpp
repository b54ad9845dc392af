#include "product/scanapi/read_lease.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <thread>
#include <unistd.h>

#include "product/scanapi/signals_held.h"

namespace scanapi {

namespace {

bool Tell(int file, pid_t thread) {
    const f_owner_ex owner{F_OWNER_TID, thread};
    return fcntl(file, F_SETOWN_EX, &owner) == 0;
}

// Makes a thread that ends at once the one that is told. The file stays its thread's: a later
// thread of the same number is another one to the system.
bool TellNobody(int file) {
    // The thread inherits the mask: no signal of the program's may end up in it.
    const SignalsHeld held;
    bool isSet = false;
    try {
        std::thread([&] { isSet = Tell(file, gettid()); }).join();
    } catch (const std::exception&) {
        isSet = false;  // without a thread or memory there is no lease
    }
    return isSet;
}

}  // namespace

ReadLease::ReadLease(int file) : m_file(file) {
    if (TellNobody(file)) {
        Take();
    }
}

ReadLease::ReadLease(int file, pid_t quiet) : m_file(file) {
    if (Tell(file, quiet)) {
        Take();
    }
}

void ReadLease::Take() {
    if (fcntl(m_file, F_GETLEASE) == F_RDLCK) {
        m_isHeld = true;
        return;
    }
    m_isHeld = fcntl(m_file, F_SETLEASE, F_RDLCK) == 0;
    m_isRefusedByWriter = !m_isHeld && errno == EAGAIN;
    m_isToGiveBack = m_isHeld;
}

ReadLease::~ReadLease() {
    if (m_isToGiveBack) {
        (void)fcntl(m_file, F_SETLEASE, F_UNLCK);
    }
}

bool ReadLease::IsBroken() const {
    return m_isHeld && fcntl(m_file, F_GETLEASE) != F_RDLCK;
}

}  // namespace scanapi
