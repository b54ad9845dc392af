#include "product/virlog/unlock.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <iostream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include "product/virlog/held_locks.h"
#include "product/virlog/output.h"

namespace {

// Longer than a process that waits for nobody needs for a record or a copy.
constexpr std::chrono::seconds kBetweenLooks{2};

constexpr char kAdvice[] =
    "A working process holds a lock of the virus log for moments, "
    "one that waits for the other lock for up to ten seconds, "
    "and a reset of the log for up to a minute.\n"
    "Remove a lock only when the process that took it is gone.\n";

std::string NameOf(const HeldLock& lock) {
    return std::string("\"") + lock.key + "\"";
}

bool MayRemove(const HeldLock& lock) {
    return geteuid() == 0 || geteuid() == lock.state.owner;
}

bool IsYes() {
    std::string answer;
    if (!std::getline(std::cin, answer)) {
        return false;
    }
    return answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes" || answer == "YES";
}

std::string ForbiddenText(const HeldLock& lock) {
    const std::string owner = OwnerName(lock.state.owner);
    return "lock " + NameOf(lock) + " belongs to " + owner + "; only " + owner +
           (lock.state.owner == 0 ? "" : " or root") + " can remove it";
}

// Removes a lock that the person wants to have removed. False when it is still there.
bool Remove(const HeldLock& lock, Output& output) {
    if (common::RemoveNamedMutex(lock.state)) {
        output.Buffer() += "Removed.\n";
        return true;
    }
    if (errno == EIDRM || errno == EINVAL) {
        output.Buffer() += "It has been released meanwhile.\n";
        return true;
    }
    if (errno == EACCES || errno == EPERM) {
        Say(ForbiddenText(lock));
    } else {
        Say("lock " + NameOf(lock) + " could not be removed: " + std::strerror(errno));
    }
    return false;
}

// What is held at both looks. The rest was taken and given back by processes at work.
std::vector<HeldLock> FindLastingLocks(Output& output) {
    const std::vector<HeldLock> first = FindHeldLocks();
    if (first.empty()) {
        return {};
    }
    output.Buffer() += "Looking whether the locks of the virus log are in use ...\n";
    output.Finish();
    std::this_thread::sleep_for(kBetweenLooks);
    const std::vector<HeldLock> second = FindHeldLocks();
    std::vector<HeldLock> lasting;
    for (const HeldLock& lock : first) {
        if (IsAmong(lock, second)) {
            lasting.push_back(lock);
        } else {
            output.Buffer() +=
                "Lock " + NameOf(lock) + " was in use and has been released; it is left alone.\n";
        }
    }
    return lasting;
}

void ShowLocks(const std::vector<HeldLock>& locks, Output& output) {
    for (const HeldLock& lock : locks) {
        std::string line = Describe(lock, std::time(nullptr));
        line.front() = 'L';
        output.Buffer() += line + ".\n";
    }
    output.Buffer() += kAdvice;
}

}  // namespace

int Unlock() {
    Output output(STDOUT_FILENO);
    const std::vector<HeldLock> locks = FindLastingLocks(output);
    bool isGood = true;
    if (locks.empty()) {
        output.Buffer() += "There is no lock to remove.\n";
    } else {
        ShowLocks(locks, output);
    }
    for (const HeldLock& lock : locks) {
        if (!MayRemove(lock)) {
            output.Finish();
            Say(ForbiddenText(lock));
            isGood = false;
            continue;
        }
        output.Buffer() += "Remove lock " + NameOf(lock) + "? [y/N] ";
        if (!output.Finish()) {
            break;  // Nobody answers a question that was not shown.
        }
        if (IsYes()) {
            isGood = Remove(lock, output) && isGood;
        } else {
            output.Buffer() += std::cin ? "Kept.\n" : "\nKept.\n";
        }
    }
    if (!output.Finish()) {
        ReportFailure(output);
        return 1;
    }
    return isGood ? 0 : 1;
}
