#include <array>
#include <gtest/gtest.h>

#include <QFile>
#include <QGuiApplication>
#include <QIcon>
#include <QImage>
#include <QImageReader>
#include <QMovie>
#include <QPainter>

namespace {

struct Picture {
    const char* name;
    int size;
};

[[maybe_unused]] void PrintTo(const Picture& picture, std::ostream* out) {
    *out << picture.name;
}

constexpr std::array kPictures = {
    Picture{"main", 48},         Picture{"scan", 48},         Picture{"option", 48},
    Picture{"report", 48},       Picture{"update", 48},       Picture{"schedule", 48},
    Picture{"about", 48},        Picture{"exit", 48},         Picture{"help", 48},
    Picture{"file", 48},         Picture{"folder", 48},       Picture{"warn", 48},
    Picture{"virus", 48},        Picture{"folderClosed", 16}, Picture{"folderOpen", 16},
    Picture{"folderLocked", 16},
};

QString OnDisk(const char* name) {
    return QStringLiteral(CORVANE_PICTURE_DIR "/") + QLatin1String(name);
}

struct AlphaCount {
    int clear = 0;
    int between = 0;
    int opaque = 0;
};

AlphaCount CountAlpha(const QImage& image) {
    AlphaCount count;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int alpha = image.pixelColor(x, y).alpha();
            ++(alpha == 0 ? count.clear : alpha == 255 ? count.opaque : count.between);
        }
    }
    return count;
}

// How far the picture stands out from a background: the largest difference in lightness.
int ContrastOn(const QImage& picture, const QColor& background) {
    QImage page(picture.size(), QImage::Format_RGB32);
    page.fill(background);
    QPainter(&page).drawImage(QRect(QPoint(), page.size()), picture);
    int contrast = 0;
    for (int y = 0; y < page.height(); ++y) {
        for (int x = 0; x < page.width(); ++x) {
            contrast =
                std::max(contrast, std::abs(qGray(page.pixel(x, y)) - qGray(background.rgb())));
        }
    }
    return contrast;
}

class PictureTest : public testing::TestWithParam<Picture> {
protected:
    static QImage Load(const char* suffix) {
        return QImage(QStringLiteral(":/images/") + QLatin1String(GetParam().name) +
                      QLatin1String(suffix));
    }
};

TEST_P(PictureTest, IsThereInBothSizes) {
    EXPECT_EQ(Load(".bmp").size(), QSize(GetParam().size, GetParam().size));
    EXPECT_EQ(Load("@2x.bmp").size(), QSize(GetParam().size, GetParam().size) * 2);
}

TEST_P(PictureTest, KeepsItsSoftEdges) {
    for (const char* suffix : {".bmp", "@2x.bmp"}) {
        const AlphaCount alpha = CountAlpha(Load(suffix));
        EXPECT_GT(alpha.clear, 0) << suffix;
        EXPECT_GT(alpha.between, 0) << suffix;
        EXPECT_GT(alpha.opaque, 0) << suffix;
    }
}

TEST_P(PictureTest, TheLargeOneIsDrawnAnewNotScaled) {
    const QImage single = Load(".bmp").convertToFormat(QImage::Format_ARGB32);
    QImage twice = Load("@2x.bmp").convertToFormat(QImage::Format_ARGB32);
    twice.setDevicePixelRatio(1);
    EXPECT_NE(twice,
              single.scaled(single.size() * 2, Qt::IgnoreAspectRatio, Qt::FastTransformation));
    EXPECT_NE(twice,
              single.scaled(single.size() * 2, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
}

TEST_P(PictureTest, StandsOutOnLightAndOnDark) {
    EXPECT_GT(ContrastOn(Load(".bmp"), Qt::white), 60);
    EXPECT_GT(ContrastOn(Load(".bmp"), QColor(0x2B, 0x2D, 0x31)), 60);
}

// Runs at 100 % and, once more, at 200 %.
TEST_P(PictureTest, AnIconOfItShowsThePictureDrawnForTheScreen) {
    const qreal scale = qGuiApp->devicePixelRatio();
    ASSERT_TRUE(scale == 1 || scale == 2);
    const QIcon icon(QStringLiteral(":/images/") + QLatin1String(GetParam().name) +
                     QStringLiteral(".bmp"));
    const QSize size(GetParam().size, GetParam().size);
    const QImage drawn =
        icon.pixmap(size).toImage().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage expected =
        Load(scale == 2 ? "@2x.bmp" : ".bmp").convertToFormat(QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(drawn.width(), size.width() * static_cast<int>(scale));
    EXPECT_TRUE(drawn == expected);
}

INSTANTIATE_TEST_SUITE_P(All, PictureTest, testing::ValuesIn(kPictures),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(BitmapTest, HasAVersion4HeaderWithAnAlphaMask) {
    QFile file(QStringLiteral(":/images/main.bmp"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray bytes = file.readAll();
    EXPECT_EQ(bytes.size(), 14 + 108 + 48 * 48 * 4);
    EXPECT_EQ(bytes.left(2), QByteArray("BM"));
    EXPECT_EQ(bytes.mid(2, 4).toHex(), QByteArray("7a240000"));   // the size of the file
    EXPECT_EQ(bytes.mid(10, 4).toHex(), QByteArray("7a000000"));  // where the pixels begin
    EXPECT_EQ(bytes.mid(14, 4).toHex(), QByteArray("6c000000"));  // the header's size
    EXPECT_EQ(bytes.mid(28, 2).toHex(), QByteArray("2000"));      // bits a pixel
    EXPECT_EQ(bytes.mid(30, 4).toHex(), QByteArray("03000000"));  // bit fields
    EXPECT_EQ(bytes.mid(54, 16).toHex(), QByteArray("0000ff0000ff0000ff000000000000ff"));
}

TEST(SplashTest, IsLightWhereTheMessagesStand) {
    const QImage splash(OnDisk("splash.bmp"));
    ASSERT_EQ(splash.size(), QSize(480, 280));
    EXPECT_EQ(QImage(OnDisk("splash@2x.bmp")).size(), QSize(960, 560));
    for (int y = 280 - 40; y < 278; ++y) {
        for (int x = 2; x < 478; ++x) {
            ASSERT_GT(qGray(splash.pixel(x, y)), 220) << x << ',' << y;
        }
    }
    EXPECT_EQ(CountAlpha(splash).clear, 0) << "a splash screen has no window behind it";
}

class AnimationTest : public testing::TestWithParam<Picture> {};

TEST_P(AnimationTest, MovesAndLoopsForEver) {
    QMovie movie(OnDisk(GetParam().name));
    ASSERT_TRUE(movie.isValid());
    EXPECT_EQ(movie.frameCount(), 24);
    EXPECT_EQ(movie.loopCount(), -1);
    ASSERT_TRUE(movie.jumpToFrame(0));
    const QImage first = movie.currentImage();
    EXPECT_EQ(first.size(), QSize(GetParam().size, GetParam().size));
    // The movie itself takes the time off that it needed so far.
    QImageReader file(OnDisk(GetParam().name));
    EXPECT_FALSE(file.read().isNull());
    EXPECT_EQ(file.nextImageDelay(), 80);
    for (int frame = 1; frame < movie.frameCount(); ++frame) {
        ASSERT_TRUE(movie.jumpToNextFrame()) << frame;
        EXPECT_FALSE(movie.currentImage() == first) << frame;
    }
    ASSERT_TRUE(movie.jumpToNextFrame());
    EXPECT_TRUE(movie.currentImage() == first) << "it begins anew";
}

TEST_P(AnimationTest, HasATransparentBackgroundInEveryFrame) {
    QMovie movie(OnDisk(GetParam().name));
    for (int frame = 0; frame < 24; ++frame) {
        ASSERT_TRUE(movie.jumpToNextFrame()) << frame;
        const QImage image = movie.currentImage();
        EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0) << frame;
        EXPECT_EQ(image.pixelColor(image.width() / 2, image.height() / 2).alpha(), 255) << frame;
    }
}

INSTANTIATE_TEST_SUITE_P(Both, AnimationTest,
                         testing::Values(Picture{"bl3.gif", 64}, Picture{"bl3@2x.gif", 128}),
                         [](const auto& test) { return "Size" + std::to_string(test.param.size); });

TEST(NotificationPictureTest, IsALargePngWithAlpha) {
    const QImage image(OnDisk("zq.png"), "PNG");
    EXPECT_EQ(image.size(), QSize(128, 128));
    EXPECT_GT(CountAlpha(image).clear, 0);
    EXPECT_GT(CountAlpha(image).opaque, 0);
}

}  // namespace
