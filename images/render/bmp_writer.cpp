#include "images/render/bmp_writer.h"

#include <cstdint>

#include <QDataStream>
#include <QSaveFile>

namespace {

constexpr std::uint32_t kFileHeaderSize = 14;
constexpr std::uint32_t kV4HeaderSize = 108;
constexpr std::uint32_t kBitFields = 3;
constexpr std::uint32_t kSrgb = 0x73524742;
constexpr int kEndpointsAndGammaWords = 12;  // left zero: only calibrated colour spaces use them

}  // namespace

bool WriteBmp(const QImage& image, const QString& fileName) {
    const QImage pixels = image.convertToFormat(QImage::Format_ARGB32);
    const auto width = static_cast<std::uint32_t>(pixels.width());
    const auto height = static_cast<std::uint32_t>(pixels.height());
    const std::uint32_t dataSize = width * height * 4;
    const std::uint32_t dataOffset = kFileHeaderSize + kV4HeaderSize;

    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly)) {
        return false;
    }
    QDataStream out(&file);
    out.setByteOrder(QDataStream::LittleEndian);

    out.writeRawData("BM", 2);
    out << dataOffset + dataSize << std::uint32_t{0} << dataOffset;

    out << kV4HeaderSize << width << height << std::uint16_t{1} << std::uint16_t{32} << kBitFields
        << dataSize << std::uint32_t{2835} << std::uint32_t{2835}  // pixels per metre: 72 dpi
        << std::uint32_t{0} << std::uint32_t{0};
    out << std::uint32_t{0x00FF0000} << std::uint32_t{0x0000FF00} << std::uint32_t{0x000000FF}
        << std::uint32_t{0xFF000000} << kSrgb;
    for (int word = 0; word < kEndpointsAndGammaWords; ++word) {
        out << std::uint32_t{0};
    }

    for (int y = pixels.height() - 1; y >= 0; --y) {
        const auto* row = reinterpret_cast<const QRgb*>(pixels.constScanLine(y));
        for (int x = 0; x < pixels.width(); ++x) {
            out << std::uint32_t{row[x]};
        }
    }
    return out.status() == QDataStream::Ok && file.commit();
}
