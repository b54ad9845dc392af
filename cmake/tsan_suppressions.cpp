// Linked into every program of a thread-sanitizer build.
//
// These libraries are not built with the sanitizer and lock in ways that it cannot see, so what
// they allocate, free and wait on looks unordered to it. Only what they do themselves is passed
// over: the frames of this project are checked wherever they run.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so.6\n"
           "called_from_lib:libQt6Gui.so.6\n";
}
