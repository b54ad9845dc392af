#pragma once

#include <QPushButton>

/// A large button for a page's main actions: picture, name in bold and a line about what it does.
class ActionCard : public QPushButton {
    Q_OBJECT
    Q_PROPERTY(QString description READ Description WRITE SetDescription)

public:
    explicit ActionCard(QWidget* parent = nullptr);

    [[nodiscard]] const QString& Description() const { return m_description; }
    void SetDescription(const QString& description);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QFont NameFont() const;

    QString m_description;
};
