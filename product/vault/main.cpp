// corvane-vault: lists what was kept of deleted files, and brings it back.

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <vector>

#include "common/escaped_text.h"
#include "product/vault/collection.h"
#include "product/vault/listing.h"
#include "product/vault/options.h"
#include "product/vault/restore.h"

namespace {

using vault::Collection;
using vault::Options;
using vault::PlacedItem;

enum ExitStatus { kExitOk = 0, kExitFailed = 1, kExitUsage = 2 };

// Reasons may hold names that others have chosen.
int Fail(const std::string& problem) {
    std::fprintf(stderr, "corvane-vault: %s\n", common::Escaped(problem).c_str());
    return kExitFailed;
}

int Print(const std::string& text) {
    const bool isPrinted = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
    return isPrinted ? kExitOk : Fail(std::string("standard output: ") + std::strerror(errno));
}

int List(const Collection& collection, bool asJson) {
    if (collection.Items().empty()) {
        return asJson ? kExitOk : Print("Nothing is kept.\n");
    }
    std::size_t damaged = 0;
    const int status =
        Print(asJson ? vault::JsonOf(collection, damaged) : vault::TableOf(collection, damaged));
    return damaged == 0 ? status
                        : Fail(std::to_string(damaged) + (damaged == 1 ? " item" : " items") +
                               " cannot be read");
}

int Show(const std::string& name, const vault::ItemReader& item) {
    return Print(vault::DescriptionOf(name, item.Facts()));
}

int Restore(const Collection& collection, const PlacedItem& placed, const vault::ItemReader& item,
            const std::string& folder) {
    const std::string& name = placed.entry.name;
    const vault::Restored restored = vault::Restore(item, folder);
    if (!restored.problem.empty()) {
        Fail(name + ": " + restored.problem);
    }
    if (!restored.isDone) {
        return kExitFailed;
    }
    const int status = Print(common::Escaped(restored.path) + "\n");
    // The file is there again and on the disk: one of them is enough.
    std::string why;
    return collection.Remove(placed, why) ? status : Fail(name + ": " + why);
}

int Export(const std::string& name, const vault::ItemReader& item, const std::string& path) {
    const std::string problem = vault::Export(item, path);
    return problem.empty() ? kExitOk : Fail(name + ": " + path + ": " + problem);
}

bool IsYes(std::size_t count) {
    std::printf("Remove %zu %s for good? [y/N] ", count, count == 1 ? "item" : "items");
    std::fflush(stdout);
    char answer[16] = {};
    if (std::fgets(answer, sizeof(answer), stdin) == nullptr) {
        std::puts("");
        return false;
    }
    return std::strcmp(answer, "y\n") == 0 || std::strcmp(answer, "yes\n") == 0;
}

int Empty(const Collection& collection, const std::vector<const PlacedItem*>& items, bool isSure) {
    if (items.empty() || (!isSure && !IsYes(items.size()))) {
        return Print(items.empty() ? "Nothing is kept.\n" : "Nothing was removed.\n");
    }
    int status = kExitOk;
    for (const PlacedItem* item : items) {
        std::string why;
        if (!collection.Remove(*item, why)) {
            status = Fail(item->entry.name + ": " + why);
        }
    }
    return status;
}

int ActOn(const Collection& collection, const PlacedItem& placed, const Options& options) {
    std::string why;
    const auto item = collection.Read(placed, why);
    if (!item) {
        return Fail(placed.entry.name + ": " + why);
    }
    switch (options.command) {
        case vault::Command::kRestore:
            return Restore(collection, placed, *item, options.folder);
        case vault::Command::kExport:
            return Export(placed.entry.name, *item, options.file);
        default:
            return Show(placed.entry.name, *item);
    }
}

int Act(const Collection& collection, const Options& options) {
    if (options.command == vault::Command::kList) {
        return List(collection, options.asJson);
    }
    int status = kExitOk;
    std::vector<const PlacedItem*> items;
    for (const std::string& name : options.items) {
        if (const PlacedItem* const item = collection.Find(name)) {
            items.push_back(item);
        } else {
            status = Fail(name + ": it is not in the vault");
        }
    }
    if (options.command == vault::Command::kEmpty) {
        if (options.items.empty()) {
            for (const PlacedItem& item : collection.Items()) {
                items.push_back(&item);
            }
        } else if (items.empty()) {
            return status;
        }
        return Empty(collection, items, options.isSure) == kExitOk ? status : kExitFailed;
    }
    for (const PlacedItem* item : items) {
        if (ActOn(collection, *item, options) != kExitOk) {
            status = kExitFailed;
        }
    }
    return status;
}

int Run(std::span<char* const> arguments) {
    Options options;
    std::string problem;
    if (!vault::ParseOptions(arguments, options, problem)) {
        Fail(problem);
        std::fputs("Try \"corvane-vault --help\".\n", stderr);
        return kExitUsage;
    }
    if (options.command == vault::Command::kHelp) {
        return Print(vault::kUsage);
    }
    if (options.command == vault::Command::kVersion) {
        return Print("corvane-vault " CORVANE_VERSION "\n");
    }
    const auto collection = Collection::Open(problem);
    return collection ? Act(*collection, options) : Fail(problem);
}

}  // namespace

int main(int argc, char** argv) {
    // A closed pipe and a file-size limit are answered like any other failure to write.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return Run({argv, static_cast<std::size_t>(argc)});
    } catch (const std::exception& error) {
        return Fail(error.what());
    }
}
