#include "app/placeholder_page.h"

#include <QEvent>

#include "ui_placeholder_page.h"

PlaceholderPage::PlaceholderPage(QWidget* parent)
    : QWidget(parent), m_ui(std::make_unique<Ui::PlaceholderPage>()) {
    m_ui->setupUi(this);
}

PlaceholderPage::~PlaceholderPage() = default;

QString PlaceholderPage::Heading() const {
    return m_ui->lblHeading->text();
}

void PlaceholderPage::SetHeading(const QString& heading) {
    m_ui->lblHeading->setText(heading);
}

void PlaceholderPage::changeEvent(QEvent* event) {
    if (event->type() == QEvent::LanguageChange) {
        const QString heading = Heading();  // the heading is the main window's text
        m_ui->retranslateUi(this);
        SetHeading(heading);
    }
    QWidget::changeEvent(event);
}
