#include "tests/support/disk_model.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/support/scratch.h"

namespace fs = std::filesystem;

namespace {

// Up to so many changes of names are lost in every combination; of more of them the combinations
// are those of a disk that keeps their order, and those in which one stands out.
constexpr std::size_t kMostCombined = 4;

void AddTree(const std::string& path, const std::string& below, Tree& tree) {
    for (const auto& entry : fs::directory_iterator(path)) {
        const std::string name = below + entry.path().filename().string();
        TreeEntry& added = tree[name];
        if (entry.is_symlink()) {
            added = {'l', 0, fs::read_symlink(entry.path()).string()};
        } else if (entry.is_directory()) {
            added = {'d', ModeOf(entry.path()), {}};
            AddTree(entry.path().string(), name + "/", tree);
        } else {
            added = {'f', ModeOf(entry.path()), ReadFile(entry.path().string())};
        }
    }
}

}  // namespace

Tree ReadTree(const std::string& root) {
    Tree tree;
    AddTree(root, {}, tree);
    return tree;
}

std::string Listing(const Tree& tree) {
    std::string listing = "\n";
    for (const auto& [path, entry] : tree) {
        listing += path + ", " + entry.kind + ", " +
                   (entry.kind == 'l' ? entry.content : std::to_string(entry.content.size())) +
                   "\n";
    }
    return listing;
}

void WriteTree(const std::string& root, const Tree& tree) {
    for (const auto& entry : fs::directory_iterator(root)) {
        fs::remove_all(entry.path());
    }
    for (const auto& [name, entry] : tree) {
        const std::string path = fs::path(root) / name;
        if (entry.kind == 'l') {
            fs::create_symlink(entry.content, path);
            continue;
        }
        if (entry.kind == 'd') {
            fs::create_directory(path);
        } else {
            WriteFile(path, entry.content);
        }
        ::chmod(path.c_str(), entry.mode);
    }
}

struct DiskModel::Node {
    TreeEntry now;
    TreeEntry synced;
    Names names;        // of a folder, as programs see them
    Names syncedNames;  // as the disk has them
};

DiskModel::~DiskModel() = default;

DiskModel::DiskModel(const std::string& root)
    : m_root(root), m_umask(::umask(0)), m_top(std::make_shared<Node>()) {
    ::umask(m_umask);
    while (m_root.ends_with('/')) {
        m_root.pop_back();
    }
    m_top->now = m_top->synced = {'d', ModeOf(m_root), {}};
    m_all.push_back(m_top);
    for (const auto& [path, entry] : ReadTree(m_root)) {
        auto node = std::make_shared<Node>();
        node->now = node->synced = entry;
        std::string name;
        const NodePointer folder = FolderOf(-1, m_root + "/" + path, name);
        folder->names[name] = folder->syncedNames[name] = node;
        m_all.push_back(node);
    }
}

// From the root of the machine on, where `directory` is open elsewhere.
std::string DiskModel::Located(int directory, const std::string& path) const {
    const auto outside = path.starts_with('/') ? m_outside.end() : m_outside.find(directory);
    if (outside == m_outside.end()) {
        return path;
    }
    return (outside->second.ends_with('/') ? outside->second : outside->second + "/") + path;
}

// Null for what is missing, and for what lies elsewhere.
DiskModel::NodePointer DiskModel::NodeOf(int directory, const std::string& given) const {
    NodePointer node;
    const std::string path = Located(directory, given);
    std::string rest = path;
    if (path.starts_with(m_root + "/") || path == m_root) {
        node = m_top;
        rest.erase(0, m_root.size());
    } else if (const auto open = m_open.find(directory); !path.starts_with('/')) {
        node = open == m_open.end() ? nullptr : open->second;
    }
    while (node != nullptr && !rest.empty()) {
        const std::size_t slash = rest.find('/');
        const std::string name = rest.substr(0, slash);
        rest.erase(0, slash == std::string::npos ? rest.size() : slash + 1);
        if (!name.empty() && name != ".") {
            const auto found = node->names.find(name);
            node = found == node->names.end() ? nullptr : found->second;
        }
    }
    return node;
}

DiskModel::NodePointer DiskModel::FolderOf(int directory, const std::string& path,
                                           std::string& name) const {
    const std::size_t slash = path.rfind('/');
    name = path.substr(slash == std::string::npos ? 0 : slash + 1);
    return NodeOf(directory, slash == std::string::npos ? "." : path.substr(0, slash));
}

bool DiskModel::SetName(int directory, const std::string& path, const NodePointer& node) {
    std::string name;
    const NodePointer folder = FolderOf(directory, path, name);
    if (folder == nullptr) {
        return false;
    }
    if (node == nullptr) {
        folder->names.erase(name);
    } else {
        folder->names[name] = node;
        if (std::find(m_all.begin(), m_all.end(), node) == m_all.end()) {
            m_all.push_back(node);
        }
    }
    m_pending.push_back({folder.get(), {{name, node}}});
    return true;
}

bool DiskModel::Open(const RecordedCall& call) {
    const int descriptor = static_cast<int>(call.result);
    const int directory = call.Descriptor(0);
    m_open.erase(descriptor);
    m_outside.erase(descriptor);
    NodePointer node = NodeOf(directory, call.arguments[1]);
    const bool isMade = node == nullptr && call.Has(2, "O_CREAT");
    if (isMade) {
        node = std::make_shared<Node>();
        node->now = node->synced = {'f', call.Mode(3) & ~m_umask, {}};
        if (!SetName(directory, call.arguments[1], node)) {
            return false;
        }
    }
    if (node != nullptr) {
        m_open[descriptor] = node;
    } else {
        m_outside[descriptor] = Located(directory, call.arguments[1]);
    }
    if (node != nullptr && call.Has(2, "O_TRUNC")) {
        node->now.content.clear();
        return true;
    }
    return isMade;
}

// At the end: nothing of ours writes elsewhere. That the model is right is seen at the end.
bool DiskModel::Write(const RecordedCall& call) {
    const auto open = m_open.find(call.Descriptor(0));
    if (open == m_open.end() || call.result == 0) {
        return false;
    }
    open->second->now.content += call.arguments[1].substr(0, static_cast<std::size_t>(call.result));
    return true;
}

bool DiskModel::Sync(const RecordedCall& call) {
    const auto open = m_open.find(call.Descriptor(0));
    if (open == m_open.end()) {
        return false;
    }
    Node* const node = open->second.get();
    node->synced = node->now;
    node->syncedNames = node->names;
    std::erase_if(m_pending, [node](const Change& change) { return change.folder == node; });
    return true;
}

bool DiskModel::Rename(const RecordedCall& call) {
    std::string oldName;
    std::string newName;
    const NodePointer from = FolderOf(call.Descriptor(0), call.arguments[1], oldName);
    const NodePointer to = FolderOf(call.Descriptor(2), call.arguments[3], newName);
    if (from == nullptr || from != to) {
        return false;  // from one folder to another nothing of ours goes
    }
    const NodePointer node = from->names.at(oldName);
    from->names.erase(oldName);
    from->names[newName] = node;
    m_pending.push_back({from.get(), {{oldName, nullptr}, {newName, node}}});
    return true;
}

bool DiskModel::Apply(const RecordedCall& call) {
    if (call.result < 0) {
        return false;
    }
    const std::string& name = call.name;
    if (name == "openat") {
        return Open(call);
    }
    if (name == "close") {
        m_open.erase(call.Descriptor(0));
        m_outside.erase(call.Descriptor(0));
        return false;
    }
    if (name == "write") {
        return Write(call);
    }
    if (name == "fsync") {
        return Sync(call);
    }
    if (name == "renameat" || name == "renameat2") {
        return Rename(call);
    }
    if (name == "unlinkat") {
        return SetName(call.Descriptor(0), call.arguments[1], nullptr);
    }
    if (name == "linkat") {
        return SetName(call.Descriptor(2), call.arguments[3],
                       NodeOf(call.Descriptor(0), call.arguments[1]));
    }
    if (name == "mkdirat" || name == "symlinkat") {
        const bool isFolder = name == "mkdirat";
        auto made = std::make_shared<Node>();
        made->now = made->synced = isFolder ? TreeEntry{'d', call.Mode(2) & ~m_umask, {}}
                                            : TreeEntry{'l', 0, call.arguments[0]};
        return SetName(call.Descriptor(isFolder ? 0 : 1), call.arguments[isFolder ? 1 : 2], made);
    }
    if (name == "fchmodat") {
        const NodePointer node = NodeOf(call.Descriptor(0), call.arguments[1]);
        if (node != nullptr) {
            node->now.mode = call.Mode(2);
        }
        return node != nullptr;
    }
    const auto open = m_open.find(call.Descriptor(0));
    if (name == "fchmod" && open != m_open.end()) {
        open->second->now.mode = call.Mode(1);
        return true;
    }
    if (name == "ftruncate" && open != m_open.end()) {
        open->second->now.content.resize(std::stoul(call.arguments[1]));
        return true;
    }
    return false;
}

Tree DiskModel::Seen() const {
    Tree tree;
    const auto add = [&](const auto& self, const Node& folder, const std::string& below) -> void {
        for (const auto& [name, node] : folder.names) {
            tree[below + name] = node->now;
            self(self, *node, below + name + "/");
        }
    };
    add(add, *m_top, {});
    return tree;
}

// Which of the pending changes may have happened.
std::vector<std::vector<bool>> DiskModel::Choices() const {
    const std::size_t count = m_pending.size();
    std::set<std::vector<bool>> choices;
    if (count <= kMostCombined) {
        for (std::size_t bits = 0; bits < std::size_t{1} << count; ++bits) {
            std::vector<bool> choice(count);
            for (std::size_t i = 0; i < count; ++i) {
                choice[i] = (bits >> i & 1U) != 0;
            }
            choices.insert(choice);
        }
        return {choices.begin(), choices.end()};
    }
    for (std::size_t i = 0; i <= count; ++i) {
        std::vector<bool> ordered(count, false);
        std::fill_n(ordered.begin(), i, true);
        choices.insert(ordered);
        if (i < count) {
            std::vector<bool> alone(count, false);
            alone[i] = true;
            choices.insert(alone);
            alone.flip();
            choices.insert(alone);
        }
    }
    return {choices.begin(), choices.end()};
}

std::vector<DiskModel::Node*> DiskModel::UnsyncedNodes() const {
    std::vector<Node*> nodes;
    for (const NodePointer& node : m_all) {
        if (node->now != node->synced) {
            nodes.push_back(node.get());
        }
    }
    return nodes;
}

// With `onlyNode` all that is not on the disk came there, but of that one.
Tree DiskModel::Crashed(const std::vector<bool>& happened, Unsynced unsynced,
                        const Node* onlyNode) const {
    std::map<const Node*, Names> names;
    for (const NodePointer& node : m_all) {
        names[node.get()] = node->syncedNames;
    }
    for (std::size_t i = 0; i < m_pending.size(); ++i) {
        for (const auto& [name, node] : happened[i] ? m_pending[i].names : Names()) {
            Names& changed = names[m_pending[i].folder];
            if (node == nullptr) {
                changed.erase(name);
            } else {
                changed[name] = node;
            }
        }
    }
    const auto left = [&](const Node& node) {
        const bool isWhole = unsynced == Unsynced::kWhole || node.now == node.synced ||
                             (onlyNode != nullptr && onlyNode != &node);
        if (isWhole || unsynced == Unsynced::kLost) {
            return isWhole ? node.now : node.synced;
        }
        TreeEntry entry = node.now;
        if (unsynced == Unsynced::kCut) {
            entry.content.resize((node.synced.content.size() + entry.content.size()) / 2);
        } else if (unsynced == Unsynced::kZeros) {
            entry.content = node.synced.content;
            entry.content.resize(node.now.content.size(), '\0');
        } else {
            entry.mode = node.synced.mode;
        }
        return entry;
    };
    Tree tree;
    const auto add = [&](const auto& self, const Node& folder, const std::string& below) -> void {
        for (const auto& [name, node] : names[&folder]) {
            tree[below + name] = left(*node);
            self(self, *node, below + name + "/");
        }
    };
    add(add, *m_top, {});
    return tree;
}

std::vector<Tree> DiskModel::AfterPowerCut() const {
    std::set<Tree> trees;
    const std::vector<Node*> unsynced = UnsyncedNodes();
    for (const std::vector<bool>& happened : Choices()) {
        for (const Unsynced how : {Unsynced::kLost, Unsynced::kCut, Unsynced::kZeros,
                                   Unsynced::kOldMode, Unsynced::kWhole}) {
            trees.insert(Crashed(happened, how, nullptr));
            for (const Node* node : unsynced) {
                trees.insert(Crashed(happened, how, node));
            }
        }
    }
    return {trees.begin(), trees.end()};
}

PowerCuts CutPowerDuring(const std::string& root, const std::vector<RecordedCall>& calls,
                         std::size_t leftOut) {
    PowerCuts cuts;
    DiskModel model(root);
    std::set<Tree> known;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (i == leftOut || !model.Apply(calls[i])) {
            continue;
        }
        if (calls[i].name == "fsync") {
            cuts.syncs.push_back(i);
        }
        for (Tree& tree : model.AfterPowerCut()) {
            if (known.insert(tree).second) {
                cuts.anywhere.push_back(std::move(tree));
            }
        }
    }
    cuts.end = model.Seen();
    cuts.atTheEnd = model.AfterPowerCut();
    return cuts;
}
