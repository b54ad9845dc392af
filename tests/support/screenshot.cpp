// screenshot FILE.png: saves what the X display of DISPLAY shows.

#include <cstdio>

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

int main(int argc, char* argv[]) {
    qputenv("QT_QPA_PLATFORM", "xcb");
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2) {
        std::fputs("usage: screenshot FILE.png\n", stderr);
        return 2;
    }
    const QPixmap picture = QGuiApplication::primaryScreen()->grabWindow(0);
    if (picture.isNull() || !picture.save(arguments.at(1), "PNG")) {
        std::fprintf(stderr, "screenshot: %s could not be written\n", argv[1]);
        return 1;
    }
    return 0;
}
