#include "images/render/gif_writer.h"

#include <algorithm>
#include <array>
#include <gif_lib.h>
#include <limits>
#include <memory>
#include <unordered_map>

#include <QFile>

namespace {

constexpr int kColours = 256;
constexpr GifByteType kTransparent = 0;  // the palette's first entry; the rest are the picture's

struct GifCloser {
    void operator()(GifFileType* gif) const { EGifCloseFile(gif, nullptr); }
};

// Colours that differ only in their lowest bits look alike; merging them keeps the palette small.
QRgb Coarse(QRgb colour) {
    return colour & 0x00FCFCFCU;
}

int Distance(QRgb a, QRgb b) {
    const int red = qRed(a) - qRed(b);
    const int green = qGreen(a) - qGreen(b);
    const int blue = qBlue(a) - qBlue(b);
    return red * red + green * green + blue * blue;
}

bool IsOpaque(QRgb pixel) {
    return qAlpha(pixel) >= 128;
}

// The colours used most over all frames. Entry 0 stays free for "transparent".
std::vector<QRgb> BuildPalette(const std::vector<QImage>& frames) {
    std::unordered_map<QRgb, int> uses;
    for (const QImage& frame : frames) {
        for (int y = 0; y < frame.height(); ++y) {
            const auto* row = reinterpret_cast<const QRgb*>(frame.constScanLine(y));
            for (int x = 0; x < frame.width(); ++x) {
                if (IsOpaque(row[x])) {
                    ++uses[Coarse(row[x])];
                }
            }
        }
    }
    std::vector<std::pair<int, QRgb>> ranked;
    ranked.reserve(uses.size());
    for (const auto& [colour, count] : uses) {
        ranked.emplace_back(count, colour);
    }
    std::sort(ranked.begin(), ranked.end(), std::greater<>());  // ties too: builds are repeatable

    std::vector<QRgb> palette = {0};
    for (const auto& [count, colour] : ranked) {
        if (palette.size() == kColours) {
            break;
        }
        palette.push_back(colour);
    }
    return palette;
}

class PaletteIndex {
public:
    explicit PaletteIndex(std::vector<QRgb> palette) : m_palette(std::move(palette)) {}

    GifByteType Find(QRgb pixel) {
        if (!IsOpaque(pixel)) {
            return kTransparent;
        }
        const auto [entry, isNew] = m_known.try_emplace(Coarse(pixel), kTransparent);
        if (isNew) {
            entry->second = Nearest(entry->first);
        }
        return entry->second;
    }

private:
    [[nodiscard]] GifByteType Nearest(QRgb colour) const {
        std::size_t best = 1;
        int bestDistance = std::numeric_limits<int>::max();
        for (std::size_t i = 1; i < m_palette.size(); ++i) {
            const int distance = Distance(colour, m_palette[i]);
            if (distance < bestDistance) {
                bestDistance = distance;
                best = i;
            }
        }
        return static_cast<GifByteType>(best);
    }

    std::vector<QRgb> m_palette;
    std::unordered_map<QRgb, GifByteType> m_known;
};

bool WriteHeader(GifFileType* gif, const QImage& first, const std::vector<QRgb>& palette) {
    std::array<GifColorType, kColours> colours{};
    std::transform(palette.begin(), palette.end(), colours.begin(), [](QRgb colour) {
        return GifColorType{static_cast<GifByteType>(qRed(colour)),
                            static_cast<GifByteType>(qGreen(colour)),
                            static_cast<GifByteType>(qBlue(colour))};
    });
    const std::unique_ptr<ColorMapObject, decltype(&GifFreeMapObject)> map(
        GifMakeMapObject(kColours, colours.data()), &GifFreeMapObject);
    // The loop block that every viewer understands, with 0 for "for ever".
    const std::array<GifByteType, 3> loop = {1, 0, 0};
    EGifSetGifVersion(gif, true);
    return map &&
           EGifPutScreenDesc(gif, first.width(), first.height(), 8, kTransparent, map.get()) ==
               GIF_OK &&
           EGifPutExtensionLeader(gif, APPLICATION_EXT_FUNC_CODE) == GIF_OK &&
           EGifPutExtensionBlock(gif, 11, "NETSCAPE2.0") == GIF_OK &&
           EGifPutExtensionBlock(gif, loop.size(), loop.data()) == GIF_OK &&
           EGifPutExtensionTrailer(gif) == GIF_OK;
}

bool WriteFrame(GifFileType* gif, const QImage& frame, int delayMs, PaletteIndex& index) {
    GraphicsControlBlock control{};
    control.DisposalMode = DISPOSE_BACKGROUND;
    control.DelayTime = delayMs / 10;
    control.TransparentColor = kTransparent;
    std::array<GifByteType, 4> extension{};
    EGifGCBToExtension(&control, extension.data());
    if (EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, extension.size(), extension.data()) !=
            GIF_OK ||
        EGifPutImageDesc(gif, 0, 0, frame.width(), frame.height(), false, nullptr) != GIF_OK) {
        return false;
    }
    std::vector<GifPixelType> line(static_cast<std::size_t>(frame.width()));
    for (int y = 0; y < frame.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(frame.constScanLine(y));
        std::transform(row, row + frame.width(), line.begin(),
                       [&index](QRgb pixel) { return index.Find(pixel); });
        if (EGifPutLine(gif, line.data(), frame.width()) != GIF_OK) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool WriteGif(const std::vector<QImage>& frames, int delayMs, const QString& fileName) {
    if (frames.empty()) {
        return false;
    }
    int error = 0;
    std::unique_ptr<GifFileType, GifCloser> gif(
        EGifOpenFileName(QFile::encodeName(fileName).constData(), false, &error));
    if (!gif) {
        return false;
    }
    std::vector<QImage> pictures;
    pictures.reserve(frames.size());
    for (const QImage& frame : frames) {
        pictures.push_back(frame.convertToFormat(QImage::Format_ARGB32));
    }
    const std::vector<QRgb> palette = BuildPalette(pictures);
    PaletteIndex index(palette);
    bool ok = WriteHeader(gif.get(), pictures.front(), palette);
    for (const QImage& picture : pictures) {
        ok = ok && WriteFrame(gif.get(), picture, delayMs, index);
    }
    return EGifCloseFile(gif.release(), &error) == GIF_OK && ok;
}
