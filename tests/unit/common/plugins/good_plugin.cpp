// A library with two entry points.

extern "C" __attribute__((visibility("default"))) int FirstAnswer() {
    return 41;
}

extern "C" __attribute__((visibility("default"))) int SecondAnswer() {
    return 42;
}
