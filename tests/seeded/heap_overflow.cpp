// One byte is written behind a block of the heap.

#include <cstdlib>

int SeededHeapOverflow(char* block, int size) {
    block[size] = 'x';
    return block[size - 1];
}

int main(int argc, char**) {
    char* block = static_cast<char*>(std::calloc(8, 1));
    const int last = SeededHeapOverflow(block, 7 + argc);
    std::free(block);
    return last;
}
