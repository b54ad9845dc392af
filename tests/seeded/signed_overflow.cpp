// A signed number grows past its largest value.

#include <climits>

int SeededSignedOverflow(int number) {
    return INT_MAX - 1 + number;
}

int main(int argc, char**) {
    return SeededSignedOverflow(argc + 1) == 0 ? 1 : 0;
}
