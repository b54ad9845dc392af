// A library that needs what nobody has: loading it fails only when all symbols are resolved at
// once.

extern "C" int NobodyHasThisFunction();

extern "C" __attribute__((visibility("default"))) int UnresolvedAnswer() {
    return NobodyHasThisFunction();
}
