#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include <QColor>
#include <QFrame>
#include <QStyle>

class QLabel;

/// The quiet line under the status of a scan: that a stop is under way, and at the end how it came
/// out, in words, with a picture and on a tinted ground. Empty while there is nothing to say, with
/// its room kept. GUI thread only.
class ScanNote : public QFrame {
    Q_OBJECT

public:
    explicit ScanNote(QWidget* parent = nullptr);

    void Clear();

    /// The scan was asked to stop and will ask back when it is done with its file.
    void ShowStopping();

    /// `detections`: how many were counted, of which one archive may hold several. `unread`: how
    /// many files were not read, of which nothing is known.
    void ShowOutcome(std::uint32_t detections, std::size_t unread, bool wasStopped);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    static QString OutcomeText(std::uint32_t detections, std::size_t unread, bool wasStopped);
    [[nodiscard]] int PictureSize() const;
    void Show(const QString& text, std::optional<QStyle::StandardPixmap> picture,
              const QColor& tone);

    QLabel* m_picture;
    QLabel* m_text;
    QColor m_tone;  // not valid: no ground
};
