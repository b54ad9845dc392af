#include "scan/scan_note.h"

#include <algorithm>

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>

namespace {

constexpr QColor kClean(46, 160, 67);
constexpr QColor kInfected(218, 54, 51);
constexpr QColor kStopped(128, 128, 128);
constexpr QColor kPartly(191, 135, 0);
constexpr float kGroundStrength = 0.16F;  // the text stays readable on light and on dark
constexpr int kBarWidth = 4;
constexpr int kRounding = 4;
constexpr int kPadding = 4;
constexpr int kTextIndent = 12;

}  // namespace

ScanNote::ScanNote(QWidget* parent)
    : QFrame(parent), m_picture(new QLabel(this)), m_text(new QLabel(this)) {
    m_text->setObjectName(QStringLiteral("noteLabel"));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    m_picture->setObjectName(QStringLiteral("notePicture"));
    m_picture->hide();
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, kPadding, kTextIndent, kPadding);
    line->setSpacing(kTextIndent / 2);
    line->addWidget(m_picture);
    line->addWidget(m_text, 1);
    // The room of the end, so that nothing moves then.
    setMinimumHeight(std::max(fontMetrics().height(), PictureSize()) + 2 * kPadding);
}

int ScanNote::PictureSize() const {
    return style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
}

void ScanNote::Show(const QString& text, std::optional<QStyle::StandardPixmap> picture,
                    const QColor& tone) {
    m_text->setText(text);
    m_picture->setVisible(picture.has_value());
    if (picture.has_value()) {
        m_picture->setPixmap(style()
                                 ->standardIcon(*picture, nullptr, this)
                                 .pixmap(QSize(PictureSize(), PictureSize()), devicePixelRatioF()));
    }
    m_tone = tone;
    layout()->setContentsMargins(tone.isValid() ? kTextIndent : 0, kPadding, kTextIndent, kPadding);
    update();
}

void ScanNote::Clear() {
    Show(QString(), std::nullopt, QColor());
}

void ScanNote::ShowStopping() {
    Show(tr("Stopping after this file..."), std::nullopt, QColor());
}

QString ScanNote::OutcomeText(std::uint32_t detections, std::size_t unread, bool wasStopped) {
    QString text;
    if (detections == 1) {
        text = tr("1 detection.");
    } else if (detections > 1) {
        text = tr("%1 detections.").arg(detections);
    } else if (wasStopped) {
        text = tr("Nothing was found until then.");
    } else {
        text = unread == 0 ? tr("Nothing was found.") : tr("Nothing was found in what was read.");
    }
    if (wasStopped) {
        text.prepend(tr("Stopped before the end.") + u' ');
    }
    if (unread != 0) {
        text += u' ' + (unread == 1 ? tr("1 file was not read.")
                                    : tr("%1 files were not read.").arg(unread));
    }
    return text;
}

void ScanNote::ShowOutcome(std::uint32_t detections, std::size_t unread, bool wasStopped) {
    const QString text = OutcomeText(detections, unread, wasStopped);
    if (detections > 0) {
        Show(text, QStyle::SP_MessageBoxWarning, kInfected);
    } else if (wasStopped) {
        Show(text, QStyle::SP_MessageBoxInformation, kStopped);
    } else if (unread > 0) {
        Show(text, QStyle::SP_MessageBoxInformation, kPartly);
    } else {
        Show(text, QStyle::SP_DialogApplyButton, kClean);
    }
}

void ScanNote::paintEvent(QPaintEvent* event) {
    QFrame::paintEvent(event);
    if (!m_tone.isValid()) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor ground = m_tone;
    ground.setAlphaF(kGroundStrength);
    painter.setBrush(ground);
    painter.drawRoundedRect(rect(), kRounding, kRounding);
    painter.setBrush(m_tone);
    painter.drawRoundedRect(
        QStyle::visualRect(layoutDirection(), rect(), QRect(0, 0, kBarWidth, height())),
        kBarWidth / 2.0, kBarWidth / 2.0);
}
