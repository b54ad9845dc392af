#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

/// A folder of its own for temporary files, removed with everything in it at the end.
/// Names are relative to it, byte for byte; folders on the way to a name are made as needed.
class ScratchTree {
public:
    ScratchTree();
    ~ScratchTree();
    ScratchTree(const ScratchTree&) = delete;
    ScratchTree& operator=(const ScratchTree&) = delete;
    ScratchTree(ScratchTree&&) = delete;
    ScratchTree& operator=(ScratchTree&&) = delete;

    [[nodiscard]] const std::string& Root() const { return m_root; }
    [[nodiscard]] std::string PathOf(const std::string& name) const { return m_root + "/" + name; }

    void Folder(const std::string& name) const;
    void File(const std::string& name) const;
    void Link(const std::string& target, const std::string& name) const;
    void Fifo(const std::string& name) const;
    void Socket(const std::string& name) const;
    void Remove(const std::string& name) const;
    /// Takes all rights from a folder until the end.
    void Lock(const std::string& name);
    /// A chain of `names.size()` folders, of any length: built folder by folder.
    void Chain(const std::vector<std::string>& names) const;

private:
    void MakeParents(const std::string& name) const;

    std::string m_root;
    std::vector<std::string> m_locked;
};

/// While it lives, the process has the rights of an ordinary user: root may read everything, and a
/// test of unreadable folders would see nothing.
class OrdinaryUser {
public:
    OrdinaryUser();
    ~OrdinaryUser();
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
    OrdinaryUser(OrdinaryUser&&) = delete;
    OrdinaryUser& operator=(OrdinaryUser&&) = delete;

private:
    uid_t m_before;
};
