#pragma once

#include <memory>

#include <QWidget>

namespace Ui {
class PlaceholderPage;
}

/// A page of the main window whose content is not there yet: its heading and one line saying so.
class PlaceholderPage : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString heading READ Heading WRITE SetHeading)

public:
    explicit PlaceholderPage(QWidget* parent = nullptr);
    ~PlaceholderPage() override;

    [[nodiscard]] QString Heading() const;
    void SetHeading(const QString& heading);

protected:
    void changeEvent(QEvent* event) override;

private:
    std::unique_ptr<Ui::PlaceholderPage> m_ui;
};
