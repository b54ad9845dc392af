// Two threads write one number without a lock.

#include <thread>

int g_seeded = 0;

void SeededDataRace() {
    for (int round = 0; round < 10000; ++round) {
        ++g_seeded;
    }
}

int main() {
    std::thread first(SeededDataRace);
    std::thread second(SeededDataRace);
    first.join();
    second.join();
    return 0;
}
