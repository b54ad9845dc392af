#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A sub-folder as the folder tree shows it.
struct Subfolder {
    std::string name;            ///< its own name, byte for byte
    bool hasSubfolders = false;  ///< whether it holds a folder, or a link to one, itself
};

/// What was found in a folder.
struct SubfolderList {
    /// The sub-folders, hidden ones included, symbolic links not, sorted by the bytes of their
    /// names.
    std::vector<Subfolder> subfolders;
    /// Whether there is anything of the folder kind at all. A folder that holds nothing but links
    /// to folders has something in it and still nothing to show.
    bool hasEntries = false;
    /// Directory entries read, those of the look-ahead into the sub-folders included: the work
    /// done.
    std::uint64_t entriesRead = 0;
};

/// Reads folders for the folder tree, by bytes, so that names which are not UTF-8 are kept as they
/// are. Holds no state beyond the place of its root; may be used from any thread.
///
/// Paths are those the tree shows: absolute, components divided by "/", a "/" at the end or not.
/// A component that is a symbolic link is not followed: such a folder lists as empty.
class FolderListing {
public:
    /// `rootDirectory` is the folder that "/" stands for.
    explicit FolderListing(std::string rootDirectory = "/");

    /// Lists the folder `path` and looks one level ahead into each of its sub-folders, there only
    /// as far as the first entry that settles whether they have sub-folders of their own. A folder
    /// that cannot be read lists as empty.
    [[nodiscard]] SubfolderList ListSubfolders(std::string_view path) const;

    /// Whether the folder `path` holds a regular file or a symbolic link whose name does not begin
    /// with ".". False for a folder that cannot be read.
    [[nodiscard]] bool HoldsFileOrLink(std::string_view path) const;

private:
    std::string m_rootDirectory;
};
