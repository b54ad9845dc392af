// A scheduler that keeps its tasks in a file and does as a script says. In the folder named by
// FAKE_SCHDLSCN_DIR:
// - "tasks": the tasks, each its 325 bytes, a 32-bit count of folders and those.
// - "script": lines "NAME ERROR", an entry point that fails with this code; and "PATH ERROR", a
//   folder that ValidateDirectoryPath refuses so.
// - "state": what GetScheduleTaskState fills in, 576 bytes; zeros without it.
// - "log": the calls, a line each; a record as the hexadecimal of its 297 bytes before the folders,
//   the folders, and the hexadecimal of the 4 bytes behind. "unloaded" when the library is.

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "abi/schdlscn.h"
#include "common/file_descriptor.h"
#include "common/io.h"
#include "common/schedule_entries.h"
#include "common/text_field.h"

namespace {

std::string Path(const char* name) {
    const char* folder = std::getenv("FAKE_SCHDLSCN_DIR");
    return folder == nullptr ? std::string("/nonexistent/") : std::string(folder) + name;
}

void Note(const std::string& line) {
    const common::FileDescriptor log(
        open(Path("log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    common::WriteAll(log.Get(), line + "\n");
}

const struct Unloading {
    ~Unloading() { Note("unloaded"); }
} kUnloading;

// The error that the script has for an entry point or a folder, 0 for none.
unsigned int ScriptedError(std::string_view what) {
    std::ifstream script(Path("script"));
    std::string name;
    unsigned int error = 0;
    while (script >> name >> error) {
        if (name == what) {
            return error;
        }
    }
    return 0;
}

bool Answer(std::string_view what, unsigned int* error) {
    *error = ScriptedError(what);
    return *error == 0;
}

std::string Hexadecimal(const void* bytes, std::size_t size) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : std::span(static_cast<const unsigned char*>(bytes), size)) {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0xFU];
    }
    return text;
}

// The folder, when all behind it in its field is zero.
std::string Whole(const tagSCAN_ITEM& item) {
    const std::string path(common::FieldText(item.path));
    const std::string_view rest(item.path + path.size(), sizeof item.path - path.size());
    return rest.find_first_not_of('\0') == std::string_view::npos ? path : path + "<rest>";
}

std::string Image(const tagSCHEDULE_SCAN_ENTRY& entry) {
    const char* bytes = reinterpret_cast<const char*>(&entry);
    std::string text = Hexadecimal(bytes, offsetof(tagSCHEDULE_SCAN_ENTRY, folders));
    const char* begin = reinterpret_cast<const char*>(entry.folders.begin);
    const char* end = reinterpret_cast<const char*>(entry.folders.end);
    const char* capacity = reinterpret_cast<const char*>(entry.folders.capacity);
    if ((end - begin) % 1024 != 0 || (capacity - begin) % 1024 != 0 || capacity < end) {
        text += " <array>";
    }
    text += " [";
    for (const tagSCAN_ITEM& item : common::FoldersOf(entry)) {
        text += (text.back() == '[' ? "" : " ") + Whole(item);
    }
    return text + "] " + Hexadecimal(bytes + 321, 4);
}

// The list as a library reads it: into arrays of its own.
void ReadTasks(tagSCHEDULE_SCAN_ARRAY& tasks) {
    std::ifstream file(Path("tasks"), std::ios::binary);
    tagSCHEDULE_SCAN_ENTRY entry{};
    while (file.read(reinterpret_cast<char*>(&entry), sizeof entry)) {
        entry.folders = {};
        std::uint32_t count = 0;
        file.read(reinterpret_cast<char*>(&count), sizeof count);
        for (std::uint32_t i = 0; i < count; ++i) {
            tagSCAN_ITEM item{};
            file.read(item.path, sizeof item.path);
            common::AddFolder(entry, common::FieldText(item.path));
        }
        common::AddEntry(tasks, entry);
    }
}

void WriteTask(std::ostream& file, const tagSCHEDULE_SCAN_ENTRY& entry) {
    file.write(reinterpret_cast<const char*>(&entry), sizeof entry);
    const auto folders = common::FoldersOf(entry);
    const auto count = static_cast<std::uint32_t>(folders.size());
    file.write(reinterpret_cast<const char*>(&count), sizeof count);
    for (const tagSCAN_ITEM& folder : folders) {
        file.write(folder.path, sizeof folder.path);
    }
}

// Rewrites the list: without the task `dropped`, with `added` in its place or at the end.
void Rewrite(std::string_view dropped, const tagSCHEDULE_SCAN_ENTRY* added) {
    common::OwnedScheduleEntries tasks;
    ReadTasks(tasks.array);
    std::ofstream file(Path("tasks"), std::ios::binary | std::ios::trunc);
    for (const tagSCHEDULE_SCAN_ENTRY& entry : common::EntriesOf(tasks.array)) {
        if (common::FieldText(entry.name) != dropped) {
            WriteTask(file, entry);
        } else if (added != nullptr) {
            WriteTask(file, *added);
            added = nullptr;
        }
    }
    if (added != nullptr) {
        WriteTask(file, *added);
    }
}

std::string Number(unsigned int number) {
    return std::to_string(number);
}

}  // namespace

#define EXPORT extern "C" __attribute__((visibility("default"))) bool

EXPORT ValidateTaskName(const char* name, int reserved, unsigned int user, unsigned int* error) {
    Note("name <" + std::string(name) + "> " + std::to_string(reserved) + " " + Number(user));
    return Answer(kValidateTaskName, error);
}

EXPORT AddScheduleScanTask(const char* taskList, const tagSCHEDULE_SCAN_ENTRY* entry,
                           unsigned int* error) {
    Note("add " + std::string(taskList) + " " + Image(*entry));
    if (Answer(kAddScheduleScanTask, error)) {
        Rewrite("", entry);
    }
    return *error == 0;
}

EXPORT ValidateDirectoryPath(const char* path, unsigned int* error) {
    Note("folder <" + std::string(path) + ">");
    return Answer(path, error);
}

EXPORT GetScheduleScanTaskDetails(const char* taskList, tagSCHEDULE_SCAN_ENTRY* entry,
                                  unsigned int user, unsigned int* error) {
    const std::string name(common::FieldText(entry->name));
    Note("get " + std::string(taskList) + " <" + name + "> " + Number(user) +
         (common::FoldersOf(*entry).empty() ? "" : " <array>"));
    if (!Answer(kGetScheduleScanTaskDetails, error)) {
        return false;
    }
    common::OwnedScheduleEntries tasks;
    ReadTasks(tasks.array);
    for (const tagSCHEDULE_SCAN_ENTRY& task : common::EntriesOf(tasks.array)) {
        if (common::FieldText(task.name) == name) {
            *entry = task;
            entry->folders = {};
            for (const tagSCAN_ITEM& folder : common::FoldersOf(task)) {
                common::AddFolder(*entry, common::FieldText(folder.path));
            }
            return true;
        }
    }
    *error = kScheduleNoSuchTask;
    return false;
}

EXPORT ModifyScheduleScanTask(const char* taskList, const tagSCHEDULE_SCAN_ENTRY* entry,
                              unsigned int user, unsigned int* error) {
    Note("modify " + std::string(taskList) + " " + Image(*entry) + " " + Number(user));
    if (Answer(kModifyScheduleScanTask, error)) {
        Rewrite(common::FieldText(entry->name), entry);
    }
    return *error == 0;
}

EXPORT ReadScheduleScanTaskList(const char* taskList, tagSCHEDULE_SCAN_ARRAY* tasks,
                                unsigned int user, unsigned int* error) {
    Note("read " + std::string(taskList) + " " + Number(user) +
         (tasks->begin == nullptr && tasks->capacity == nullptr ? "" : " <array>"));
    if (Answer(kReadScheduleScanTaskList, error)) {
        ReadTasks(*tasks);
    }
    return *error == 0;
}

EXPORT DeleteScheduleScanTask(const char* taskList, const char* name, unsigned int user,
                              unsigned int* error) {
    Note("delete " + std::string(taskList) + " <" + name + "> " + Number(user));
    if (Answer(kDeleteScheduleScanTask, error)) {
        Rewrite(name, nullptr);
    }
    return *error == 0;
}

EXPORT GetScheduleTaskState(const char* taskList, const char* name, unsigned int user,
                            tagSCHEDULE_TASK_STATE* state, unsigned int* error) {
    Note("state " + std::string(taskList) + " <" + name + "> " + Number(user));
    if (Answer(kGetScheduleTaskState, error)) {
        *state = {};
        std::ifstream file(Path("state"), std::ios::binary);
        file.read(reinterpret_cast<char*>(state), sizeof *state);
    }
    return *error == 0;
}

EXPORT RunScheduleTaskNow(const char* taskList, const char* name, unsigned int user,
                          unsigned int* error) {
    Note("run " + std::string(taskList) + " <" + name + "> " + Number(user));
    return Answer(kRunScheduleTaskNow, error);
}
