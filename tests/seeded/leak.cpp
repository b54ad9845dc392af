// A block of the heap that nothing points to any more.

#include <cstdlib>

void* SeededLeak() {
    return std::malloc(77);
}

int main() {
    return SeededLeak() == nullptr ? 1 : 0;
}
