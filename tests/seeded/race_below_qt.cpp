// A thread that Qt starts and a slot that Qt's event loop calls write one number without a lock.
// What is passed over in Qt, in cmake/tsan_suppressions.cpp, must not hide that.

#include <QCoreApplication>
#include <QThread>
#include <QTimer>

int g_seeded = 0;

void SeededRaceBelowQt() {
    for (int round = 0; round < 10000; ++round) {
        ++g_seeded;
    }
}

class Writer : public QThread {
protected:
    void run() override { SeededRaceBelowQt(); }
};

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    Writer writer;
    QTimer::singleShot(0, [&writer] {
        writer.start();
        SeededRaceBelowQt();
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    writer.wait();
    return 0;
}
