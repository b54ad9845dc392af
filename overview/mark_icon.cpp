#include "overview/mark_icon.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>

namespace {

// At least 3 to 1 against white and against a dark grey of #202020.
constexpr QColor kGreen(0x2E, 0x8B, 0x57);
constexpr QColor kAmber(0xB8, 0x76, 0x00);
constexpr QColor kRed(0xD6, 0x45, 0x41);
constexpr QColor kGrey(0x80, 0x80, 0x80);

// Shapes are drawn in a square of 16 by 16.
constexpr double kSide = 16;

void DrawLines(QPainter& painter, const QPolygonF& points) {
    painter.setPen(QPen(Qt::white, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(points);
}

void DrawTick(QPainter& painter) {
    painter.setBrush(kGreen);
    painter.drawEllipse(QRectF(1, 1, 14, 14));
    DrawLines(painter, QPolygonF(QList<QPointF>{{4.7, 8.4}, {7.1, 10.8}, {11.3, 5.6}}));
}

void DrawTriangle(QPainter& painter) {
    painter.setBrush(kAmber);
    painter.drawPolygon(QPolygonF(QList<QPointF>{{8, 0.8}, {15.6, 14.6}, {0.4, 14.6}}));
    DrawLines(painter, QPolygonF(QList<QPointF>{{8, 5.8}, {8, 9.2}}));
    DrawLines(painter, QPolygonF(QList<QPointF>{{8, 12.2}, {8, 12.21}}));
}

void DrawOctagon(QPainter& painter) {
    painter.setBrush(kRed);
    painter.drawPolygon(QPolygonF(
        QList<QPointF>{{5, 1}, {11, 1}, {15, 5}, {15, 11}, {11, 15}, {5, 15}, {1, 11}, {1, 5}}));
    DrawLines(painter, QPolygonF(QList<QPointF>{{5.4, 5.4}, {10.6, 10.6}}));
    DrawLines(painter, QPolygonF(QList<QPointF>{{10.6, 5.4}, {5.4, 10.6}}));
}

void DrawRing(QPainter& painter) {
    painter.setPen(QPen(kGrey, 1.5));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(QRectF(2, 2, 12, 12));
}

class MarkEngine : public QIconEngine {
public:
    explicit MarkEngine(Mark mark) : m_mark(mark) {}

    void paint(QPainter* painter, const QRect& rectangle, QIcon::Mode /*mode*/,
               QIcon::State /*state*/) override {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rectangle.topLeft());
        painter->scale(rectangle.width() / kSide, rectangle.height() / kSide);
        painter->setPen(Qt::NoPen);
        Draw(*painter);
        painter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(), size), mode, state);
        return pixmap;
    }
    [[nodiscard]] QIconEngine* clone() const override { return new MarkEngine(m_mark); }

private:
    void Draw(QPainter& painter) const {
        switch (m_mark) {
            case Mark::kWell:
                return DrawTick(painter);
            case Mark::kAttention:
                return DrawTriangle(painter);
            case Mark::kDanger:
                return DrawOctagon(painter);
            case Mark::kUnknown:
                return DrawRing(painter);
        }
    }

    Mark m_mark;
};

}  // namespace

QIcon MarkIcon(Mark mark) {
    return QIcon(new MarkEngine(mark));
}
