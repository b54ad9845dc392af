// screenshot FILE.png [X Y WIDTH HEIGHT]: saves what the X display of DISPLAY shows, or a part of
// it.

#include <cstdio>

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2 && arguments.size() != 6) {
        std::fputs("usage: screenshot FILE.png [X Y WIDTH HEIGHT]\n", stderr);
        return 2;
    }
    QScreen* const screen = QGuiApplication::primaryScreen();
    const QPixmap picture =
        arguments.size() == 2
            ? screen->grabWindow(0)
            : screen->grabWindow(0, arguments.at(2).toInt(), arguments.at(3).toInt(),
                                 arguments.at(4).toInt(), arguments.at(5).toInt());
    if (picture.isNull() || !picture.save(arguments.at(1), "PNG")) {
        std::fprintf(stderr, "screenshot: %s could not be written\n", argv[1]);
        return 1;
    }
    return 0;
}
