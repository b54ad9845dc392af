#pragma once

#include <atomic>
#include <cstdint>
#include <linux/fuse.h>
#include <string>
#include <thread>
#include <vector>

#include "common/file_descriptor.h"

/// A file system of a few files that this program serves itself, as a server on a network would,
/// and that hangs when a test wants it to. Nothing of it is kept by the kernel: each look asks.
class ServedFiles {
public:
    struct File {
        std::string name;
        std::string content;
    };

    /// Mounts it on `folder`. Not mounted where that is forbidden.
    ServedFiles(std::string folder, std::vector<File> files);
    /// Lets go of whoever hangs, who gets an error.
    ~ServedFiles();
    ServedFiles(const ServedFiles&) = delete;
    ServedFiles& operator=(const ServedFiles&) = delete;

    [[nodiscard]] bool IsMounted() const { return m_isMounted; }

    /// From here on nobody gets an answer who reads a file.
    void HangAtReads() { m_hangsAtReads = true; }
    /// The same of who asks for size and times of a file that is open.
    void HangAtLooks() { m_hangsAtLooks = true; }
    /// The same of whatever is asked.
    void Hang() { m_hangs = true; }
    void GoOn() { m_hangs = m_hangsAtReads = m_hangsAtLooks = false; }

    /// All files have been changed.
    void Touch() { ++m_time; }

    /// How many have got no answer so far.
    [[nodiscard]] int Hung() const { return m_hung; }

    /// How often a file's contents were asked for.
    [[nodiscard]] int Reads() const { return m_reads; }
    /// How often anything was asked but what a mount itself asks.
    [[nodiscard]] int Questions() const { return m_questions; }

private:
    void Serve();
    [[nodiscard]] bool HangsAt(std::uint32_t what) const;
    void Answer(const std::string& request);
    [[nodiscard]] fuse_attr AttributesOf(std::uint64_t node) const;
    void Reply(std::uint64_t unique, int error, const void* data = nullptr, std::size_t size = 0);
    template <typename Out>
    void ReplyWith(std::uint64_t unique, const Out& out) {
        Reply(unique, 0, &out, sizeof(out));
    }

    const std::string m_folder;
    const std::vector<File> m_files;
    common::FileDescriptor m_device;
    common::FileDescriptor m_end;  ///< readable when it is to end
    bool m_isMounted = false;
    std::atomic<bool> m_hangs = false;
    std::atomic<bool> m_hangsAtReads = false;
    std::atomic<bool> m_hangsAtLooks = false;
    std::atomic<std::uint64_t> m_time = 1'000'000'000;  ///< seconds, of every file
    std::atomic<int> m_hung = 0;
    std::atomic<int> m_reads = 0;
    std::atomic<int> m_questions = 0;
    std::thread m_thread;
};
