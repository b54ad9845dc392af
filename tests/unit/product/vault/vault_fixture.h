#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

#include "product/vault/item_reader.h"
#include "product/vault/keep.h"
#include "tests/support/scratch.h"

/// A vault of the test's own: that of the effective user, in the sandbox. Skips outside.
class VaultTest : public testing::Test {
protected:
    void SetUp() override;

    /// Opens the file and keeps it as it is; an empty name where it was not, with `m_why`.
    std::string Keep(const std::string& path);
    /// Keeps the file of `before`'s state.
    std::string KeepScanned(const std::string& path, const struct stat& before);

    /// The folder of the files of the user who runs the test, "/" at its end.
    [[nodiscard]] std::string Folder() const;
    [[nodiscard]] std::vector<std::string> NamesInFolder() const;

    /// An item of this age, in days, that takes `bytes` on the disk; its name.
    std::string PutOld(int days, std::size_t bytes = 1000) const;

    /// The item read back.
    [[nodiscard]] std::optional<vault::ItemReader> Open(const std::string& name);
    [[nodiscard]] std::string Contents(const vault::ItemReader& item);

    ScratchFolder m_files;
    std::string m_vault;  ///< "/" at its end
    vault::Settings m_settings;
    std::string m_why;
};
