#pragma once

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

#include "common/file_descriptor.h"

namespace schdlscn {

/// Whom a process is to belong to.
struct Owner {
    uid_t uid = 0;
    gid_t gid = 0;
    std::vector<gid_t> groups = {};
    std::string name = {};
    std::string home = {};
};

/// The user of that number, if it still is the one of that name. Any thread.
std::optional<Owner> OwnerOf(uid_t uid, const std::string& name);

/// What a process gets: nothing of ours but these two, as 3 and 4, and its errors as 2.
struct GivenFiles {
    int report = -1;
    int result = -1;
    int errors = -1;
};

/// A process that has its owner's rights and no more, in a session of its own, which gives way to
/// everything else on the machine. It ends when this process does. For one thread.
class OwnedProcess {
public:
    OwnedProcess() = default;
    ~OwnedProcess();
    OwnedProcess(const OwnedProcess&) = delete;
    OwnedProcess& operator=(const OwnedProcess&) = delete;

    /// Executes words[0], with these variables besides those that every program needs. For a
    /// process of one thread, root or the owner. False with the reason in errno. A program
    /// that cannot be executed says so to `errors`, and ends with kNotExecuted.
    bool Start(const Owner& owner, std::vector<std::string> words, const GivenFiles& files,
               const std::vector<std::string>& variables = {});

    static constexpr int kNotExecuted = 126;

    /// Readable when it has ended; -1 when there is none.
    [[nodiscard]] int Descriptor() const { return m_descriptor.Get(); }
    /// What wait() says, once it has ended, with all that it has started.
    std::optional<int> Ended();
    void Signal(int signal) const;

private:
    pid_t m_pid = 0;
    common::FileDescriptor m_descriptor;
};

}  // namespace schdlscn
