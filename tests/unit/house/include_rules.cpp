#include "tests/unit/house/include_rules.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string_view>

namespace {

namespace fs = std::filesystem;

struct Room {
    int floor;  // higher floors may use lower ones; rooms of one floor share a number
    bool hasQt;
};

// The innermost folder that is named here is the room of what lies below it.
const std::map<std::string, Room, std::less<>> kRooms = {
    {"abi", {.floor = 0, .hasQt = false}},
    {"common", {.floor = 1, .hasQt = false}},
    {"common/given", {.floor = 2, .hasQt = false}},
    {"reports/files", {.floor = 2, .hasQt = false}},
    {"reports/virus_log", {.floor = 2, .hasQt = false}},
    {"update/files", {.floor = 2, .hasQt = false}},
    {"widgets", {.floor = 2, .hasQt = true}},
    {"help/files", {.floor = 3, .hasQt = false}},
    {"scan/run", {.floor = 3, .hasQt = false}},
    {"update/run", {.floor = 3, .hasQt = false}},
    {"reports", {.floor = 3, .hasQt = true}},
    {"scan", {.floor = 4, .hasQt = true}},
    {"update", {.floor = 4, .hasQt = true}},
    {"help", {.floor = 4, .hasQt = true}},
    {"schedule", {.floor = 4, .hasQt = true}},
    {"app", {.floor = 5, .hasQt = true}},
};

// What several parts of the product are built from, bottom first. Each folder of product/ that is
// not named here stands for itself.
const std::map<std::string, int, std::less<>> kSharedOfProduct = {
    {"product/signed_index", 0}, {"product/vault", 1},     {"product/definitions", 1},
    {"product/fetch", 2},        {"product/updturl", 3},   {"product/scanning", 2},
    {"product/scanwire", 3},     {"product/confining", 0}, {"product/timetable", 0},
    {"product/serving", 0},
};

struct Include {
    std::string text;
    bool isQuoted;
};

std::optional<Include> ParseInclude(std::string_view line) {
    constexpr std::string_view kBlanks = " \t";
    const auto skipBlanks = [&] {
        line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    };
    skipBlanks();
    if (!line.starts_with('#')) {
        return std::nullopt;
    }
    line.remove_prefix(1);
    skipBlanks();
    constexpr std::string_view kKeyword = "include";
    if (!line.starts_with(kKeyword)) {
        return std::nullopt;
    }
    line.remove_prefix(kKeyword.size());
    skipBlanks();
    if (line.empty() || (line.front() != '"' && line.front() != '<')) {
        return std::nullopt;
    }
    const bool isQuoted = line.front() == '"';
    line.remove_prefix(1);
    return Include{std::string(line.substr(0, line.find(isQuoted ? '"' : '>'))), isQuoted};
}

// The room of a path relative to the root. Each folder of product/ stands for itself; what belongs
// to no room of ours is named by its first folder.
std::string RoomOf(std::string_view path) {
    for (auto end = path.rfind('/'); end != std::string_view::npos && end != 0;
         end = path.rfind('/', end - 1)) {
        if (kRooms.contains(path.substr(0, end))) {
            return std::string(path.substr(0, end));
        }
    }
    const auto first = path.find('/');
    if (first == std::string_view::npos) {
        return {};
    }
    const std::string_view top = path.substr(0, first);
    return std::string(top == "product" ? path.substr(0, path.find('/', first + 1)) : top);
}

bool IsSource(const fs::path& path) {
    const auto extension = path.extension();
    return extension == ".h" || extension == ".cpp" || extension == ".c";
}

// moc and uic write these into the build folder; nothing else is named without its folder.
bool IsGenerated(std::string_view include) {
    return include.starts_with("ui_") || include.starts_with("moc_") || include.ends_with(".moc");
}

bool IsOwnRoom(std::string_view room) {
    return kRooms.contains(room) || room == "tests" || room == "bench" ||
           room.starts_with("product/");
}

// What the product loads at run time, and its programs for the shell, are not the window's either.
bool HasQt(std::string_view room) {
    const auto known = kRooms.find(room);
    return known != kRooms.end() && known->second.hasQt;
}

bool MayUseQt(std::string_view room) {
    return room == "tests" || room == "bench" || room == "images" || HasQt(room);
}

// Why `from` may not use `to`, or nothing.
std::string_view WhyForbidden(const std::string& from, const std::string& to) {
    if (from == to || from == "tests" || from == "bench") {
        return {};
    }
    if (to == "tests" || to == "bench") {
        return "nothing that is installed uses the tests";
    }
    if (to.starts_with("product/")) {
        if (!from.starts_with("product/")) {
            return "the product's libraries are loaded at run time, never built in";
        }
        const auto shared = kSharedOfProduct.find(to);
        if (shared == kSharedOfProduct.end()) {
            return "each folder of product stands for itself";
        }
        const auto user = kSharedOfProduct.find(from);
        const bool isAbove = user == kSharedOfProduct.end() || user->second > shared->second;
        return isAbove ? std::string_view{} : "the arrow points up";
    }
    if (!HasQt(from) && HasQt(to)) {
        return "a room without Qt uses no room with it";
    }
    if (from.starts_with("product/")) {
        return {};
    }
    return kRooms.at(from).floor < kRooms.at(to).floor ? "the arrow points up" : std::string_view{};
}

class Checker {
public:
    explicit Checker(fs::path root) : m_root(std::move(root)) {}

    std::vector<std::string> Run() {
        for (const auto& top : fs::directory_iterator(m_root)) {
            const std::string name = top.path().filename().string();
            if (top.is_directory() && (kRooms.contains(name) || name == "product" ||
                                       name == "tests" || name == "bench")) {
                ReadFolder(top.path());
            }
        }
        FindCircles();
        std::sort(m_broken.begin(), m_broken.end());
        return m_broken;
    }

private:
    void ReadFolder(const fs::path& folder) {
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file() && IsSource(entry.path())) {
                ReadFile(entry.path());
            }
        }
    }

    void ReadFile(const fs::path& path) {
        const std::string name = path.lexically_relative(m_root).string();
        std::ifstream file(path);
        std::string line;
        while (std::getline(file, line)) {
            if (const auto include = ParseInclude(line)) {
                Check(name, *include);
            }
        }
    }

    void Check(const std::string& file, const Include& include) {
        const std::string from = RoomOf(file);
        if (!include.isQuoted) {
            if (!MayUseQt(from) && include.text.starts_with('Q')) {
                Report(file, include, "a room without Qt uses no Qt");
            }
            return;
        }
        if (IsGenerated(include.text)) {
            return;
        }
        const std::string to = RoomOf(include.text);
        if (!IsOwnRoom(to) || !fs::exists(m_root / include.text)) {
            Report(file, include, "no such header below the root");
            return;
        }
        if (const auto why = WhyForbidden(from, to); !why.empty()) {
            Report(file, include, why);
        } else if (from != to) {
            m_arrows[from].insert(to);
        }
    }

    void Report(const std::string& file, const Include& include, std::string_view why) {
        m_broken.push_back(file + " includes " + include.text + ": " + std::string(why));
    }

    // Only rooms of one floor can still form a circle here; each is reported once, from its
    // alphabetically first room.
    void FindCircles() {
        for (const auto& [room, unused] : m_arrows) {
            std::vector<std::string> way{room};
            Follow(room, way);
        }
    }

    void Follow(const std::string& room, std::vector<std::string>& way) {
        const auto arrows = m_arrows.find(room);
        if (arrows == m_arrows.end()) {
            return;
        }
        for (const std::string& next : arrows->second) {
            if (next == way.front()) {
                std::string text = "circle: ";
                for (const auto& step : way) {
                    text.append(step).append(" -> ");
                }
                m_broken.push_back(text.append(next));
            } else if (next > way.front() && std::find(way.begin(), way.end(), next) == way.end()) {
                way.push_back(next);
                Follow(next, way);
                way.pop_back();
            }
        }
    }

    fs::path m_root;
    std::map<std::string, std::set<std::string>> m_arrows;
    std::vector<std::string> m_broken;
};

}  // namespace

std::vector<std::string> FindBrokenIncludeRules(const fs::path& root) {
    return Checker(root).Run();
}
