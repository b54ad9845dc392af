// Linked into every program of a thread-sanitizer build: what it passes over, and its options.
//
// These libraries are not built with the sanitizer and lock in ways that it cannot see, so what
// they allocate, free and wait on looks unordered to it. Traced: the tasks of a thread pool
// (QRunnable::create() and QThreadPoolPrivate::enqueueTask() in one thread, freed in another),
// QWaitCondition, QArrayData, what the drawing library hands its own pool, the events that
// Qt's reader of the X connection queues, the blocks that GLib, below Qt's event loops, keeps for a
// thread and takes back at its end, and the messages of Qt's thread for the bus.
//
// They are not passed over by the names of these functions: the one that frees has none in any, and
// "race:" with the name of a library would pass over every report that has the event loop in its
// stack. "called_from_lib" is narrower. It passes over what a function that the sanitizer replaces
// (memory, strings, locks, files) does when one of these calls it directly. That takes in their
// locks: an order in which they are taken is not checked either. Instrumented code of this project
// is checked wherever it runs, also below Qt, as tests/seeded/race_below_qt.cpp proves, but for
// what reaches it only through such a call of theirs.
//
// The libraries of the X connection are here together: some of their functions end in a call that
// returns to their caller, so half of a pair of lock and unlock would be taken for another
// library's.
//
// "race:_dl_deallocate_tls" is the C library, which frees what an ended thread had for itself.

extern "C" __attribute__((visibility("default"))) const char* __tsan_default_suppressions() {
    return "called_from_lib:libQt6Core.so.6\n"
           "called_from_lib:libQt6Gui.so.6\n"
           "called_from_lib:libQt6XcbQpa.so.6\n"
           "called_from_lib:libQt6DBus.so.6\n"
           "called_from_lib:libglib-2.0.so.0\n"
           "called_from_lib:libdbus-1.so.3\n"
           "called_from_lib:libX11.so.6\n"
           "called_from_lib:libXfixes.so.3\n"
           "called_from_lib:libXrender.so.1\n"
           "called_from_lib:libxcb.so.1\n"
           "race:_dl_deallocate_tls\n";
}

// A program of ours may be given an empty environment, so this stands here. By default each waits a
// second at its end for threads that might still race, and a child that a test has made to play
// another user may start no thread.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "atexit_sleep_ms=0:die_after_fork=0";
}
