// Linked into every program of a thread-sanitizer build.
//
// These libraries are not built with the sanitizer and lock in ways that it cannot see, so what
// they allocate, free and wait on looks unordered to it. "called_from_lib" passes over whatever a
// function that the sanitizer replaces (memory, strings, locks, files) does when one of these two
// calls it directly. That takes in their locks: an order in which they are taken is not checked
// either. Instrumented code of this project is checked wherever it runs, but for what reaches it
// only through such a call of theirs.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so.6\n"
           "called_from_lib:libQt6Gui.so.6\n";
}
