// Draws the program's pictures from their SVG sources while the program is built:
//
//   corvane_render picture   SOURCE.svg WIDTH HEIGHT OUTPUT.bmp       also writes OUTPUT@2x.bmp
//   corvane_render icon      SOURCE.svg WIDTH HEIGHT OUTPUT.png
//   corvane_render animation SOURCE.svg WIDTH HEIGHT OUTPUT.gif FRAMES DELAY_MS
//                                                                     also writes OUTPUT@2x.gif
//
// In the source of an animation every "{angle}" stands for the frame's share of a full turn, in
// degrees.
#include <cstdio>
#include <optional>
#include <vector>

#include <QCoreApplication>
#include <QFile>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include "images/render/bmp_writer.h"
#include "images/render/gif_writer.h"

namespace {

std::optional<QByteArray> ReadSource(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    return file.readAll();
}

// Drawn anew for each size, never scaled: that is what keeps the pictures sharp at 200 %.
QImage Draw(const QByteArray& svg, QSize size) {
    QSvgRenderer renderer(svg);
    if (!renderer.isValid()) {
        return {};
    }
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    return image;
}

QString DoubleSizeName(const QString& fileName) {
    const auto dot = fileName.lastIndexOf(u'.');
    return fileName.left(dot) + QStringLiteral("@2x") + fileName.mid(dot);
}

bool MakePicture(const QByteArray& svg, QSize size, const QString& output) {
    const QImage single = Draw(svg, size);
    const QImage twice = Draw(svg, size * 2);
    return !single.isNull() && !twice.isNull() && WriteBmp(single, output) &&
           WriteBmp(twice, DoubleSizeName(output));
}

bool MakeIcon(const QByteArray& svg, QSize size, const QString& output) {
    const QImage image = Draw(svg, size);
    return !image.isNull() && image.save(output, "PNG");
}

std::vector<QImage> DrawFrames(const QByteArray& svg, QSize size, int count) {
    std::vector<QImage> frames;
    for (int i = 0; i < count; ++i) {
        QByteArray frame = svg;
        frame.replace("{angle}", QByteArray::number(360.0 * i / count));
        frames.push_back(Draw(frame, size));
        if (frames.back().isNull()) {
            return {};
        }
    }
    return frames;
}

bool MakeAnimation(const QByteArray& svg, QSize size, const QString& output, int frames,
                   int delayMs) {
    return WriteGif(DrawFrames(svg, size, frames), delayMs, output) &&
           WriteGif(DrawFrames(svg, size * 2, frames), delayMs, DoubleSizeName(output));
}

}  // namespace

int main(int argc, char** argv) {
    // No display and no fonts are needed: the sources hold shapes only.
    const QCoreApplication app(argc, argv);
    const QStringList args = QCoreApplication::arguments();
    if (args.size() < 6) {
        std::fputs("usage: corvane_render picture|icon|animation SOURCE WIDTH HEIGHT OUTPUT ...\n",
                   stderr);
        return 2;
    }
    const std::optional<QByteArray> svg = ReadSource(args[2]);
    const QSize size(args[3].toInt(), args[4].toInt());
    const QString& output = args[5];
    bool ok = false;
    if (svg && !size.isEmpty()) {
        if (args[1] == u"picture") {
            ok = MakePicture(*svg, size, output);
        } else if (args[1] == u"icon") {
            ok = MakeIcon(*svg, size, output);
        } else if (args[1] == u"animation" && args.size() == 8) {
            ok = MakeAnimation(*svg, size, output, args[6].toInt(), args[7].toInt());
        }
    }
    if (!ok) {
        std::fprintf(stderr, "corvane_render: cannot make %s from %s\n", qPrintable(output),
                     qPrintable(args[2]));
    }
    return ok ? 0 : 1;
}
