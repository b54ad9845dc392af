// Beside two_types_other.cpp: the same name stands for another type there.

struct SeededTwoTypes {
    virtual ~SeededTwoTypes() = default;
    int number = 1;
};

int Other();

int main() {
    const SeededTwoTypes mine;
    return mine.number + Other();
}
