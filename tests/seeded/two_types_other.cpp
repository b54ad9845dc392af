// See two_types_main.cpp.

struct SeededTwoTypes {
    virtual ~SeededTwoTypes() = default;
    double number = 2;
    char more = 0;
};

int Other();

int Other() {
    const SeededTwoTypes mine;
    return static_cast<int>(mine.number) + mine.more;
}
