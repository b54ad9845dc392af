#pragma once

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/recorded_calls.h"

// What a power cut may leave of a folder whose changes were recorded.
//
// The file system it is modelled on promises no more than it has to:
//  - bytes and mode of a file are on the disk once that file was synced. Until then there may be
//    what the last sync put there, a part of the new bytes, zeros in their place, the new bytes
//    with the old mode, or all of it - of each file;
//  - a name that is given, taken away or changed is on the disk once its folder was synced. Until
//    then each such change may have happened or not, on its own and in any order. A rename is one
//    change, and so is a link with what it leads to;
//  - syncing a file keeps its bytes and not its name, syncing a folder keeps its names and not
//    what is in the files.
// A change to a folder's own mode is on the disk once it was synced itself.

struct TreeEntry {
    char kind = 'f';  ///< "f", "d" or "l"
    unsigned int mode = 0;
    std::string content;  ///< of a file; where a link leads to
    bool operator==(const TreeEntry&) const = default;
    bool operator<(const TreeEntry& other) const {
        return std::tie(kind, mode, content) < std::tie(other.kind, other.mode, other.content);
    }
};

/// All that is below a folder, by path.
using Tree = std::map<std::string, TreeEntry>;

Tree ReadTree(const std::string& root);

/// A line for each entry: path, kind, and of a link where it leads to, of others their length.
std::string Listing(const Tree& tree);

/// Puts it in the place of all that is there.
void WriteTree(const std::string& root, const Tree& tree);

class DiskModel {
public:
    /// Of the folder `root`, all of which is on the disk; the calls are made under the umask of
    /// now.
    explicit DiskModel(const std::string& root);
    ~DiskModel();
    DiskModel(const DiskModel&) = delete;
    DiskModel& operator=(const DiskModel&) = delete;

    /// Follows one call that succeeded. Whether the folder changed, or what is safe of it.
    bool Apply(const RecordedCall& call);

    /// What programs see now.
    [[nodiscard]] Tree Seen() const;

    /// What may be found after a power cut now: each state once.
    [[nodiscard]] std::vector<Tree> AfterPowerCut() const;

private:
    struct Node;
    using NodePointer = std::shared_ptr<Node>;
    using Names = std::map<std::string, NodePointer>;
    /// To the names in one folder; null takes a name away.
    struct Change {
        Node* folder;
        Names names;
    };
    enum class Unsynced { kLost, kCut, kZeros, kOldMode, kWhole };

    [[nodiscard]] std::string Located(int directory, const std::string& path) const;
    NodePointer NodeOf(int directory, const std::string& given) const;
    NodePointer FolderOf(int directory, const std::string& path, std::string& name) const;
    bool SetName(int directory, const std::string& path, const NodePointer& node);
    bool Open(const RecordedCall& call);
    bool Write(const RecordedCall& call);
    bool Sync(const RecordedCall& call);
    bool Rename(const RecordedCall& call);

    [[nodiscard]] std::vector<std::vector<bool>> Choices() const;
    [[nodiscard]] std::vector<Node*> UnsyncedNodes() const;
    [[nodiscard]] Tree Crashed(const std::vector<bool>& happened, Unsynced unsynced,
                               const Node* onlyNode) const;

    std::string m_root;
    unsigned int m_umask;
    NodePointer m_top;
    std::map<int, NodePointer> m_open;
    std::map<int, std::string> m_outside;  // what is open elsewhere, folders above the root, too
    std::vector<NodePointer> m_all;
    std::vector<Change> m_pending;  // changes of names that no sync has put on the disk
};

/// What power cuts during a recording may leave.
struct PowerCuts {
    Tree end;                        ///< what programs saw at the end, without one
    std::vector<Tree> anywhere;      ///< after one at any moment: each state once, in order of time
    std::vector<Tree> atTheEnd;      ///< after one when all was done
    std::vector<std::size_t> syncs;  ///< the calls that put something of the folder on the disk
};

constexpr std::size_t kNoCall = static_cast<std::size_t>(-1);

/// Of calls that were recorded from this state of `root` on; as if `left` out had not been made.
PowerCuts CutPowerDuring(const std::string& root, const std::vector<RecordedCall>& calls,
                         std::size_t leftOut = kNoCall);
