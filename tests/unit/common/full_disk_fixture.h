#pragma once

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/stat.h>

#include "tests/support/scratch.h"

// A folder on a disk of 64 KiB. Skipped where no disk can be mounted.
class FullDisk : public testing::Test {
protected:
    void SetUp() override {
        if (!HasPrivateRoot()) {
            GTEST_SKIP() << "disks are only mounted in a private root";
        }
        ASSERT_EQ(::mkdir(m_diskFolder.c_str(), 0777), 0);
        m_disk.emplace(m_diskFolder, "64k");
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "no right to mount a disk to fill";
        }
    }

    ScratchFolder m_scratch;
    std::string m_diskFolder = m_scratch / "disk";

private:
    std::optional<TinyDisk> m_disk;
};
