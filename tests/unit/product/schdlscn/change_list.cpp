// change_list LIST add|modify|delete|begin|end: does that to the task "a" of a list of tasks,
// between two calls of getppid() by which the test finds it. 0 when it was done.

#include <string_view>
#include <unistd.h>

#include "tests/unit/product/schdlscn/a_task.h"

namespace {

using namespace schdlscn;

ScheduleError Do(TaskList& list, std::string_view what, std::int64_t id) {
    Task changed = ATask("a");
    changed.folders.assign(50, "/changed");
    if (what == "add") {
        return list.Add(ATask("a"), From(1000, "anna"));
    }
    if (what == "modify") {
        return list.Modify(changed, 1000, {.until = 1'800'000'000});
    }
    if (what == "delete") {
        return list.Delete("a", 1000);
    }
    if (what == "begin") {
        return list.Note(id, {.start = 10, .reason = kScheduleReasonDue}, {.until = 9, .day = 5});
    }
    return list.Note(id, {.start = 10, .end = 20, .result = kScheduleRunFound, .infected = 3});
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        return 2;
    }
    TaskList list(argv[1]);
    KeptTask kept;
    (void)list.Get("a", 0, kept);
    ::getppid();
    const ScheduleError error = Do(list, argv[2], kept.id);
    ::getppid();
    return error == kScheduleOk ? 0 : 1;
}
